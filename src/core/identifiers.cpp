// The checks of the texts that name things on the bus: participants and requests.
//
// The form of a fusion identifier is what scanf makes of its pattern, no more and no less: identifiers in the field rely
// on its leniency.

#include "core/identifiers.h"

#include <cstdio>
#include <cstring>

#include "core/text.h"
#include "core/trace.h"
#include "ovk/records.h"

namespace {

// The usual form, "VR017_00042_00A0B1C2D3E4": spares nearly every identifier the scan, which takes twenty times as long. Bits
// instead of conditions, so that the compiler looks at several characters at once.
bool isCanonical(const char* fid) {
  constexpr char lowest[] = "VR000_00000_";
  constexpr char highest[] = "VR999_99999_";
  constexpr int hexDigitsAt = sizeof lowest - 1;
  unsigned char misfits = 0;
  for (int i = 0; i < hexDigitsAt; ++i) {
    misfits |= static_cast<unsigned char>((fid[i] < lowest[i]) | (fid[i] > highest[i]));
  }
  for (int i = hexDigitsAt; i < ovk_FusionIdLength; ++i) {
    const auto letter = static_cast<char>(fid[i] | 0x20);
    const int isHexDigit = ((fid[i] >= '0') & (fid[i] <= '9')) | ((letter >= 'a') & (letter <= 'f'));
    misfits |= static_cast<unsigned char>(1 ^ isHexDigit);
  }
  return misfits == 0;
}

bool scansAsIdentifier(const char* fid) {
  int first = -1;
  int second = -1;
  unsigned long long third = 0;
  // NOLINTNEXTLINE(cert-err34-c): only whether numbers are there matters, not their values
  return std::sscanf(fid, "VR%3d_%5d_%012llX", &first, &second, &third) == 3;
}

} // namespace

bool isValidFusionIdentifier(const char* fid) {
  const std::size_t length = fid == nullptr ? 0 : std::strlen(fid);
  if (length != ovk_FusionIdLength) {
    OVK_TRACE(traceError, "FusionIdentifier string %s is %d characters long\n", ovk::shown(fid),
              static_cast<int>(length));
    return false;
  }
  if (isCanonical(fid) || scansAsIdentifier(fid)) return true;
  OVK_TRACE(traceError, "Invalid Identifier %s\n", fid);
  return false;
}

bool isValidReferenceIdentifier(const char* refId) {
  if (refId == nullptr) {
    OVK_TRACE(traceError, "ReferenceIdentifier string is null\n");
    return false;
  }
  if (std::strlen(refId) <= ovk_RefIdLength) return true;
  OVK_TRACE(traceError, "ReferenceIdentifier string is too long, max. length is %d characters\n", ovk_RefIdLength);
  return false;
}

bool ovk::areValidIdentifiers(const char* function, const char* dstFid, const char* srcFid, const char* refId) {
  if (isValidFusionIdentifier(dstFid) && isValidFusionIdentifier(srcFid) && isValidReferenceIdentifier(refId)) {
    return true;
  }
  OVK_TRACE_AS(function, traceError, "Invalid destination (%s), source (%s) or reference identifier (%s)\n",
               shown(dstFid), shown(srcFid), shown(refId));
  return false;
}
