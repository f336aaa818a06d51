#include <cerrno>

#include "local_bus.h"
#include "platform/trace_log.h"

namespace {

class TraceLog : public LocalBus {
protected:
  void TearDown() override {
    ovk_local_set_trace_threshold(traceError);
    LocalBus::TearDown();
  }
};

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
}

TEST_F(TraceLog, LineHasItsOrigin) {
  errno = EBADF;
  logTracePrint("File", 42, "function", 2, "n %d\n\n", 7);
  EXPECT_EQ(EBADF, errno);
  for (char& c : trace_)
    if (c >= '0' && c <= '9') c = '9';
  EXPECT_EQ("99:99:99.999999 9 File:99 function: n 9\n\n", trace_); // the sink of this test adds one line feed
}

// Around the size of the inner buffer, and as long as messages get.
TEST_F(TraceLog, LongLinesAreWhole) {
  std::vector<std::size_t> sizes = {20000};
  for (std::size_t size = 940; size < 1030; ++size) sizes.push_back(size);
  for (const std::size_t size : sizes) {
    const std::string text(size, 'x');
    logTracePrint("F", 1, "f", 2, "%s\n", text.c_str());
    EXPECT_EQ(" 2 F:1 f: " + text + '\n', trace_.substr(15)) << size;
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
