#pragma once

#include "ovk/records.h"

// The bodies of the register records. Each extractor gets the message, followed by a NUL, and the record with its header
// filled; it returns 0, or -1 with no block attached.

/// Fails only when a value buffer cannot be had; what the response lacks is -1.
int getRegisterReadRspCallbackData(const char* msg, unsigned msgLen, ovk_RegisterReadRspCallbackData_t* pCallbackData);

/// Fails when start or count of area 1 is missing.
int getRegisterReadReqCallbackData(const char* msg, unsigned msgLen, ovk_RegisterReadReqCallbackData_t* pCallbackData);

/// There is no body: reads nothing and never fails.
int getRegisterWriteRspCallbackData(const char* msg, unsigned msgLen,
                                    ovk_RegisterWriteRspCallbackData_t* pCallbackData);

/// Fails when "ref_id" or "sendNotification" is missing or a value buffer cannot be had; the record is zero then.
int getRegisterWriteReqCallbackData(const char* msg, unsigned msgLen,
                                    ovk_RegisterWriteReqCallbackData_t* pCallbackData);
