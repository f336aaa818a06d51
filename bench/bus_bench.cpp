// Round trips between two processes, and the cost of a work call with nothing to do:
//
//   round_trip/10_registers/WHO, round_trip/2048_registers/WHO   from the question to the values
//   idle/do_work/ovk                          no topology callback given: two looks for messages
//   idle/do_work_topology_callback/ovk        with one: a look at the bus directory, too
//   idle/do_work.../system_calls              those calls alone
//
// Client and servers share the first processor that they may use, but for the busy server, which has the last: the time to
// wake a sleeping processor, on virtual machines longer than the whole round trip, would hide all else. Every answer's
// values are compared; before measuring, each link must have read both sizes.

#include <array>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <vector>

#include "links.h"
#include "ovk/local_platform.h"
#include "ovk/ovk.h"
#include "processes.h"

namespace {

void roundTrip(benchmark::State& state, bench::Link* link, int registers) {
  for (auto _ : state) {
    if (!link->read(registers)) {
      state.SkipWithError("no answer, or a wrong one");
      return;
    }
  }
}

void enterRoundTrips(const char* name, bench::Link& link) {
  for (const int registers : {bench::fewRegisters, bench::manyRegisters}) {
    const std::string title = "round_trip/" + std::to_string(registers) + "_registers/" + name;
    benchmark::RegisterBenchmark(title.c_str(), roundTrip, &link, registers)->UseRealTime();
  }
}

unsigned ignoreTopology(std::vector<ovk_topology_controller_t>& /*controllers*/) { return 0; }

void doWork(benchmark::State& state, p_TopologyCallback3 callback) {
  for (auto _ : state) ovk_DoWork(nullptr, nullptr, callback);
}

// A set of one descriptor that never becomes readable.
class QuietSet {
public:
  QuietSet() : set_(::epoll_create1(EPOLL_CLOEXEC)), event_(::eventfd(0, EFD_CLOEXEC)) {
    epoll_event wanted{};
    wanted.events = EPOLLIN;
    ::epoll_ctl(set_, EPOLL_CTL_ADD, event_, &wanted);
  }
  QuietSet(const QuietSet&) = delete;
  QuietSet& operator=(const QuietSet&) = delete;
  ~QuietSet() {
    ::close(event_);
    ::close(set_);
  }
  int look() {
    std::array<epoll_event, 256> events;
    return ::epoll_wait(set_, events.data(), static_cast<int>(events.size()), 0);
  }

private:
  int set_;
  int event_;
};

void systemCalls(benchmark::State& state, const char* directory) {
  QuietSet responses;
  QuietSet requests;
  struct stat seen {};
  for (auto _ : state) {
    benchmark::DoNotOptimize(responses.look() + requests.look());
    if (directory != nullptr) benchmark::DoNotOptimize(::lstat(directory, &seen));
  }
}

bool isRight(const bench::LinkType& type, bench::Link* link) {
  if (link != nullptr && link->read(bench::fewRegisters) && link->read(bench::manyRegisters)) return true;
  std::fprintf(stderr, "%s: no answer, or a wrong one\n", type.name);
  return false;
}

// The work call of a client and a server in one.
void enterIdle(const std::string& directory) {
  ovk_RegisterForService(ovk_Service_RegisterReadServer,
                         reinterpret_cast<void*>(+[](void* /*record*/, unsigned /*length*/) { return 0; }), nullptr,
                         nullptr, nullptr);
  benchmark::RegisterBenchmark("idle/do_work/ovk", doWork, nullptr);
  benchmark::RegisterBenchmark("idle/do_work/system_calls", systemCalls, nullptr);
  benchmark::RegisterBenchmark("idle/do_work_topology_callback/ovk", doWork, ignoreTopology);
  benchmark::RegisterBenchmark("idle/do_work_topology_callback/system_calls", systemCalls, directory.c_str());
}

} // namespace

int main(int argc, char* argv[]) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  bench::stayOn(bench::processors().first);
  std::vector<std::unique_ptr<bench::Link>> links;
  for (const bench::LinkType& type : bench::linkTypes()) {
    links.push_back(type.open());
    if (!isRight(type, links.back().get())) return 1;
    enterRoundTrips(type.name, *links.back());
  }
  const std::string directory = ovk_local_bus_directory();
  enterIdle(directory);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
