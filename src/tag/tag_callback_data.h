#pragma once

#include "ovk/records.h"

// The bodies of the tag records. Each extractor gets the message, followed by a NUL, and the record with its header filled.

/// Returns 0, or -1 when "num" is missing or impossible or the selectors cannot be allocated.
int getTagReadReqCallbackData(const char* msg, unsigned int msgLen, ovk_TagReadReqCallbackData_t* pCallbackData);

/// Returns 0 whatever the response holds, or -1 when the items cannot be allocated.
int getTagReadRspCallbackData(const char* msg, unsigned int msgLen, ovk_TagReadRspCallbackData_t* pCallbackData);
