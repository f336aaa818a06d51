// Names of the files in the bus directory.
//
// Identifiers are checked only loosely on the bus: slashes, dots and quotes get through. Encoding them is what keeps a
// strange identifier from naming a file elsewhere.

#include "platform/local/bus/file_names.h"

namespace ovk::local {

namespace {

constexpr std::string_view hexDigits = "0123456789ABCDEF";

// Not isalnum(): what counts as a letter must not depend on the locale.
bool isPlain(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '-';
}

std::string decode(std::string_view encoded) {
  std::string text;
  for (std::size_t at = 0; at < encoded.size(); ++at) {
    if (encoded[at] != '%' || at + 2 >= encoded.size()) {
      text += encoded[at];
      continue;
    }
    const std::size_t high = hexDigits.find(encoded[at + 1]);
    const std::size_t low = hexDigits.find(encoded[at + 2]);
    text += static_cast<char>((high << 4 | low) & 0xFFU);
    at += 2;
  }
  return text;
}

} // namespace

std::string socketSuffix(int channel) { return ".c" + std::to_string(channel); }

std::string fileName(std::string_view fid, std::string_view suffix) {
  std::string name;
  for (const char c : fid) {
    const auto byte = static_cast<unsigned char>(c);
    if (isPlain(c)) {
      name += c;
    } else {
      name.append(1, '%').append(1, hexDigits[byte >> 4U]).append(1, hexDigits[byte & 15U]);
    }
  }
  return name.append(suffix);
}

bool identifierOf(std::string_view name, std::string_view suffix, std::string& fid) {
  if (name.size() <= suffix.size() || name.substr(name.size() - suffix.size()) != suffix) return false;
  fid = decode(name.substr(0, name.size() - suffix.size()));
  return fileName(fid, suffix) == name; // also turns down whatever did not decode
}

} // namespace ovk::local
