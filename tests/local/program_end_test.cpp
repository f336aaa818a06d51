// The library at the end of a program, of a thread, and of its own stay in a process.

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <malloc.h>
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
  bool load() const {
    application = new Application;
    return application->begin(directory_.c_str()) && application->exchange();
  }
  const TemporaryDirectory directoryOwner_;
  const std::string& directory_ = directoryOwner_.path();
};

struct ExchangeAtTheEnd {
  bool& arrived;
  ~ExchangeAtTheEnd() { arrived = application->exchange(); }
};

// The handler is older than the library, and therefore called after all that the library may have registered.
TEST_F(ProgramEnd, ExitHandlersMayCallTheLibrary) {
  const auto atTheEnd = [] {
    if (!application->exchange()) ::_exit(1);
  };
  EXPECT_EXIT((std::atexit(atTheEnd), std::exit(load() ? 0 : 2)), ::testing::ExitedWithCode(0), "");
  EXPECT_TRUE(std::filesystem::is_empty(directory_)) << "what was open is closed after that";
}

TEST_F(ProgramEnd, ThreadsMayCallTheLibraryWhileTheyEnd) {
  bool arrived = false, loaded = false;
  const auto work = [&] {
    thread_local const ExchangeAtTheEnd last{arrived};
    loaded = load();
  };
  EXPECT_EXIT((std::thread(work).join(), ::_exit(loaded && arrived ? 0 : 1)), ::testing::ExitedWithCode(0), "");
}

TEST_F(ProgramEnd, TheLibraryIsFreshWhenItIsLoadedAgain) {
  const auto useAndUnload = [this] {
    return load() && ::dlclose(application->handle) == 0 && std::filesystem::is_empty(directory_);
  };
  EXPECT_EXIT(::_exit(useAndUnload() && useAndUnload() && useAndUnload() ? 0 : 1), ::testing::ExitedWithCode(0), "");
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
