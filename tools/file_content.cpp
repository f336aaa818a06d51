// Files read whole. The streams do not tell why they fail, but errno still does.

#include "file_content.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "failure.h"

namespace tool {

std::string contentOf(const std::string& file) {
  errno = 0;
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream text;
  if (stream && text << stream.rdbuf()) return text.str();
  throw Failure(Exit_Other, file + ": " + (errno == 0 ? "is empty" : std::strerror(errno)));
}

} // namespace tool
