#pragma once

/// @file
/// Register access, as client and as server.

#include <cstdint>

#include "ovk/export.h"

/// Most register values that one area of a received message can hold. Senders are not held to it, but a receiver of
/// this library reports a longer area as unusable (count -1).
constexpr int ovk_MaxRegistersPerArea = 1024;

/// One area of consecutive 16-bit registers. Register operations always carry exactly two.
struct RegisterArea {
  int32_t start;          ///< address of the first register
  const uint16_t* values; ///< `count` values; null where no values travel
  int32_t count;          ///< number of registers
};

/// Asks another participant for the values of one or two register areas.
///
/// One request is written before the call returns; the answer arrives inside a later ovk_DoWork() as
/// ovk_RegisterReadRspCallbackData_t. Matching the two by `refId` is the caller's affair: nothing is remembered,
/// repeated or timed out.
///
/// @param fusionIdDst      participant to ask; copied. Must be known to the topology service.
/// @param refId            caller's own reference, 0 to 40 characters without '"' or '\': texts go into the message
///                         unescaped.
/// @param startRegister1   address of the first register, 0 or more.
/// @param numberRegisters1 registers, not bytes; at least 1, or -1 (whose meaning is the peer's).
/// @param startRegister2   second area; left out (sent as start 0, count 0) when negative.
/// @param numberRegisters2 likewise: left out unless it is at least 1 or is -1.
/// @return 0 written; 2 area 1 invalid, a text null, or envelope not buildable (destination empty, or own identifier or
///         destination's parent unknown to the topology service); 6 no callback for ovk_Service_RegisterReadClient;
///         7 channel refused the message. On any status but 0 nothing was written.
OVK_API unsigned ovk_ReadRegisters(const char* fusionIdDst, const char* refId, int startRegister1, int numberRegisters1,
                                   int startRegister2, int numberRegisters2);

/// Asks another participant to write one or two register areas.
///
/// One request is written before the call returns; the answer arrives inside a later ovk_DoWork() as
/// ovk_RegisterWriteRspCallbackData_t. The values are read during the call only.
///
/// @param fusionIdDst      participant to ask, a valid fusion identifier known to the topology service.
/// @param refId            caller's own reference, 0 to 40 characters without '"' or '\'.
/// @param sendNotification 0 or 1; carried to the server application unchanged.
/// @param startRegister1   address of the first register, 0 or more.
/// @param pStartRegister1  `numberRegisters1` values.
/// @param numberRegisters1 registers, not bytes; at least 1. More than 1024 are sent, but reach the server's callback
///                         as count -1.
/// @param startRegister2   second area; left out when negative.
/// @param pStartRegister2  `numberRegisters2` values; not looked at when the area is left out.
/// @param numberRegisters2 likewise: left out when less than 1.
/// @return 0 written; 2 identifier, reference, area 1 or sendNotification invalid, or the values of a used area null;
///         4 own identifier or destination's parent unknown to the topology service; 6 no callback for
///         ovk_Service_RegisterWriteClient; 7 channel refused the message. On any status but 0 nothing was written.
OVK_API unsigned ovk_WriteRegisters(const char* fusionIdDst, const char* refId, int sendNotification,
                                    int startRegister1, const uint16_t* pStartRegister1, int numberRegisters1,
                                    int startRegister2, const uint16_t* pStartRegister2, int numberRegisters2);

/// Answers a register read request, from inside its callback or later. Identifiers and reference come from the
/// request's record: destination is its `srcFid`, source its `dstFid`.
///
/// Start and count of the areas are not checked: a count of 0 or less is sent as an area without values. When `success`
/// is false the areas are not looked at and the answer carries none.
///
/// @param fusionIdDst     the requester, a valid fusion identifier.
/// @param fusionIdSrc     the participant that answers, a valid fusion identifier.
/// @param refId           the request's reference, at most 40 characters.
/// @param TagResAddress1  address of the first register of area 1.
/// @param pStartRegister1 values of area 1, read during the call only; may be null when the count is 0 or less.
/// @param numberRegisters1 number of values; at most 1024 can be received.
/// @param TagResAddress2, pStartRegister2, numberRegisters2 likewise for area 2.
/// @param success         whether the read succeeded.
/// @param ErrReason       reason of a failure, at most 80 characters without '"' or '\'. Always give one: an answer
///                        without it is sent (status 0), but never reaches the requester's callback.
/// @return 0 written; 2 an identifier or the reference invalid, or the values of an area with a positive count null;
///         4 own identifier unknown to the topology service; 7 channel refused the message. On any status but 0 nothing
///         was written.
OVK_API unsigned ovk_serveReadRegisters(const char* fusionIdDst, const char* fusionIdSrc, const char* refId,
                                        int TagResAddress1, const uint16_t* pStartRegister1, int numberRegisters1,
                                        int TagResAddress2, const uint16_t* pStartRegister2, int numberRegisters2,
                                        bool success, const char* ErrReason);

/// Answers a register write request, from inside its callback or later.
///
/// @param fusionIdDst the requester (`srcFid` of the request's record), a valid fusion identifier.
/// @param fusionIdSrc the participant that answers (`dstFid` of the request's record), a valid fusion identifier.
/// @param refId       the request's reference, at most 40 characters.
/// @param success     whether the write succeeded.
/// @param ErrReason   reason of a failure, as for ovk_serveReadRegisters().
/// @return 0 written; 2 an identifier or the reference invalid, or own identifier or the source's parent unknown to the
///         topology service; 7 channel refused the message. On any status but 0 nothing was written.
OVK_API unsigned ovk_serveWriteRegisters(const char* fusionIdDst, const char* fusionIdSrc, const char* refId,
                                         bool success, const char* ErrReason);
