// The simulated device without a bus: what it grants, what it refuses and with which words, and its faults.

#include "device.h"

#include <gtest/gtest.h>

#include "answer_queue.h"

namespace tool {
namespace {

using Words = std::vector<uint16_t>;

SimulatedTag tagOf(int type, uint16_t number, uint8_t idd, double step) {
  SimulatedTag tag;
  tag.item.tag_type = type;
  tag.item.tag = number;
  tag.item.idd = idd;
  tag.step = step;
  return tag;
}

/// Registers 100 to 103 (writable), 104 and 105 (read-only), 2000 to 3999 (writable).
DeviceDescription description() {
  DeviceDescription about;
  about.registers = {{104, {5, 6}, false}, {100, {1, 2, 3, 4}, true}, {2000, Words(2000), true}};
  return about;
}

std::string refusalOf(const std::function<void()>& act) {
  try {
    act();
    return "granted";
  } catch (const Refusal& refusal) {
    EXPECT_LE(std::string(refusal.what()).size(), size_t{ovk_ErrReasonLength});
    return refusal.what();
  }
}

TEST(Device, ReadsAcrossBlocksAndNoFurther) {
  const Device device(description());
  EXPECT_EQ(device.read({102, 4}), (Words{3, 4, 5, 6}));
  EXPECT_EQ(device.read({105, 1}), (Words{6}));
  EXPECT_EQ(device.read({101, -1}), (Words{2, 3, 4})) << "to the end of the block";
  EXPECT_EQ(device.read({2000, -1}).size(), 1024U) << "to the end of what fits";
  EXPECT_TRUE(device.read({9999, 0}).empty());
  const struct {
    Area area;
    const char* reason;
  } rows[] = {{{99, 2}, "register 99 does not exist"},
              {{104, 3}, "register 106 does not exist"},
              {{4000, 1}, "register 4000 does not exist"},
              {{-5, 1}, "register -5 does not exist"},
              {{2000, 1025}, "cannot read 1025 registers at once"},
              {{100, -2}, "cannot read -2 registers at once"},
              {{5000, -1}, "register 5000 does not exist"}};
  for (const auto& row : rows) EXPECT_EQ(refusalOf([&] { device.read(row.area); }), row.reason);
}

TEST(Device, WritesAllOrNothing) {
  Device device(description());
  device.write({{102, {30, 40}}, {2000, {7}}});
  const struct {
    std::vector<Assignment> assignments;
    const char* reason;
  } rows[] = {{{{103, {9, 9}}}, "register 104 is read-only"},
              {{{100, {9}}, {105, {9}}}, "register 105 is read-only"},
              {{{100, {9}}, {98, {9}}}, "register 98 does not exist"}};
  for (const auto& row : rows) EXPECT_EQ(refusalOf([&] { device.write(row.assignments); }), row.reason);
  EXPECT_EQ(device.read({100, 6}), (Words{1, 2, 30, 40, 5, 6})) << "a refused write left traces";
  EXPECT_EQ(device.read({2000, 1}), (Words{7}));
}

TEST(Device, TagsMoveByTheirStepWhenRead) {
  DeviceDescription about = description();
  about.tags = {tagOf(DevTag, 1, 0, 0.5), tagOf(DevTag, 2, 1, 2), tagOf(DevInfoTag, 1, 2, -3)};
  about.tags[1].item.data.ui = 4294967295;
  Device device(about);
  EXPECT_EQ(refusalOf([&] { device.readTags({{DevTag, 1}, {DevTag, 9}}); }), "tag port:9 does not exist");
  EXPECT_EQ(refusalOf([&] { device.readTags({{DevInfoTag, 2}}); }), "tag info:2 does not exist");
  const std::vector<Tag_t> selectors = {{DevInfoTag, 1}, {DevTag, 1}, {DevTag, 2}};
  EXPECT_EQ(device.readTags(selectors)[1].data.f, 0.0F) << "a refused reading moved a tag";
  const std::vector<TagItem_t> items = device.readTags(selectors);
  EXPECT_EQ(std::tuple(items[0].data.i, items[1].data.f, items[2].data.ui), std::tuple(-3, 0.5F, 1U)) << "or no wrap";
}

TEST(Device, FaultsStrikeEachNthRequest) {
  DeviceDescription about = description();
  about.faults.dropEvery = 3;
  about.faults.failEvery = 2;
  Device device(about);
  std::string fates;
  for (int i = 0; i < 6; ++i) fates += "SDF"[static_cast<int>(device.nextFate())];
  EXPECT_EQ(fates, "SFDFSD");
}

TEST(AnswerQueue, GivesAnswersInTheOrderOfTheirTimes) {
  using std::chrono::microseconds;
  const AnswerQueue::Clock::time_point start{};
  AnswerQueue queue;
  std::string given;
  EXPECT_EQ(queue.timeToNext(start), -1);
  const auto add = [&](int due, char name) { queue.add(start + microseconds(due), [&given, name] { given += name; }); };
  add(2500, 'c');
  add(1500, 'a');
  queue.add(start + microseconds(1500), [&] { add(0, 'b'); }); // adds another that is due
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
