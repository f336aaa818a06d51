#pragma once

/// @file
/// Tag access, as client and as server.

#include <cstdint>
#include <string>
#include <vector>

#include "ovk/export.h"

/// Values of `tag_type`.
enum ovk_TagType_t : int32_t {
  DevTag = 1,    ///< a tag of a port
  DevInfoTag = 2 ///< a device-information tag
};

/// Values of `idd`, the data type code of a tag value: which member of `data` holds it. A value of any other code is sent as
/// the text "empty" and not read back.
enum ovk_TagDataType_t : uint8_t {
  ovk_TagData_Float = 0,    ///< `f`
  ovk_TagData_Unsigned = 1, ///< `ui`
  ovk_TagData_Signed = 2,   ///< `i`, as for the codes 5, 8 and 9
  ovk_TagData_Text = 4,     ///< `str`
  ovk_TagData_Signed5 = 5,
  ovk_TagData_Signed8 = 8,
  ovk_TagData_Signed9 = 9
};

/// A tag selector, as a client names a tag.
struct DevTagDevInfoTag {
  int32_t tag_type; ///< an `ovk_TagType_t`; other values are sent unchanged
  uint16_t tag_num; ///< its number
};

/// A tag selector, as a server receives it.
struct Tag_t {
  int32_t tag_type; ///< as received
  uint16_t tag_num; ///< its number
};

/// One tag value.
struct _TagItem_t { // NOLINT(bugprone-reserved-identifier): the name is part of the fixed interface
  char fid[25];     ///< received: the asking client's fusion identifier; not read when sending
  int32_t tag_type; ///< received: 0, since answers carry no type; not read when sending
  uint16_t tag;     ///< tag number
  uint8_t idd;      ///< an `ovk_TagDataType_t`
  union {
    float f; ///< travels as text with six decimals
    uint32_t ui;
    int32_t i;
    char str[20];   ///< at most 19 characters and NUL, without '"' or '\'; only the first word arrives
  } data;           ///< the value
  int32_t startReg; ///< first register of the tag's value
  int32_t regLen;   ///< number of registers of the tag's value
};
using TagItem_t = _TagItem_t; ///< the name to use

/// Takes a tag selector from a configuration item, the JSON text
/// `{"telegram":[{"fid":"...","portlist":[{"tag":17}]}]}` with "tag" (a tag of a port) or "deviceinfo" (a
/// device-information tag). Only the first telegram and its first port are read. Needs no ovk_Init().
///
/// @param tagConfig      the configuration item.
/// @param tag            receives the selector on status 0. The number is cut to its low 16 bits.
/// @param fusionIdReturn receives the text of "fid" as soon as it was found: on status 0, and also when the tag is missing
///                       or not a number. Only its length is checked, at most 24 characters: a value that is no string
///                       gives its JSON text, and no message can carry some of these texts.
/// @return 0 taken; 2 text empty, no "telegram", no "fid" or a longer one, no tag, or tag not a number; 7 "telegram" is
///         empty.
OVK_API unsigned int getTagFromConfig(std::string tagConfig, DevTagDevInfoTag& tag, std::string& fusionIdReturn);

/// Asks another participant for the values of tags.
///
/// One request is written before the call returns; the answer arrives inside a later ovk_DoWork() as
/// ovk_TagReadRspCallbackData_t.
///
/// @param fusionIdDst participant to ask. Must be known to the topology service.
/// @param refId       caller's own reference, 0 to 40 characters without '"' or '\'.
/// @param tag_vector  the selectors, at least one.
/// @return 0 written; 2 no selector, or envelope not buildable (as for ovk_ReadRegisters()); 6 no callback for
///         ovk_Service_TagReadClient; 7 channel refused the message. On any status but 0 nothing was written.
OVK_API unsigned int ovk_ReadTags(std::string fusionIdDst, std::string refId, std::vector<DevTagDevInfoTag> tag_vector);

/// Answers a tag read request, from inside its callback or later.
///
/// @param fusionIdDst the requester (`srcFid` of the request's record); every item is sent under it.
/// @param fusionIdSrc the participant that answers (`dstFid` of the request's record).
/// @param refId       the request's reference.
/// @param numTags     number of items.
/// @param items       the items, never changed; not read when `numTags` is 0. A failed answer may leave them null
///                    and then carries none.
/// @param success     whether the request could be served.
/// @param ErrReason   reason of a failure, at most 80 characters without '"' or '\'. Always give one: an answer without
///                    it is sent (status 0), but never reaches the requester's callback.
/// @return 0 written; 2 a text null or an identifier empty, items of a successful answer null, or own identifier or the
///         source's parent unknown to the topology service; 7 channel refused the message. On any status but 0 nothing
///         was written.
OVK_API unsigned int ovk_serveReadTag(const char* fusionIdDst, const char* fusionIdSrc, const char* refId,
                                      unsigned int numTags, _TagItem_t* items, bool success, const char* ErrReason);
