// The simulated device without a bus: what it grants, what it refuses and with which words, and its faults.

#include "simulator/device.h"

#include <gtest/gtest.h>

#include "simulator/answer_queue.h"

namespace tool {
namespace {

using Words = std::vector<uint16_t>;

/// Registers 100 to 103 (writable), 104 and 105 (read-only), 2000 to 3999 (writable).
DeviceDescription description() {
  DeviceDescription about;
  about.registers = {{104, {5, 6}, false}, {100, {1, 2, 3, 4}, true}, {2000, Words(2000), true}};
  return about;
}

/// The words that come of it, or the refusal.
std::string outcome(const std::function<Words()>& act) {
  try {
    std::string text;
    for (const uint16_t word : act()) text += (text.empty() ? "" : " ") + std::to_string(word);
    return text;
  } catch (const Refusal& refusal) {
    return refusal.what();
  }
}

TEST(Device, ReadsAcrossBlocksAndNoFurther) {
  const Device device(description());
  const std::pair<Area, const char*> rows[] = {{{102, 4}, "3 4 5 6"},
                                               {{101, -1}, "2 3 4"}, // to the end of the block
                                               {{9999, 0}, ""},
                                               {{104, 3}, "register 106 does not exist"},
                                               {{-5, 1}, "register -5 does not exist"},
                                               {{2000, 1025}, "cannot read 1025 registers at once"},
                                               {{100, -2}, "cannot read -2 registers at once"}};
  for (const auto& [area, result] : rows) EXPECT_EQ(outcome([&, at = area] { return device.read(at); }), result);
  EXPECT_EQ(device.read({2000, -1}).size(), 1024U) << "to the end of what fits";
}

TEST(Device, WritesAllOrNothing) {
  Device device(description());
  const auto write = [&] { return device.write({{100, {9}}, {103, {9, 9}}}), Words(); };
  EXPECT_EQ(outcome(write), "register 104 is read-only");
  device.write({{102, {30, 40}}, {2000, {7}}});
  EXPECT_EQ(device.read({100, 6}), (Words{1, 2, 30, 40, 5, 6})) << "nothing of what was refused";
  EXPECT_EQ(device.read({2000, 1}), (Words{7}));
}

TEST(AnswerQueue, GivesAnswersInTheOrderOfTheirTimes) {
  using std::chrono::microseconds;
  const AnswerQueue::Clock::time_point start{};
  AnswerQueue queue;
  std::string given;
  EXPECT_EQ(queue.timeToNext(start), -1);
  queue.add(start + microseconds(2500), [&] { given += 'c'; });
  queue.add(start + microseconds(1500), [&] { given += 'a'; });
  queue.add(start + microseconds(1500), [&] { queue.add(start, [&] { given += 'b'; }); }); // adds another that is due
  queue.release(start + microseconds(1499));
  EXPECT_EQ(given, "");
  EXPECT_EQ(queue.timeToNext(start + microseconds(1)), 2) << "rounded up";
  queue.release(start + microseconds(1500));
  EXPECT_EQ(given, "ab");
  EXPECT_EQ(queue.timeToNext(start + microseconds(9999)), 0);
  EXPECT_EQ(queue.size(), 1U);
}

} // namespace
} // namespace tool
