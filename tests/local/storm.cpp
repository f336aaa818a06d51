// Participants ask one another at random, as fast as they can, and some are killed, two at once at times, and start
// again. Every message is accounted for: what was written is delivered once and in order, what was refused is not, and
// only what was written before its reader or its writer died is lost. In the end all reach one another, and no memory has
// grown.
//
//     storm [PARTICIPANTS [SECONDS [ROUNDS [KILLS]]]]      SECONDS and KILLS of each round

#include <algorithm>
#include <atomic>
#include <malloc.h>
#include <map>
#include <numeric>
#include <poll.h>
#include <random>
#include <sys/mman.h>
#include <thread>

#include "local_bus.h"
#include "ovk/ovk.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int mostParticipants = 32;
constexpr std::size_t mostGrowth = 65536; // bytes of each participant's heap, after a fifth of the time
int participants = 6;
std::chrono::duration<double> seconds(0.3);
int rounds = 3;
int kills = 4;

enum Phase { answering, askingAtRandom, askingEach };

// Of the requests, or the responses, from one participant to another. A message's number is the count of those written
// before it, and its own; the number of a refused one is used again.
struct Sequence {
  std::atomic<unsigned> newest;  // written, or being written
  std::atomic<unsigned> last;    // delivered
  std::atomic<unsigned> request; // the number of that one, or of the one that it answers
  std::atomic<unsigned> excused; // up to this one some may be missing: the newest when reader or writer died
};

// Shared by all processes, so that it outlives those that are killed. First the writer, then the reader.
struct Ledger {
  Sequence requests[mostParticipants][mostParticipants];
  Sequence responses[mostParticipants][mostParticipants];
  std::atomic<unsigned> lost, disordered, altered, wronglyRefused;
  std::atomic<int> askedEach; // who has, in that phase
  std::atomic<Phase> phase;
};
Ledger& ledger =
    *static_cast<Ledger*>(::mmap(nullptr, sizeof(Ledger), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
int self = 0;

std::string fidOf(int participant) { return "VR001_00001_0000000000" + std::to_string(10 + participant); }
int participantOf(const std::string& fid) { return std::stoi(fid.substr(22)) - 10; }

// What the response to the request of that number holds.
std::vector<uint16_t> valuesOf(unsigned number) {
  std::vector<uint16_t> values(number % 16 == 0 ? ovk_MaxRegistersPerArea : 10);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<uint16_t>(number * 31 + i);
  return values;
}

// The reference is the message's number; in a response that of the request follows.
void enter(Sequence& sequence, const std::function<unsigned(const std::string&)>& send) {
  const unsigned status = send(std::to_string(++sequence.newest));
  if (status == ovk_Status_Done) return;
  --sequence.newest;
  // A queue may be full, and a participant that was killed unknown until it is back.
  if (ledger.phase == askingEach || (kills == 0 && status != ovk_Status_NotWritten)) ++ledger.wronglyRefused;
}

// The number of the request that the message is, or answers.
unsigned arrived(Sequence& sequence, const std::string& refId) {
  const auto number = static_cast<unsigned>(std::stoul(refId));
  const unsigned before = sequence.last.exchange(number);
  if (number <= before) ++ledger.disordered;
  if (number > before + 1 && number - 1 > sequence.excused) ++ledger.lost;
  return sequence.request = static_cast<unsigned>(std::stoul(refId.substr(refId.find('/') + 1)));
}

void ask(int reader) {
  enter(ledger.requests[self][reader], [reader](const std::string& refId) {
    const auto count = static_cast<int>(valuesOf(static_cast<unsigned>(std::stoul(refId))).size());
    return ovk_ReadRegisters(fidOf(reader).c_str(), refId.c_str(), 0, count, 0, 0);
  });
}

int onRequest(void* data, unsigned /*length*/) {
  const auto& record = *static_cast<ovk_RegisterReadReqCallbackData_t*>(data);
  const int asker = participantOf(record.srcFid);
  const std::vector<uint16_t> values = valuesOf(arrived(ledger.requests[asker][self], record.refId));
  enter(ledger.responses[self][asker], [&](const std::string& number) {
    const std::string refId = number + '/' + record.refId;
    return ovk_serveReadRegisters(record.srcFid, record.dstFid, refId.c_str(), 0, values.data(),
                                  record.numberRegisters1, 0, nullptr, 0, true, nullptr);
  });
  return 0;
}

int onResponse(void* data, unsigned /*length*/) {
  const auto& record = *static_cast<ovk_RegisterReadRspCallbackData_t*>(data);
  const unsigned number = arrived(ledger.responses[participantOf(record.srcFid)][self], record.refId);
  const std::vector<uint16_t> values(record.pStartRegister1, record.pStartRegister1 + record.numberRegisters1);
  if (values != valuesOf(number)) ++ledger.altered;
  return 0;
}

void enrol(ovk_Service_t service, ovk_ServiceCallback_t callback) {
  const auto untyped = reinterpret_cast<void*>(callback);
  EXPECT_EQ(unsigned{ovk_Status_Done}, ovk_RegisterForService(service, untyped, nullptr, nullptr, nullptr));
}

void askAsToldTo(std::minstd_rand& random, bool& askedAll) {
  if (ledger.phase == askingAtRandom) {
    const auto reader = static_cast<int>(random() % static_cast<unsigned>(participants));
    const int burst = random() % 4096 == 0 ? 3000 : 1; // sometimes more than a queue holds
    for (int i = 0; i < burst; ++i) ask(reader);
  }
  if (ledger.phase != askingEach || askedAll) return;
  for (int reader = 0; reader < participants; ++reader) ask(reader);
  askedAll = true;
  ++ledger.askedEach;
}

std::size_t heapInUse() {
  const auto heap = ::mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

std::ptrdiff_t openDescriptors() { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); }

void takePart(Child& child) {
  const auto descriptors = openDescriptors() + 3; // the bus directory, the counters and what to wait on stay
  ovk_Init(true, fidOf(self).c_str(), nullptr, nullptr, nullptr);
  enrol(ovk_Service_RegisterReadServer, onRequest);
  enrol(ovk_Service_RegisterReadClient, onResponse);
  child.signal();
  std::minstd_rand random(static_cast<unsigned>(::getpid()));
  bool askedAll = false;
  const auto warm = Clock::now() + seconds / 5;
  std::size_t heap = 0;
  pollfd waiting[] = {{ovk_local_wait_descriptor(), POLLIN, 0}, {child.link(), POLLIN, 0}};
  while (::poll(waiting, 2, ledger.phase == askingAtRandom ? 0 : 10) >= 0 && waiting[1].revents == 0) {
    if (waiting[0].revents != 0) ovk_DoWork(nullptr, nullptr, nullptr);
    askAsToldTo(random, askedAll);
    if (heap == 0 || Clock::now() < warm) heap = heapInUse();
  }
  EXPECT_LE(heapInUse(), heap + mostGrowth) << fidOf(self);
  ovk_QMXBusShutdown();
  EXPECT_LE(openDescriptors(), descriptors) << fidOf(self);
}

void forEachSequence(const std::function<void(int writer, int reader, Sequence&)>& visit) {
  for (int writer = 0; writer < participants; ++writer)
    for (int reader = 0; reader < participants; ++reader)
      for (auto* sequences : {ledger.requests, ledger.responses}) visit(writer, reader, sequences[writer][reader]);
}

// How many messages were delivered, but for those that were lost.
unsigned delivered() {
  unsigned all = 0;
  forEachSequence([&all](int, int, const Sequence& each) { all += each.last; });
  return all;
}

// Whether all that was written arrived, but for what may be lost.
bool isAllThere() {
  bool all = true;
  forEachSequence([&all](int, int, const Sequence& each) {
    all = all && (each.last == each.newest || each.newest <= each.excused);
  });
  return all;
}

class Storm : public LocalBus {
protected:
  void launch(int participant) {
    self = participant;
    processes_[participant] = std::make_unique<Child>(takePart);
    ASSERT_TRUE(processes_[participant]->await()) << fidOf(participant);
  }
  void killAtRandomTimes() {
    std::vector<int> victims(static_cast<std::size_t>(participants));
    std::iota(victims.begin(), victims.end(), 0);
    for (int i = 0; i < kills; ++i) {
      std::this_thread::sleep_for(seconds / kills * std::uniform_real_distribution<>()(random_));
      std::shuffle(victims.begin(), victims.end(), random_);
      const auto end = victims.begin() + std::min(participants, 1 + i % 2); // every other time two
      std::for_each(victims.begin(), end, [this](int victim) { kill(victim); });
      std::for_each(victims.begin(), end, [this](int victim) { launch(victim); });
    }
  }
  void kill(int victim) {
    processes_[victim]->kill();
    forEachSequence([victim](int writer, int reader, Sequence& sequence) {
      if (writer == victim || reader == victim) sequence.excused = sequence.newest.load();
    });
  }
  std::minstd_rand random_{static_cast<unsigned>(::getpid())};
  std::map<int, std::unique_ptr<Child>> processes_;
};

// For 20 s at most.
void waitUntilQuiet(int askedEach) {
  const auto latest = Clock::now() + std::chrono::seconds(20);
  for (unsigned before = 0; Clock::now() < latest;) {
    if (delivered() == before && ledger.askedEach == askedEach && isAllThere()) return;
    before = delivered();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
}

// When each has asked each once more, and nothing is under way.
void checkSequences() {
  EXPECT_EQ(0U, ledger.lost);
  EXPECT_EQ(0U, ledger.disordered);
  EXPECT_EQ(0U, ledger.altered);
  EXPECT_EQ(0U, ledger.wronglyRefused);
  EXPECT_EQ(participants, ledger.askedEach);
  forEachSequence([](int writer, int reader, const Sequence& each) {
    EXPECT_EQ(each.newest, each.last) << fidOf(writer) << " to " << fidOf(reader);
    EXPECT_EQ(ledger.requests[writer][reader].newest, ledger.responses[reader][writer].request);
  });
}

TEST_F(Storm, EveryMessageIsAccountedFor) {
  ovk_local_set_trace_threshold(-1); // refusals are counted
  unsigned sum = 0;
  for (int round = 0; round < rounds && !HasFailure(); ++round) {
    new (&ledger) Ledger();
    for (int participant = 0; participant < participants; ++participant) launch(participant);
    ledger.phase = askingAtRandom;
    const auto end = Clock::now() + seconds;
    killAtRandomTimes();
    std::this_thread::sleep_until(end);
    ledger.phase = answering;
    waitUntilQuiet(0);
    ledger.phase = askingEach; // also those who were killed must be reached again, and answer
    waitUntilQuiet(participants);
    checkSequences();
    for (const auto& process : processes_) EXPECT_EQ(0, process.second->finish());
    EXPECT_EQ(0, files());
    sum += delivered();
    std::printf("round %d: %u messages delivered in all\n", round + 1, sum);
    std::fflush(stdout);
  }
}

} // namespace

int main(int argc, char* argv[]) {
  ::testing::InitGoogleTest(&argc, argv);
  if (argc > 1) participants = std::atoi(argv[1]);                           // NOLINT(cert-err34-c)
  if (argc > 2) seconds = std::chrono::duration<double>(std::atof(argv[2])); // NOLINT(cert-err34-c)
  if (argc > 3) rounds = std::atoi(argv[3]);                                 // NOLINT(cert-err34-c)
  if (argc > 4) kills = std::atoi(argv[4]);                                  // NOLINT(cert-err34-c)
  return RUN_ALL_TESTS();
}
