// Files read whole. The streams do not tell why they fail, but errno still does.

#include "file_content.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "failure.h"

namespace tool {

namespace {

constexpr std::size_t mostBytes = std::size_t{16} * 1024 * 1024;

} // namespace

std::string contentOf(const std::string& file) {
  errno = 0;
  std::ifstream stream(file, std::ios::binary);
  std::string text;
  char block[16384];
  while (stream && text.size() <= mostBytes) {
    stream.read(block, sizeof block);
    text.append(block, static_cast<std::size_t>(stream.gcount()));
  }
  if (text.size() > mostBytes) throw Failure(Exit_Other, file + ": has more than 16 MB");
  if (errno != 0 || text.empty())
    throw Failure(Exit_Other, file + ": " + (errno == 0 ? "is empty" : std::strerror(errno)));
  return text;
}

} // namespace tool
