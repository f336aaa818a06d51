// Any bytes as a configuration item.

#include "check.h"
#include "ovk/ovk.h"
#include "support/fake_platform.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fake::reset();
  DevTagDevInfoTag tag{-1, 0xFFFF};
  std::string fid = "unset";
  const unsigned status = getTagFromConfig(std::string(reinterpret_cast<const char*>(data), size), tag, fid);
  fuzz::check(status == ovk_Status_Done || status == ovk_Status_Invalid || status == ovk_Status_NotWritten,
              "the status is one of three");
  if (status == ovk_Status_Done) {
    fuzz::check(fid.size() <= 24 && (tag.tag_type == DevTag || tag.tag_type == DevInfoTag), "a tag is a whole one");
  }
  return 0;
}
