#pragma once

/// Whether `fid` is a fusion identifier: 24 characters, of the form "VRddd_ddddd_xxxxxxxxxxxx" as scanf understands it, so
/// that numbers may be shorter, signed or preceded by blanks, and nothing behind the third one counts. A refusal is traced.
bool isValidFusionIdentifier(const char* fid);

/// Whether `refId` has at most 40 characters; what they are does not matter. A refusal is traced.
bool isValidReferenceIdentifier(const char* refId);

namespace ovk {

/// Whether destination, source and reference of a message are valid; a refusal is traced in the name of `function` too.
bool areValidIdentifiers(const char* function, const char* dstFid, const char* srcFid, const char* refId);

} // namespace ovk
