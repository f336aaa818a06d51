// The cost of receiving and sending a message, for the library and its peers, and of a trace call that is not wanted:
//
//   receive/MESSAGE/WHO   from the text to the delivered record and its release
//   send/MESSAGE/WHO      from the values to the write to the channel
//   trace/below_threshold/ovk
//
// Measured only after every peer was seen to make the same records and texts as the library; the exit code is 1 when one
// does not.

#include <benchmark/benchmark.h>
#include <cstdio>

#include "core/trace.h"
#include "peers.h"
#include "platform.h"

namespace {

void run(benchmark::State& state, bool (*act)(const bench::Message&), const bench::Case* each) {
  std::size_t turn = 0;
  for (auto _ : state) {
    if (!act(each->variants[turn++ % each->variants.size()])) {
      state.SkipWithError("failed");
      return;
    }
  }
}

void enter(const bench::Peer& peer, const bench::Case& each) {
  const std::string name = "/" + each.name + "/" + peer.name;
  benchmark::RegisterBenchmark(("receive" + name).c_str(), run, peer.receive, &each);
  if (peer.send != nullptr) benchmark::RegisterBenchmark(("send" + name).c_str(), run, peer.send, &each);
}

void traceBelowThreshold(benchmark::State& state) {
  const char* text = bench::ownFid;
  int number = 0;
  for (auto _ : state) {
    OVK_TRACE(traceProgress, "text %s number %d\n", text, number++);
    benchmark::ClobberMemory();
  }
}

} // namespace

int main(int argc, char* argv[]) {
#ifndef NDEBUG
  std::fprintf(stderr, "built without optimisation: the figures mean nothing\n");
#endif
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  if (!bench::peersAgree()) return 1;
  for (const bench::Case& each : bench::cases()) {
    enter(bench::library, each);
    for (const bench::Peer& peer : bench::peers()) enter(peer, each);
  }
  benchmark::RegisterBenchmark("trace/below_threshold/ovk", traceBelowThreshold);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
