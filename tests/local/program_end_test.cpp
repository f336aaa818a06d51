// The library at the end of a program, of a thread, and of its own stay in a process.

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "support/temporary_directory.h"

namespace {

// The functions of application.cpp.
struct Application {
  void* handle = ::dlopen(OVK_APPLICATION, RTLD_NOW);
  template <typename Function>
  Function* find(const char* name) const {
    return reinterpret_cast<Function*>(::dlsym(handle, name));
  }
  bool (*begin)(const char*) = find<bool(const char*)>("begin");
  bool (*exchange)() = find<bool()>("exchange");
  bool (*configure)(unsigned) = find<bool(unsigned)>("configure");
};

// What runs last in a process uses what it finds here.
const Application* application = nullptr;

class ProgramEnd : public ::testing::Test {
protected:
  // The exit status of a forked process, which `body` is to end.
  static int statusOf(const std::function<void()>& body) {
    const pid_t process = ::fork();
    if (process == 0) {
      body();
      ::_exit(99);
    }
    int status = -1;
    ::waitpid(process, &status, 0);
    return status;
  }
  bool load() const {
    application = new Application;
    return application->begin(directory_.c_str()) && application->exchange();
  }
  const TemporaryDirectory directoryOwner_;
  const std::string& directory_ = directoryOwner_.path();
};

struct ExchangeAtTheEnd {
  bool* arrived = nullptr;
  ~ExchangeAtTheEnd() {
    if (arrived != nullptr) *arrived = application->exchange();
  }
};

// The handler is older than the library, and therefore called after all that the library may have registered.
TEST_F(ProgramEnd, ExitHandlersMayCallTheLibrary) {
  EXPECT_EQ(0, statusOf([this] {
              std::atexit([] {
                if (!application->exchange()) ::_exit(1);
              });
              std::exit(load() ? 0 : 2);
            }));
  EXPECT_TRUE(std::filesystem::is_empty(directory_)) << "what was open is closed after that";
}

TEST_F(ProgramEnd, ThreadsMayCallTheLibraryWhileTheyEnd) {
  EXPECT_EQ(0, statusOf([this] {
              bool arrived = false;
              std::thread([&] {
                thread_local ExchangeAtTheEnd last;
                if (load()) last.arrived = &arrived;
              }).join();
              ::_exit(arrived ? 0 : 1);
            }));
}

TEST_F(ProgramEnd, TheLibraryIsFreshWhenItIsLoadedAgain) {
  EXPECT_EQ(0, statusOf([this] {
              for (int times = 0; times < 3; ++times) {
                if (!load()) ::_exit(1);
                ::dlclose(application->handle);
                if (!std::filesystem::is_empty(directory_)) ::_exit(2);
              }
              ::_exit(0);
            }));
}

TEST_F(ProgramEnd, LittleIsKeptOfALargeText) {
  const Application loaded;
  const auto bytesInUse = [] { return ::mallinfo2().uordblks + ::mallinfo2().hblkhd; };
  ASSERT_TRUE(loaded.configure(100));
  const auto before = bytesInUse();
  EXPECT_TRUE(loaded.configure(3000000));
  EXPECT_LT(bytesInUse(), before + 65536);
  ::dlclose(loaded.handle);
}

} // namespace
