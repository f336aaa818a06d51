// Identifiers, the catalogue of services, start, registration, periodic work and stop.

#include <gmock/gmock.h>

#include <cstdio>
#include <random>

#include "core/catalogue.h"
#include "core/identifiers.h"
#include "core/registry.h"
#include "ovk/ovk.h"
#include "support/messages.h"

using messages::own;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Core : public messages::Test {};

int ignore(void* /*data*/, unsigned /*length*/) { return 0; }
void* const callback = reinterpret_cast<void*>(ignore);

TEST_F(Core, FusionIdentifiers) {
  const struct {
    const char* fid;
    const char* refusal; // null: valid
  } rows[] = {
      {"VR017_00042_00A0B1C2D3E4", nullptr},
      {"VR017_00042_00a0b1c2d3e4", nullptr},
      {"VR1_2_3xxxxxxxxxxxxxxxxx", nullptr},
      {"VR -1_   -2_-0x5........", nullptr},
      {"VR017_00042_00A0B1C2D3E", "FusionIdentifier string VR017_00042_00A0B1C2D3E is 23 characters long"},
      {"VR017_00042_00A0B1C2D3E4F", "FusionIdentifier string VR017_00042_00A0B1C2D3E4F is 25 characters long"},
      {"", "FusionIdentifier string  is 0 characters long"},
      {nullptr, "FusionIdentifier string (null) is 0 characters long"},
      {"vr017_00042_00A0B1C2D3E4", "Invalid Identifier vr017_00042_00A0B1C2D3E4"},
      {"VR0171_0042_00A0B1C2D3E4", "Invalid Identifier VR0171_0042_00A0B1C2D3E4"},
      {"VR017_00042_ZZA0B1C2D3E4", "Invalid Identifier VR017_00042_ZZA0B1C2D3E4"},
      {"VR017-00042-00A0B1C2D3E4", "Invalid Identifier VR017-00042-00A0B1C2D3E4"},
  };
  for (const auto& row : rows) {
    fake::reset();
    SCOPED_TRACE(row.fid == nullptr ? "(null)" : row.fid);
    EXPECT_EQ(isValidFusionIdentifier(row.fid), row.refusal == nullptr);
    if (row.refusal == nullptr) {
      EXPECT_THAT(platform().trace, IsEmpty());
    } else {
      EXPECT_TRUE(traced(2, row.refusal)) << platform().errors();
    }
  }
}

// The short cut for usual identifiers must never decide otherwise than the pattern.
TEST_F(Core, FusionIdentifiersAgreeWithTheScanPattern) {
  std::mt19937 random(17); // NOLINT(cert-msc51-cpp): the same texts each time
  const std::string letters = "VR0123456789_ABFabfx+- g";
  for (int i = 0; i < 20000; ++i) {
    std::string fid = own;
    for (int changes = static_cast<int>(random() % 4); changes > 0; --changes) {
      fid[random() % fid.size()] = letters[random() % letters.size()];
    }
    int a = -1;
    int b = -1;
    unsigned long long c = 0;
    ASSERT_EQ(isValidFusionIdentifier(fid.c_str()), std::sscanf(fid.c_str(), "VR%3d_%5d_%012llX", &a, &b, &c) == 3)
        << fid;
  }
}

TEST_F(Core, ReferenceIdentifiers) {
  EXPECT_TRUE(isValidReferenceIdentifier(""));
  EXPECT_TRUE(isValidReferenceIdentifier(std::string(40, 'r').c_str()));
  EXPECT_FALSE(isValidReferenceIdentifier(std::string(41, 'r').c_str()));
  EXPECT_TRUE(traced(2, "ReferenceIdentifier string is too long, max. length is 40 characters"));
  EXPECT_FALSE(isValidReferenceIdentifier(nullptr));
}

TEST_F(Core, CatalogueOfServices) {
  const struct {
    int service, sent, handled, readChannel, writeChannel;
  } rows[] = {{0, 204, 205, 1, 0},  {1, 205, 204, 2, 3},  {2, 206, 207, 1, 0}, {3, 207, 206, 2, 3},
              {4, 200, 201, 1, 0},  {5, 201, 200, 2, 3},  {6, 202, 203, 1, 0}, {7, 203, 202, 2, 3},
              {8, -1, 199, -1, -1}, {-1, -1, 208, -1, -1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.service);
    const auto service = static_cast<ovk_Service_t>(row.service);
    EXPECT_EQ(getServiceMsgType(service), row.sent);
    EXPECT_EQ(getTransferChannelReadIdx(service), row.readChannel);
    EXPECT_EQ(getTransferChannelWriteIdx(service), row.writeChannel);
    ovk_Service_t handler = ovk_Service_TagReadClient;
    const bool handled = row.sent >= 0;
    EXPECT_EQ(getService(row.handled, &handler), handled ? 0 : -1);
    EXPECT_EQ(handler, handled ? service : ovk_Service_TagReadClient);
    if (!handled) {
      EXPECT_TRUE(traced(2, "invalid/unhandled message type " + std::to_string(row.handled)));
      EXPECT_TRUE(traced(2, "no valid service found for MsgType " + std::to_string(row.handled)));
    }
  }
}

unsigned topology1(const char* /*a*/, const char* /*b*/, const char* /*c*/, unsigned /*d*/, char* /*e*/) { return 0; }

TEST_F(Core, InitStartsThePlatform) {
  EXPECT_EQ(ovk_Init(true, own.c_str(), topology1, nullptr, nullptr), ovk_Status_Done);
  EXPECT_THAT(platform().calls, ElementsAre("init(" + own + ", 1, 0, 0)", "createQMXBSharedMemory()"));
  EXPECT_TRUE(traced(6, "ovk_QMXBusInit(" + own + ")"));
  EXPECT_EQ(platform().trace.front().function, "QMXBusAPI/ovk_Init");
  EXPECT_TRUE(traced(6, "Initialising Controller Fid: " + own));
}

TEST_F(Core, InitRefusesAnInvalidIdentifierButTakesTheFlag) {
  for (const char* fid : {static_cast<const char*>(nullptr), "VR001_00001_0000000000A"}) {
    fake::reset();
    EXPECT_EQ(ovk_Init(true, fid, nullptr, nullptr, nullptr), ovk_Status_Invalid);
    EXPECT_TRUE(traced(2, std::string("Invalid fusion identifier: ") + (fid == nullptr ? "(null)" : fid)));
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_TRUE(ovk::isBusEnabled());
  }
}

TEST_F(Core, RegistrationRefusals) {
  const struct {
    int service;
    void* function;
    unsigned status;
    const char* refusal;
  } rows[] = {
      {8, callback, ovk_Status_Invalid, "Invalid service requested: 8"},
      {-1, callback, ovk_Status_Invalid, "Invalid service requested: -1"},
      {-1, nullptr, ovk_Status_NoCallback, "Callback function p_ServiceCallback required for service -1"},
      {3, nullptr, ovk_Status_NoCallback, "Callback function p_ServiceCallback required for service 3"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(ovk_RegisterForService(static_cast<ovk_Service_t>(row.service), row.function, nullptr, nullptr, nullptr),
              row.status);
    EXPECT_TRUE(traced(2, row.refusal));
  }
  for (const auto& entry : OrvaneServices) EXPECT_EQ(entry.p_ServiceCallback, nullptr);
  OrvaneServices.resize(2); // the table is the application's too
  EXPECT_EQ(ovk_RegisterForService(ovk_Service_TagReadClient, callback, nullptr, nullptr, nullptr), ovk_Status_Invalid);
}

TEST_F(Core, RegistrationWithoutBusOpensNothing) {
  int context = 0;
  EXPECT_EQ(ovk_RegisterForService(ovk_Service_TagReadServer, callback, &context, "one", "two"), ovk_Status_Done);
  const OrvaneServiceRegistration_t& entry = OrvaneServices[3];
  EXPECT_EQ(entry.service, 3);
  EXPECT_EQ(entry.p_ServiceCallback, callback);
  EXPECT_EQ(entry.p_UserContext, &context);
  EXPECT_STREQ(entry.p_UserString1, "one");
  EXPECT_STREQ(entry.p_UserString2, "two");
  EXPECT_EQ(entry.TransferChannelReadIdx + entry.TransferChannelWriteIdx, 0);
  EXPECT_THAT(platform().calls, IsEmpty());
  EXPECT_THAT(platform().trace, IsEmpty());
}

TEST_F(Core, RegistrationOpensBothChannels) {
  ovk::enableBus(true);
  platform().createResults = {{2, 5}, {3, 6}};
  EXPECT_EQ(ovk_RegisterForService(ovk_Service_RegisterReadServer, callback, nullptr, nullptr, nullptr),
            ovk_Status_Done);
  EXPECT_THAT(platform().calls, ElementsAre("createTransferChannel(2, 2)", "createTransferChannel(3, 1)"));
  EXPECT_EQ(OrvaneServices[5].TransferChannelReadIdx, 2);
  EXPECT_EQ(OrvaneServices[5].TransferChannelWriteIdx, 3);
  ASSERT_EQ(platform().trace.size(), 3U);
  EXPECT_EQ(platform().trace[0].text,
            "Successfully created transfer channel for service 5 (ret_create_tc_rd=5, ret_create_tc_wr=6 ...\n");
  EXPECT_EQ(platform().trace[1].text, "service 5, TransferChannelReadIdx 2, TransferChannelWriteIdx 3 )\n");
  EXPECT_EQ(platform().trace[2].text, "Successfully registered service 5\n");
}

TEST_F(Core, RegistrationStaysWhenAChannelFails) {
  for (const int failing : {0, 1}) {
    fake::reset();
    ovk::enableBus(true);
    platform().createResults[failing] = -3;
    EXPECT_EQ(ovk_RegisterForService(ovk_Service_TagReadClient, callback, nullptr, nullptr, nullptr),
              ovk_Status_NoTransferChannel);
    EXPECT_THAT(platform().calls, ElementsAre("createTransferChannel(1, 2)", "createTransferChannel(0, 1)"));
    EXPECT_TRUE(traced(2, failing == 1 ? "Failed to create transfer channel for service 2 (ret_create_tc_rd=-3, "
                                         "ret_create_tc_wr=0)"
                                       : "Failed to create transfer channel for service 2 (ret_create_tc_rd=0, "
                                         "ret_create_tc_wr=-3)"));
    EXPECT_EQ(OrvaneServices[2].p_ServiceCallback, callback);
    EXPECT_EQ(OrvaneServices[2].TransferChannelReadIdx, 1);
  }
}

TEST_F(Core, WorkReadsOnlyWithTheBusAndShutdownClosesAllChannels) {
  platform().inbound[1] = {"{}"};
  ovk_DoWork(topology1, nullptr, nullptr);
  EXPECT_THAT(platform().calls, ElementsAre("TopologyDoWork(1, 0, 0)"));
  EXPECT_EQ(platform().inbound[1].size(), 1U);
  ovk::enableBus(true);
  platform().calls.clear();
  EXPECT_EQ(ovk_QMXBusShutdown(), 0);
  ovk_DoWork(nullptr, nullptr, nullptr);
  EXPECT_TRUE(platform().inbound[1].empty());
  EXPECT_THAT(platform().calls,
              ElementsAre("destroyTransferChannel(0)", "destroyTransferChannel(1)", "destroyTransferChannel(2)",
                          "destroyTransferChannel(3)", "TopologyDoWork(0, 0, 0)"));
}

} // namespace
