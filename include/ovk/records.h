#pragma once

#include <cstdint>

#include "ovk/tags.h"

/// @file
/// The records that the service callbacks get, one per service. They are plain structures, laid out in the order given
/// with the processor's natural alignment; every record begins with the same header. A record and the blocks it points
/// to belong to the library and are gone when the callback returns: copy what is to be kept, free nothing.
///
/// Header, in every record:
///
///     srcFid      fusion identifier of the sender, 24 characters and NUL
///     dstFid      fusion identifier of the participant addressed, 24 characters and NUL
///     refId       reference that the requester chose, 0 to 40 characters and NUL; empty, too, in a failed answer of
///                 another writer that lacks it
///
/// and in the records of responses also:
///
///     success     1 when the peer says that it succeeded, 0 when it says that it failed
///     errReason   the peer's reason, at most 80 bytes and NUL; empty when `success` is 1
///
/// Texts stand as they stood in the message: nothing is unescaped.

// Lengths of the longest texts in header fields, without their NUL.
constexpr int ovk_FusionIdLength = 24;  ///< of `srcFid` and `dstFid`; identifiers have exactly that many characters
constexpr int ovk_RefIdLength = 40;     ///< of `refId`
constexpr int ovk_ErrReasonLength = 80; ///< of `errReason`

/// The header alone, for code that handles any record.
struct ovk_CommonData_t {
  char srcFid[ovk_FusionIdLength + 1]; ///< who sent the message
  char dstFid[ovk_FusionIdLength + 1]; ///< who is addressed
  char refId[ovk_RefIdLength + 1];     ///< the requester's reference
};

/// ovk_Service_DescriptorReadClient: the answer to ovk_ReadDeviceInfo(). A failed answer of this library has no payload and
/// never gets here; one of another writer that has counts and buffer size does, with `success` 0.
struct ovk_DescriptorReadRspCallbackData_t {
  char srcFid[ovk_FusionIdLength + 1];     ///< who sent the message
  char dstFid[ovk_FusionIdLength + 1];     ///< who is addressed
  char refId[ovk_RefIdLength + 1];         ///< the requester's reference
  int32_t success;                         ///< 1 or 0
  char errReason[ovk_ErrReasonLength + 1]; ///< why not; empty on success
  int32_t numTagRegBlocks;                 ///< 0 to 10; -1 when the peer announced a number outside that range
  int32_t* pTagRegBlocks;                  ///< 10 slots, each 0 to 65535; those without a value are 0
  int32_t numResRegBlocks;                 ///< 0 to 4; -1 when the peer announced a number outside that range
  int32_t* pResRegBlocks;                  ///< 10 slots, of which at most the first 4 hold a value, each 0 to 65535
  int32_t ModbusBufferSize;                ///< as received
};

/// ovk_Service_DescriptorReadServer: a request for the register layout; answer with ovk_serveReadDeviceInfo().
struct ovk_DescriptorReadReqCallbackData_t {
  char srcFid[ovk_FusionIdLength + 1]; ///< who sent the message
  char dstFid[ovk_FusionIdLength + 1]; ///< who is addressed
  char refId[ovk_RefIdLength + 1];     ///< the requester's reference
};

/// ovk_Service_TagReadClient: the answer to ovk_ReadTags().
struct ovk_TagReadRspCallbackData_t {
  char srcFid[ovk_FusionIdLength + 1];     ///< who sent the message
  char dstFid[ovk_FusionIdLength + 1];     ///< who is addressed
  char refId[ovk_RefIdLength + 1];         ///< the requester's reference
  int32_t success;                         ///< 1 or 0
  char errReason[ovk_ErrReasonLength + 1]; ///< why not; empty on success
  int32_t numTagItems;  ///< number of items announced; 0 when the peer announced none, or an impossible number
  TagItem_t* pTagItems; ///< `numTagItems` items in the order of the request; what the peer did not send is zero
};

/// ovk_Service_TagReadServer: a request for tag values; answer with ovk_serveReadTag().
struct ovk_TagReadReqCallbackData_t {
  char srcFid[ovk_FusionIdLength + 1]; ///< who sent the message
  char dstFid[ovk_FusionIdLength + 1]; ///< who is addressed
  char refId[ovk_RefIdLength + 1];     ///< the requester's reference
  int32_t numTags;                     ///< number of selectors announced
  Tag_t* pTags;                        ///< `numTags` selectors; what the peer did not send is zero
};

/// ovk_Service_RegisterReadClient: the answer to ovk_ReadRegisters().
struct ovk_RegisterReadRspCallbackData_t {
  char srcFid[ovk_FusionIdLength + 1];     ///< who sent the message
  char dstFid[ovk_FusionIdLength + 1];     ///< who is addressed
  char refId[ovk_RefIdLength + 1];         ///< the requester's reference
  int32_t success;                         ///< 1 or 0
  char errReason[ovk_ErrReasonLength + 1]; ///< why not; empty on success
  int32_t startRegister1;    ///< address of the first register of area 1; -1 when absent, as in a failed answer
  int32_t numberRegisters1;  ///< values in `pStartRegister1`; -1 when absent or more than 1024
  uint16_t* pStartRegister1; ///< 1024 words; those past the count are 0, or unspecified when the count is -1
  int32_t startRegister2;    ///< area 2, likewise
  int32_t numberRegisters2;  ///< likewise
  uint16_t* pStartRegister2; ///< likewise
};

/// ovk_Service_RegisterReadServer: a request for register values; answer with ovk_serveReadRegisters().
struct ovk_RegisterReadReqCallbackData_t {
  char srcFid[ovk_FusionIdLength + 1]; ///< who sent the message
  char dstFid[ovk_FusionIdLength + 1]; ///< who is addressed
  char refId[ovk_RefIdLength + 1];     ///< the requester's reference
  int32_t startRegister1;              ///< address of the first register of area 1
  int32_t numberRegisters1;            ///< number of registers; -1 as sent, whose meaning is the server application's
  int32_t startRegister2;              ///< area 2: 0 with count 0 when the requester left it out; -1 when missing
  int32_t numberRegisters2;            ///< 0 when missing
};

/// ovk_Service_RegisterWriteClient: the answer to ovk_WriteRegisters().
struct ovk_RegisterWriteRspCallbackData_t {
  char srcFid[ovk_FusionIdLength + 1];     ///< who sent the message
  char dstFid[ovk_FusionIdLength + 1];     ///< who is addressed
  char refId[ovk_RefIdLength + 1];         ///< the requester's reference
  int32_t success;                         ///< 1 or 0
  char errReason[ovk_ErrReasonLength + 1]; ///< why not; empty on success
};

/// ovk_Service_RegisterWriteServer: a request to write registers; answer with ovk_serveWriteRegisters().
struct ovk_RegisterWriteReqCallbackData_t {
  char srcFid[ovk_FusionIdLength + 1]; ///< who sent the message
  char dstFid[ovk_FusionIdLength + 1]; ///< who is addressed
  char refId[ovk_RefIdLength + 1];     ///< the requester's reference
  int32_t sendNotification;            ///< as received; this library's clients send 0 or 1
  int32_t startRegister1;              ///< address of the first register of area 1; -1 when absent or negative
  int32_t numberRegisters1;  ///< values in `pStartRegister1`; -1 when absent, start negative or more than 1024
  uint16_t* pStartRegister1; ///< 1024 words; those past the count are 0, or unspecified when the count is -1
  int32_t startRegister2;    ///< area 2, likewise
  int32_t numberRegisters2;  ///< likewise
  uint16_t* pStartRegister2; ///< likewise
};
