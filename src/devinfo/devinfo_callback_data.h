#pragma once

#include "ovk/records.h"

// The bodies of the device information records. Each extractor gets the message, followed by a NUL, and the record with its
// header filled.

/// Returns 0, or -1 when "ref_id" is missing: the record is zero then.
int getDescriptorReadReqCallbackData(const char* msg, unsigned int msgLen,
                                     ovk_DescriptorReadReqCallbackData_t* pCallbackData);

/// Returns 0, or -1 when a single value is missing, as in every failed response, or a list cannot be allocated: no list is
/// attached then.
int getDescriptorReadRspCallbackData(const char* msg, unsigned int msgLen,
                                     ovk_DescriptorReadRspCallbackData_t* pCallbackData);
