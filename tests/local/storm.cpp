// Participants ask one another at random, as fast as they can, and some are killed, two at once at times, and start
// again. Every message is accounted for: what was written is delivered once and in order, what was refused is not, and
// only what was written before its reader or its writer died is lost. In the end all reach one another, and nobody's memory has grown.
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

enum Type { readRequest, readResponse, writeRequest, writeResponse, typeCount };

enum Phase { answering, askingAtRandom, askingEach };

// Of the messages of one type from one participant to another.
struct Account {
  std::atomic<unsigned> written, refused, delivered;
};

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
  Account accounts[mostParticipants][mostParticipants][typeCount];
  Sequence sequences[mostParticipants][mostParticipants][2]; // of requests and of responses
  std::atomic<unsigned> lost, disordered, altered, wronglyRefused;
  std::atomic<int> askedEach; // who has, in that phase
  std::atomic<Phase> phase;
};
Ledger& ledger =
    *static_cast<Ledger*>(::mmap(nullptr, sizeof(Ledger), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
int self = 0;

std::string fidOf(int participant) { return "VR001_00001_0000000000" + std::to_string(10 + participant); }
int participantOf(const std::string& fid) { return std::stoi(fid.substr(22)) - 10; }

// What travels with the request of that number.
std::vector<uint16_t> valuesOf(unsigned number) {
  std::vector<uint16_t> values(number % 16 == 0 ? ovk_MaxRegistersPerArea : 10);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<uint16_t>(number * 31 + i);
  return values;
}

// The reference is the message's number; in a response that of the request follows.
void enter(int reader, Type type, const std::function<unsigned(const std::string&)>& send) {
  Sequence& sequence = ledger.sequences[self][reader][type % 2];
  Account& account = ledger.accounts[self][reader][type];
  const unsigned status = send(std::to_string(++sequence.newest));
  ++(status == ovk_Status_Done ? account.written : account.refused);
  if (status == ovk_Status_Done) return;
  --sequence.newest;
  // A queue may be full, and a participant that was killed unknown until it is back.
  if (ledger.phase == askingEach || (kills == 0 && status != ovk_Status_NotWritten)) ++ledger.wronglyRefused;
}

// The number of the request that the message is, or answers.
template <typename Record>
unsigned arrived(Type type, const Record& record) {
  const int writer = participantOf(record.srcFid);
  const std::string refId = record.refId;
  const auto number = static_cast<unsigned>(std::stoul(refId));
  Sequence& sequence = ledger.sequences[writer][self][type % 2];
  ++ledger.accounts[writer][self][type].delivered;
  const unsigned before = sequence.last.exchange(number);
  if (number <= before) ++ledger.disordered;
  if (number > before + 1 && number - 1 > sequence.excused) ++ledger.lost;
  return sequence.request = static_cast<unsigned>(std::stoul(refId.substr(refId.find('/') + 1)));
}

void compare(unsigned number, const uint16_t* values, int count) {
  if (std::vector<uint16_t>(values, values + count) != valuesOf(number)) ++ledger.altered;
}

void onReadRequest(const ovk_RegisterReadReqCallbackData_t& record) {
  const std::vector<uint16_t> values = valuesOf(arrived(readRequest, record));
  enter(participantOf(record.srcFid), readResponse, [&](const std::string& number) {
    const std::string refId = number + '/' + record.refId;
    return ovk_serveReadRegisters(record.srcFid, record.dstFid, refId.c_str(), 0, values.data(),
                                  record.numberRegisters1, 0, nullptr, 0, true, nullptr);
  });
}

void onReadResponse(const ovk_RegisterReadRspCallbackData_t& record) {
  compare(arrived(readResponse, record), record.pStartRegister1, record.numberRegisters1);
}

void onWriteRequest(const ovk_RegisterWriteReqCallbackData_t& record) {
  compare(arrived(writeRequest, record), record.pStartRegister1, record.numberRegisters1);
  enter(participantOf(record.srcFid), writeResponse, [&](const std::string& number) {
    const std::string refId = number + '/' + record.refId;
    return ovk_serveWriteRegisters(record.srcFid, record.dstFid, refId.c_str(), true, nullptr);
  });
}

void onWriteResponse(const ovk_RegisterWriteRspCallbackData_t& record) { arrived(writeResponse, record); }

template <typename Record, void (*handle)(const Record&)>
void add(ovk_Service_t service) {
  const ovk_ServiceCallback_t callback = [](void* record, unsigned /*length*/) {
    handle(*static_cast<const Record*>(record));
    return 0;
  };
  const auto untyped = reinterpret_cast<void*>(callback);
  EXPECT_EQ(unsigned{ovk_Status_Done}, ovk_RegisterForService(service, untyped, nullptr, nullptr, nullptr));
}

void ask(int reader) {
  const unsigned number = ledger.sequences[self][reader][0].newest + 1;
  const std::vector<uint16_t> values = valuesOf(number);
  const auto count = static_cast<int>(values.size());
  enter(reader, number % 2 == 0 ? readRequest : writeRequest, [&](const std::string& refId) {
    return number % 2 == 0
               ? ovk_ReadRegisters(fidOf(reader).c_str(), refId.c_str(), 0, count, 0, 0)
               : ovk_WriteRegisters(fidOf(reader).c_str(), refId.c_str(), 0, 0, values.data(), count, 0, nullptr, 0);
  });
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
  add<ovk_RegisterReadReqCallbackData_t, onReadRequest>(ovk_Service_RegisterReadServer);
  add<ovk_RegisterReadRspCallbackData_t, onReadResponse>(ovk_Service_RegisterReadClient);
  add<ovk_RegisterWriteReqCallbackData_t, onWriteRequest>(ovk_Service_RegisterWriteServer);
  add<ovk_RegisterWriteRspCallbackData_t, onWriteResponse>(ovk_Service_RegisterWriteClient);
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
    for (int other = 0; other < participants; ++other)
      for (Sequence* sequences : {ledger.sequences[victim][other], ledger.sequences[other][victim]})
        for (Sequence* sequence : {sequences, sequences + 1}) sequence->excused = sequence->newest.load();
  }
  std::minstd_rand random_{static_cast<unsigned>(::getpid())};
  std::map<int, std::unique_ptr<Child>> processes_;
};

void forEachPair(const std::function<void(int, int)>& visit) {
  for (int writer = 0; writer < participants; ++writer)
    for (int reader = 0; reader < participants; ++reader) visit(writer, reader);
}

unsigned delivered() {
  unsigned all = 0;
  forEachPair([&all](int writer, int reader) {
    for (const Account& account : ledger.accounts[writer][reader]) all += account.delivered;
  });
  return all;
}

// Whether all that was written arrived, but for what may be lost.
bool isAllThere() {
  bool all = true;
  forEachPair([&all](int writer, int reader) {
    for (const Sequence& each : ledger.sequences[writer][reader])
      all = all && (each.last == each.newest || each.newest <= each.excused);
  });
  return all;
}

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
  forEachPair([](int asker, int server) {
    SCOPED_TRACE(fidOf(asker) + " asked " + fidOf(server));
    const Sequence& requests = ledger.sequences[asker][server][0];
    const Sequence& responses = ledger.sequences[server][asker][1];
    EXPECT_EQ(requests.newest, requests.last);
    EXPECT_EQ(responses.newest, responses.last);
    EXPECT_EQ(requests.newest, responses.request);
  });
}

void checkCounters(int participant) {
  constexpr int numbers[typeCount][3] = {{0, 0, 47}, {49, 50, 51}, {69, 70, 71}, {0, 0, 75}};
  std::map<int, unsigned> expected;
  for (int other = 0; other < participants; ++other) {
    for (int type = 0; type < typeCount; ++type) {
      expected[numbers[type][0]] += ledger.accounts[participant][other][type].written;
      expected[numbers[type][1]] += ledger.accounts[participant][other][type].refused;
      expected[numbers[type][2]] += ledger.accounts[other][participant][type].delivered;
    }
  }
  expected[0] = 0;
  std::vector<ovk_local_counter_t> counters;
  EXPECT_TRUE(ovk_local_read_counters(fidOf(participant).c_str(), counters));
  for (const auto& counter : counters) EXPECT_EQ(expected[counter.number], counter.value) << counter.number;
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
    for (int participant = 0; kills == 0 && participant < participants; ++participant) checkCounters(participant);
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
