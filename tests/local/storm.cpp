// Participants write to one another at random, as fast as they can, and some are killed, two at once at times, and start
// again. Every message is accounted for: what was written is delivered once and in order, what was refused is not, and
// only what was written before its reader or its writer died is lost. In the end all reach one another.
//
//     storm [PARTICIPANTS [SECONDS [ROUNDS [KILLS]]]]      SECONDS and KILLS of each round

#include <atomic>
#include <map>
#include <poll.h>
#include <random>
#include <set>
#include <sstream>
#include <sys/mman.h>
#include <thread>

#include "local_bus.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int mostParticipants = 32;
int participants = 6;
std::chrono::duration<double> seconds(0.3);
int rounds = 3;
int kills = 4;

enum Phase { onlyReading, writingAtRandom, writingToEach };

// Of the messages from one participant to another. A message's number is the count of those written before it, and its
// own; the number of a refused one is used again.
struct Sequence {
  std::atomic<unsigned> newest;  // written, or being written
  std::atomic<unsigned> last;    // delivered
  std::atomic<unsigned> excused; // up to this one some may be missing: the newest when reader or writer died
};

// Shared by all processes, so that it outlives those that are killed. First the writer, then the reader.
struct Ledger {
  Sequence sequences[mostParticipants][mostParticipants];
  std::atomic<unsigned> lost, disordered, altered, wronglyRefused;
  std::atomic<int> reachedEach; // who has, in that phase
  std::atomic<Phase> phase;
};
Ledger& ledger =
    *static_cast<Ledger*>(::mmap(nullptr, sizeof(Ledger), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
int self = 0;

std::string fidOf(int participant) { return "VR001_00001_0000000000" + std::to_string(10 + participant); }

std::string messageOf(int writer, int reader, unsigned number) {
  const std::string text = std::to_string(writer) + ' ' + std::to_string(number);
  return messageTo(fidOf(reader), text, number % 16 == 0 ? 10000 : 0);
}

bool write(int reader) {
  Sequence& sequence = ledger.sequences[self][reader];
  const unsigned number = ++sequence.newest;
  const bool written = send((self + reader) % 2 == 0 ? 0 : 3, messageOf(self, reader, number)) == 0;
  if (!written) --sequence.newest;
  return written;
}

void arrived(const std::string& message) {
  int writer = 0;
  unsigned number = 0;
  std::istringstream(message.substr(messageTo(fidOf(self), "").size() - 2)) >> writer >> number;
  if (message != messageOf(writer, self, number)) ++ledger.altered;
  Sequence& sequence = ledger.sequences[writer][self];
  const unsigned before = sequence.last.exchange(number);
  if (number <= before) ++ledger.disordered;
  if (number > before + 1 && number - 1 > sequence.excused) ++ledger.lost;
}

void readAll() {
  for (const int channel : {1, 2})
    for (std::string message = receive(channel); !message.empty(); message = receive(channel)) arrived(message);
}

// A queue may be full, and a participant that was killed unknown until it is back.
void onTrace(const char* line, unsigned length, void* /*context*/) {
  if (kills == 0 && std::string(line, length).find("its queue is full") == std::string::npos) ++ledger.wronglyRefused;
}

std::ptrdiff_t openDescriptors() { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); }

void exchange(Child& child) {
  const auto descriptors = openDescriptors() + 2; // the bus directory and what to wait on stay
  takePart(fidOf(self));
  child.signal();
  std::minstd_rand random(static_cast<unsigned>(::getpid()));
  int reached = 0;
  pollfd waiting[] = {{ovk_local_wait_descriptor(), POLLIN, 0}, {child.link(), POLLIN, 0}};
  while (::poll(waiting, 2, ledger.phase == writingAtRandom ? 0 : 10) >= 0 && waiting[1].revents == 0) {
    if (waiting[0].revents != 0) readAll();
    const int burst = random() % 4096 == 0 ? 3000 : 1; // sometimes more than a queue holds
    const auto reader = static_cast<int>(random() % static_cast<unsigned>(participants));
    for (int i = 0; i < burst && ledger.phase == writingAtRandom; ++i) write(reader);
    if (ledger.phase == writingToEach && reached < participants && write(reached)) {
      ++reached;
      if (reached == participants) ++ledger.reachedEach;
    }
  }
  readAll();
  closeChannels();
  EXPECT_LE(openDescriptors(), descriptors) << fidOf(self);
}

void forEachSequence(const std::function<void(int writer, int reader, Sequence&)>& visit) {
  for (int writer = 0; writer < participants; ++writer)
    for (int reader = 0; reader < participants; ++reader) visit(writer, reader, ledger.sequences[writer][reader]);
}

bool haveAllArrived() {
  bool all = ledger.reachedEach == participants;
  forEachSequence([&all](int, int, const Sequence& each) { all = all && each.last == each.newest; });
  return all;
}

class Storm : public LocalBus {
protected:
  void launch(int participant) {
    self = participant;
    processes_[participant] = std::make_unique<Child>(exchange);
    ASSERT_TRUE(processes_[participant]->await()) << fidOf(participant);
  }
  void kill(int victim) {
    processes_[victim]->kill();
    forEachSequence([victim](int writer, int reader, Sequence& sequence) {
      if (writer == victim || reader == victim) sequence.excused = sequence.newest.load();
    });
  }
  void killAtRandomTimes() {
    std::minstd_rand random(static_cast<unsigned>(::getpid()));
    for (int i = 0; i < kills; ++i) {
      std::this_thread::sleep_for(seconds / kills * std::uniform_real_distribution<>()(random));
      const auto first = static_cast<int>(random() % static_cast<unsigned>(participants));
      const std::set<int> victims = {first, (first + i % 2) % participants}; // every other time two
      for (const int victim : victims) kill(victim);
      for (const int victim : victims) launch(victim);
    }
  }
  std::map<int, std::unique_ptr<Child>> processes_;
};

TEST_F(Storm, EveryMessageIsAccountedFor) {
  ovk_local_set_trace_sink(onTrace, nullptr);
  for (int round = 0; round < rounds && !HasFailure(); ++round) {
    new (&ledger) Ledger();
    for (int participant = 0; participant < participants; ++participant) launch(participant);
    ledger.phase = writingAtRandom;
    const auto end = Clock::now() + seconds;
    killAtRandomTimes();
    std::this_thread::sleep_until(end);
    ledger.phase = writingToEach; // also those who were killed must be reached again
    const auto latest = Clock::now() + std::chrono::seconds(20);
    while (!haveAllArrived() && Clock::now() < latest) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    for (const auto& process : processes_) EXPECT_EQ(0, process.second->finish());
    EXPECT_TRUE(haveAllArrived());
    EXPECT_EQ(0U, ledger.lost);
    EXPECT_EQ(0U, ledger.disordered);
    EXPECT_EQ(0U, ledger.altered);
    EXPECT_EQ(0U, ledger.wronglyRefused);
    EXPECT_EQ(0, files());
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
