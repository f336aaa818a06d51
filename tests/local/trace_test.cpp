#include <algorithm>
#include <cerrno>

#include "local_bus.h"
#include "platform/trace_log.h"

namespace {

class TraceLog : public LocalBus {};

TEST_F(TraceLog, ThresholdChoosesLines) {
  const struct {
    int threshold, level;
    bool written;
  } rows[] = {{2, 2, true}, {2, 6, false}, {6, 6, true}, {6, 7, false}, {7, 7, true}, {-1, 2, false}, {-1, 0, false}};
  for (const auto& row : rows) {
    ovk_local_set_trace_threshold(row.threshold);
    logTracePrint("F", 1, "f", row.level, "text\n");
    EXPECT_EQ(row.written, !trace_.empty()) << "level " << row.level << ", threshold " << row.threshold;
    trace_.clear();
  }
  ovk_local_set_trace_threshold(traceError);
}

// Around the size of the inner buffer, and as long as messages get.
TEST_F(TraceLog, LinesOfAnySizeAreWhole) {
  std::vector<std::size_t> sizes = {0, 20000};
  for (std::size_t size = 940; size < 1030; ++size) sizes.push_back(size);
  for (const std::size_t size : sizes) {
    const std::string text(size, 'x');
    errno = EBADF;
    logTracePrint("File", 42, "function", 2, "n %d %s\n\n", 7, text.c_str());
    EXPECT_EQ(EBADF, errno);
    std::replace_if(
        trace_.begin(), trace_.begin() + 15, [](char c) { return c >= '0' && c <= '9'; }, '9');
    EXPECT_EQ("99:99:99.999999 2 File:42 function: n 7 " + text + "\n\n", trace_); // one line feed is the sink's
    trace_.clear();
  }
}

TEST_F(TraceLog, StandardErrorGetsOneLine) {
  ovk_local_set_trace_sink(nullptr, nullptr);
  ::testing::internal::CaptureStderr();
  ::testing::internal::CaptureStdout();
  const std::string text(1200, 'z');
  for (const char* format : {"%s\n", "%s"}) logTracePrint("F", 1, "f", 2, format, text.c_str());
  const std::string written = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ("", ::testing::internal::GetCapturedStdout());
  const std::string line = " 2 F:1 f: " + text + '\n';
  EXPECT_EQ(2 * (15 + line.size()), written.size()) << written;
  EXPECT_EQ(line, written.substr(15, line.size()));
}

} // namespace
