#include <cerrno>
#include <gmock/gmock.h>

#include "local_bus.h"
#include "platform/trace_log.h"

namespace {

class TraceLog : public LocalBus {};

TEST_F(TraceLog, ThresholdChoosesLines) {
  for (const int threshold : {-1, 2, 6, 7})
    for (const int level : {0, 2, 6, 7}) {
      ovk_local_set_trace_threshold(threshold);
      logTracePrint("F", 1, "f", level, "text\n");
      EXPECT_EQ(level <= threshold, !trace_.empty()) << "level " << level << ", threshold " << threshold;
      EXPECT_NE("00:00:00.000000", trace_.substr(0, 15)) << "the clock was not read";
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
    EXPECT_EQ(" 2 File:42 function: n 7 " + text + "\n\n", trace_.substr(15)); // one line feed is the sink's
    trace_.clear();
  }
}

TEST_F(TraceLog, ExceptionsOfTheSinkEndThere) {
  ovk_local_set_trace_sink([](const char*, unsigned, void*) { throw 1; }, nullptr);
  EXPECT_NO_THROW(logTracePrint("F", 1, "f", 2, "text\n"));
}

TEST_F(TraceLog, LinesThatAFileMayNotTakeAreLost) {
  Child limited([this](Child&) {
    ovk_local_set_trace_sink(nullptr, nullptr);
    ::dup2(ovk::local::FileDescriptor(::open(path("log").c_str(), O_WRONLY | O_CREAT, S_IRUSR)).get(), STDERR_FILENO);
    const rlimit limit{100, RLIM_INFINITY};
    EXPECT_EQ(0, ::setrlimit(RLIMIT_FSIZE, &limit));
    for (int i = 0; i < 10; ++i) logTracePrint("F", 1, "f", 2, "text\n");
  });
  EXPECT_EQ(0, limited.finish());
  EXPECT_EQ(90U, std::filesystem::file_size(path("log")));
}

TEST_F(TraceLog, StandardErrorGetsOneLine) {
  ovk_local_set_trace_sink(nullptr, nullptr);
  ::testing::internal::CaptureStderr();
  for (const char* format : {"%s\n", "%s"}) logTracePrint("F", 1, "f", 2, format, std::string(1200, 'z').c_str());
  EXPECT_THAT(::testing::internal::GetCapturedStderr(),
              ::testing::MatchesRegex("(([0-9]{2}:){2}[0-9]{2}[.][0-9]{6} 2 F:1 f: z{1200}\n){2}"));
}

} // namespace
