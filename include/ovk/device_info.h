#pragma once

/// @file
/// Device information: the register layout of a participant, as client and as server.

#include "ovk/export.h"

constexpr int ovk_MaxTagRegBlocks = 10; ///< most tag register blocks of one device information
constexpr int ovk_MaxResRegBlocks = 4;  ///< most reserved register blocks of one

/// Asks another participant to describe its register layout.
///
/// One request is written before the call returns; the answer arrives inside a later ovk_DoWork() as
/// ovk_DescriptorReadRspCallbackData_t. A failed answer of this library never reaches the callback. Look at `success` all the
/// same: one of another writer does when it has counts and buffer size.
///
/// @param dstFid participant to ask. Must be known to the topology service.
/// @param refId  caller's own reference, 0 to 40 characters without '"' or '\'.
/// @return 0 written; 2 a text null, or envelope not buildable (as for ovk_ReadRegisters()); 6 no callback for
///         ovk_Service_DescriptorReadClient; 7 channel refused the message. On any status but 0 nothing was written.
OVK_API unsigned int ovk_ReadDeviceInfo(const char* dstFid, const char* refId);

/// Answers a device information request, from inside its callback or later. When `success` is false, counts, lists and
/// buffer size are neither checked nor sent.
///
/// @param dstFid           the requester (`srcFid` of the request's record).
/// @param srcFid           the participant that answers (`dstFid` of the request's record).
/// @param refId            the request's reference.
/// @param numTagRegBlocks  values in `TagRegBlocks`, at most 10; a negative count is sent with an empty list.
/// @param TagRegBlocks     the tag register blocks; the receiver keeps the low 16 bits of each.
/// @param numResRegBlocks  values in `ResRegBlocks`, at most 4; a negative count is sent with an empty list.
/// @param ResRegBlocks     the reserved register blocks; likewise 16 bits.
/// @param ModbusBufferSize size of the participant's Modbus buffer.
/// @param success          whether the request could be served.
/// @param errReason        reason of a failure, at most 80 characters without '"' or '\'.
/// @return 0 written; 2 a text null or an identifier empty, a count too large, a list missing, or own identifier or the
///         source's parent unknown to the topology service; 7 channel refused the message. On any status but 0 nothing
///         was written.
OVK_API unsigned int ovk_serveReadDeviceInfo(const char* dstFid, const char* srcFid, const char* refId,
                                             int numTagRegBlocks, int* TagRegBlocks, int numResRegBlocks,
                                             int* ResRegBlocks, int ModbusBufferSize, bool success,
                                             const char* errReason);
