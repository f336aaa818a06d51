// Identifiers, and the exported functions that exchange no messages: start, registration, work, stop, topology.

#include <cstdio>
#include <random>
#include <set>

#include "core/catalogue.h"
#include "core/identifiers.h"
#include "support/messages.h"

using namespace messages;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Core : public Test {
protected:
  static unsigned enrol(int service, void* function) {
    return ovk_RegisterForService(static_cast<ovk_Service_t>(service), function, nullptr, nullptr, nullptr);
  }
};

int ignore(void* /*data*/, unsigned /*length*/) { return 0; }
void* const ignoring = reinterpret_cast<void*>(ignore);

// The short cut for usual identifiers must never decide otherwise than the pattern.
TEST_F(Core, FusionIdentifiersAgreeWithTheScanPattern) {
  std::mt19937 random(17); // NOLINT(cert-msc51-cpp): the same texts each time
  const std::string letters = "VR0123456789_ABFabfx+- g";
  for (int i = 0; i < 20000; ++i) {
    std::string fid = own;
    for (std::size_t changes = random() % 4; changes > 0; --changes) {
      fid[random() % fid.size()] = letters[random() % letters.size()];
    }
    int a = -1;
    int b = -1;
    unsigned long long c = 0;
    const bool scans = std::sscanf(fid.c_str(), "VR%3d_%5d_%012llX", &a, &b, &c) == 3; // NOLINT(cert-err34-c)
    ASSERT_EQ(isValidFusionIdentifier(fid.c_str()), scans) << fid;
  }
}

TEST_F(Core, StatusesInWords) {
  const std::string unknown = ovk_StatusText(1);
  std::set<std::string> texts = {unknown};
  for (const unsigned status : {0U, 2U, 4U, 6U, 7U, 8U})
    EXPECT_TRUE(texts.insert(ovk_StatusText(status)).second) << status;
  for (const unsigned status : {3U, 5U, 9U, ~0U}) EXPECT_EQ(ovk_StatusText(status), unknown) << status;
}

unsigned topology1(const char* /*a*/, const char* /*b*/, const char* /*c*/, unsigned /*d*/, char* /*e*/) { return 0; }

TEST_F(Core, InitStartsThePlatformOrOnlyTakesTheFlag) {
  for (const bool bus : {true, false}) {
    fake::reset();
    ovk::enableBus(!bus);
    EXPECT_EQ(ovk_Init(bus, nullptr, nullptr, nullptr, nullptr), 2U);
    EXPECT_EQ(ovk::isBusEnabled(), bus);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_TRUE(traced(2, "Invalid fusion identifier: (null)"));
    platform().trace.clear();
    EXPECT_EQ(ovk_Init(bus, own, topology1, nullptr, nullptr), 0U);
    EXPECT_THAT(platform().calls, ElementsAre(joined("init(", own, ", 1, 0, 0)"), "createQMXBSharedMemory()"));
    EXPECT_EQ(platform().lines(own), "6 ovk_Init: ovk_QMXBusInit(MSG)\n6 ovk_Init: Initialising Controller Fid: MSG\n");
  }
}

TEST_F(Core, RegistrationRefusals) {
  for (const int service : {8, -1}) {
    EXPECT_EQ(enrol(service, ignoring), 2U);
    EXPECT_EQ(getServiceMsgType(static_cast<ovk_Service_t>(service)), -1);
    EXPECT_EQ(getTransferChannelReadIdx(static_cast<ovk_Service_t>(service)), -1);
    EXPECT_EQ(getTransferChannelWriteIdx(static_cast<ovk_Service_t>(service)), -1);
  }
  for (const int service : {-1, 3}) EXPECT_EQ(enrol(service, nullptr), 6U);
  EXPECT_EQ(platform().errors(), "Invalid service requested: 8\nInvalid service requested: -1\n"
                                 "Callback function p_ServiceCallback required for service -1\n"
                                 "Callback function p_ServiceCallback required for service 3\n");
  for (const auto& entry : OrvaneServices) EXPECT_EQ(entry.p_ServiceCallback, nullptr);
  OrvaneServices.resize(2); // the table is the application's too
  EXPECT_EQ(enrol(2, ignoring), 2U);
}

TEST_F(Core, ASecondRegistrationReplacesTheFirst) {
  const char* const texts[] = {"one", "two"};
  int context = 0;
  EXPECT_EQ(ovk_RegisterForService(ovk_Service_TagReadServer, this, this, texts[0], texts[1]), 0U);
  EXPECT_EQ(ovk_RegisterForService(ovk_Service_TagReadServer, ignoring, &context, texts[1], texts[0]), 0U);
  const OrvaneServiceRegistration_t& entry = OrvaneServices[3];
  EXPECT_EQ(entry.service, 3);
  EXPECT_TRUE(entry.p_ServiceCallback == ignoring && entry.p_UserContext == &context);
  EXPECT_TRUE(entry.p_UserString1 == texts[1] && entry.p_UserString2 == texts[0]);
  // Without the bus no channel is opened and nothing is said.
  EXPECT_EQ(entry.TransferChannelReadIdx + entry.TransferChannelWriteIdx, 0);
  EXPECT_THAT(platform().calls, IsEmpty());
  EXPECT_THAT(platform().trace, IsEmpty());
}

TEST_F(Core, RegistrationOpensBothChannels) {
  for (int service = 0; service < 8; ++service) {
    fake::reset();
    ovk::enableBus(true);
    const int read = service % 2 == 0 ? 1 : 2; // shared by all clients, by all servers
    const int written = service % 2 == 0 ? 0 : 3;
    platform().createResults = {{read, 5}, {written, 6}};
    EXPECT_EQ(enrol(service, ignoring), 0U);
    EXPECT_THAT(platform().calls, ElementsAre(joined("createTransferChannel(", read, ", 2)"),
                                              joined("createTransferChannel(", written, ", 1)")));
    const auto& entry = OrvaneServices[static_cast<std::size_t>(service)];
    EXPECT_TRUE(entry.TransferChannelReadIdx == read && entry.TransferChannelWriteIdx == written) << service;
  }
  EXPECT_EQ(platform().lines(""),
            "6 ovk_RegisterForService: Successfully created transfer channel for service 7 (ret_create_tc_rd=5, "
            "ret_create_tc_wr=6 ...\n6 ovk_RegisterForService: service 7, TransferChannelReadIdx 2, "
            "TransferChannelWriteIdx 3 )\n6 ovk_RegisterForService: Successfully registered service 7\n");
}

TEST_F(Core, RegistrationStaysWhenAChannelFails) {
  for (const auto& [read, written] : {std::pair(-3, 0), std::pair(0, -3), std::pair(-3, -2)}) {
    fake::reset();
    ovk::enableBus(true);
    platform().createResults = {{2, read}, {3, written}};
    EXPECT_EQ(enrol(5, ignoring), 8U);
    EXPECT_EQ(platform().calls.size(), 2U);
    EXPECT_EQ(platform().errors(), joined("Failed to create transfer channel for service 5 (ret_create_tc_rd=", read,
                                          ", ret_create_tc_wr=", written, ")\n"));
    EXPECT_EQ(OrvaneServices[5].p_ServiceCallback, ignoring);
  }
}

TEST_F(Core, RegistrationIsTakenBackWithoutMemory) {
  ovk::enableBus(true);
  for (void* const before : {static_cast<void*>(nullptr), static_cast<void*>(this)}) {
    for (const int channel : {0, 1}) {
      OrvaneServices[2].p_ServiceCallback = before;
      platform().createResults = {{channel, fake::noMemory}};
      EXPECT_THROW(enrol(2, ignoring), std::bad_alloc);
      EXPECT_EQ(OrvaneServices[2].p_ServiceCallback, before);
      EXPECT_EQ(OrvaneServices[2].TransferChannelReadIdx, 0);
    }
  }
  platform().createResults.clear();
  EXPECT_EQ(enrol(2, ignoring), 0U);
}

// A channel that is opened may lead into the application, which may change the table or replace it.
TEST_F(Core, RegistrationOutlivesAReplacedTable) {
  ovk::enableBus(true);
  platform().onCreate = [] { OrvaneServices.assign(8, {}); };
  EXPECT_EQ(enrol(5, ignoring), 0U);
  EXPECT_THAT(platform().calls, ElementsAre("createTransferChannel(2, 2)", "createTransferChannel(3, 1)"));

  platform().onCreate = [] { OrvaneServices[5].p_ServiceCallback = ignoring; };
  platform().createResults = {{3, fake::noMemory}};
  EXPECT_THROW(enrol(5, this), std::bad_alloc);
  EXPECT_EQ(OrvaneServices[5].p_ServiceCallback, ignoring) << "what the application has entered";
}

TEST_F(Core, WorkReadsOnlyWithTheBusAndShutdownClosesAllChannels) {
  platform().inbound[1] = {"{}"};
  ovk_DoWork(topology1, nullptr, nullptr);
  EXPECT_THAT(platform().calls, ElementsAre("TopologyDoWork(1, 0, 0)"));
  EXPECT_EQ(platform().offered, 0U);
  ovk::enableBus(true);
  platform().calls.clear();
  EXPECT_EQ(ovk_QMXBusShutdown(), 0);
  ovk_DoWork(nullptr, nullptr, nullptr);
  EXPECT_TRUE(platform().inbound[1].empty());
  EXPECT_THAT(platform().calls,
              ElementsAre("destroyTransferChannel(0)", "destroyTransferChannel(1)", "destroyTransferChannel(2)",
                          "destroyTransferChannel(3)", "TopologyDoWork(0, 0, 0)"));
}

TEST_F(Core, TopologyListsAreReplacedOrLeftAlone) {
  for (const int kind : {1, 2, 3})
    platform().parents.push_back({"1", "2", "4", "3", kind, "5", {{"a", "b", "c", "d"}}});
  for (const bool areStatic : {false, true}) {
    std::vector<ovk_topology_controller_t> list(5);
    const auto get = [&] {
      return areStatic ? ovk_topology_cfg_get_static_device_list(list, "sel") : ovk_topology_get_list(list);
    };
    platform().topologyAnswers = true;
    EXPECT_TRUE(get());
    std::string all;
    for (const auto& c : list) {
      all += joined(c.kind, c.attr1, c.attr2, c.attr3, c.attr4, c.attr5);
      for (const auto& s : c.sensors) all += s.attr1 + s.attr2 + s.attr3 + s.attr4;
    }
    EXPECT_EQ(all, "112345abcd212345abcd012345abcd");
    platform().topologyAnswers = false;
    EXPECT_FALSE(get());
    EXPECT_EQ(list.size(), 3U);
  }
  EXPECT_THAT(platform().calls, ElementsAre("get_static_members(sel)", "get_static_members(sel)"));
}

TEST_F(Core, TopologyAnswersAreTheServices) {
  std::string controller;
  unsigned delivered = 0, received = 0;
  platform().topologyResult = -7;
  for (const bool known : {true, false}) {
    platform().knowsParents = known;
    EXPECT_EQ(ovk_topology_get_controller_fusionId_for_sensor("s", controller), known ? 1 : 0);
    EXPECT_EQ(controller, fake::parentOf("s"));
  }
  EXPECT_EQ(ovk_topology_is_orvane_device("x"), -7);
  EXPECT_EQ(ovk_topology_cfg_set_static_device("a", "b", "c"), -7);
  EXPECT_EQ(ovk_topology_cfg_set_static_device("a", "b"), -7);
  EXPECT_EQ(ovk_topology_cfg_delete_static_device("a", "b"), -7);
  ovk_topology_get_qmxb_statistic(&delivered, &received);
  EXPECT_TRUE(delivered == 11 && received == 22);
  EXPECT_THAT(platform().calls,
              ElementsAre("get_parent_fid(s)", "get_parent_fid(s)", "is_orvane_member(x)", "set_static_member(a, b, c)",
                          "set_static_member(a, b)", "delete_static_member(a, b)"));
}

} // namespace
