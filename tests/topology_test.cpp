// The exported view of the topology service.

#include <gmock/gmock.h>

#include <functional>

#include "ovk/ovk.h"
#include "support/messages.h"

using testing::ElementsAre;

namespace {

class TopologyAccess : public messages::Test {};

TEST_F(TopologyAccess, ListsAreReplacedOrLeftAlone) {
  const auto getList = [](auto& list) { return ovk_topology_get_list(list); };
  const auto getStatic = [](auto& list) { return ovk_topology_cfg_get_static_device_list(list, "sel"); };
  const std::function<bool(std::vector<ovk_topology_controller_t>&)> functions[] = {getList, getStatic};
  for (const auto& get : functions) {
    fake::reset();
    for (const int kind : {1, 2, 3}) {
      orvane_parent parent;
      parent.attr1 = "1";
      parent.attr2 = "2";
      parent.attr3 = "3";
      parent.attr4 = "4";
      parent.attr5 = "5";
      parent.kind = kind;
      parent.members = {{"a", "b", "c", "d"}, {"e", "f", "g", "h"}};
      platform().parents.push_back(parent);
    }
    std::vector<ovk_topology_controller_t> list(5);
    ASSERT_TRUE(get(list));
    ASSERT_EQ(list.size(), 3U);
    EXPECT_THAT((std::vector<int>{list[0].kind, list[1].kind, list[2].kind}), ElementsAre(1, 2, 0));
    const ovk_topology_controller_t& c = list[1];
    EXPECT_EQ(c.attr1 + c.attr2 + c.attr3 + c.attr4 + c.attr5, "12345");
    ASSERT_EQ(c.sensors.size(), 2U);
    EXPECT_EQ(c.sensors[1].attr1 + c.sensors[1].attr2 + c.sensors[1].attr3 + c.sensors[1].attr4, "efgh");
    platform().topologyAnswers = false;
    EXPECT_FALSE(get(list));
    EXPECT_EQ(list.size(), 3U);
    platform().topologyAnswers = true;
    platform().parents.clear();
    EXPECT_TRUE(get(list));
    EXPECT_TRUE(list.empty());
  }
  EXPECT_EQ(platform().calls.front(), "get_static_members(sel)");
}

TEST_F(TopologyAccess, AnswersAreTheServices) {
  std::string controller;
  unsigned delivered = 0;
  unsigned received = 0;
  platform().topologyResult = -7;
  EXPECT_EQ(ovk_topology_get_controller_fusionId_for_sensor("s", controller), 1);
  EXPECT_EQ(controller, platform().parentFid);
  EXPECT_EQ(ovk_topology_is_orvane_device("x"), -7);
  EXPECT_EQ(ovk_topology_cfg_set_static_device("a", "b", "c"), -7);
  EXPECT_EQ(ovk_topology_cfg_set_static_device("a", "b"), -7);
  EXPECT_EQ(ovk_topology_cfg_delete_static_device("a", "b"), -7);
  ovk_topology_get_qmxb_statistic(&delivered, &received);
  EXPECT_TRUE(delivered == 11 && received == 22);
  EXPECT_THAT(platform().calls, ElementsAre("get_parent_fid(s)", "is_orvane_member(x)", "set_static_member(a, b, c)",
                                            "set_static_member(a, b)", "delete_static_member(a, b)"));
}

} // namespace
