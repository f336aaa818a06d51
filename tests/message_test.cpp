// Building, sending and reading the envelope.

#include <gmock/gmock.h>

#include "message/envelope.h"
#include "message/parse.h"
#include "ovk/ovk.h"
#include "support/messages.h"

using messages::own;
using messages::peer;

namespace {

class Envelope : public messages::Test {
protected:
  unsigned send(ovk_Service_t service, const char* dst, const char* src, const char* refId, bool withSuccess = false,
                bool success = false, const char* reason = nullptr) {
    Json data;
    data.add("k", "1");
    return ovk_build_and_transfer_message(service, dst, src, refId, withSuccess, success, reason, data);
  }
};

TEST_F(Envelope, RequestsCarryTheDestinationsParentAnswersTheSources) {
  EXPECT_EQ(send(ovk_Service_TagReadClient, peer.c_str(), "here", "r\"1"), ovk_Status_Done);
  EXPECT_EQ(onlyWritten().text,
            R"({"msg_type":206,"ver":"1.0","ref_id":"r"1","src":{"fid":"VR001_00001_0000000000A1"},)"
            R"("dst":{"fid":"VR002_00002_0000000000B2","at":"VR002_00000_0000000000B0"},"data":{"k":1}})");
  EXPECT_TRUE(traced(7, "ovk_build_and_transfer_message( service=2, fusionIdDst=" + peer + ", ref_id=r\"1 )"));
  EXPECT_TRUE(traced(6, "ovk_build_common_message( dest_fid=" + peer + " src_fid=here ref_id=r\"1 )"));
  EXPECT_TRUE(traced(7, "\n========================= outgoing message:\n" + onlyWritten().text +
                            "\n========================="));
  platform().written.clear();
  EXPECT_EQ(send(ovk_Service_TagReadServer, peer.c_str(), own.c_str(), "", true, true), ovk_Status_Done);
  EXPECT_EQ(onlyWritten().text, R"({"msg_type":207,"ver":"1.0","ref_id":"",)"
                                R"("src":{"fid":"VR001_00001_0000000000A1","at":"VR002_00000_0000000000B0"},)"
                                R"("dst":{"fid":"VR002_00002_0000000000B2"},"success":true,"data":{"k":1}})");
}

TEST_F(Envelope, FailuresCarryTheirReason) {
  EXPECT_EQ(send(ovk_Service_TagReadServer, peer.c_str(), own.c_str(), "r", true, false, "no such tag"),
            ovk_Status_Done);
  EXPECT_THAT(onlyWritten().text, testing::HasSubstr(R"("success":false,"err_reason":"no such tag","data":{"k":1}})"));
  platform().written.clear();
  EXPECT_EQ(send(ovk_Service_TagReadServer, peer.c_str(), own.c_str(), "r", true, false), ovk_Status_Done);
  EXPECT_THAT(onlyWritten().text, testing::HasSubstr(R"("success":false,"data":{"k":1}})"));
  EXPECT_TRUE(traced(2, "err_reason should be passed when success = false"));
}

TEST_F(Envelope, WritesToTheChannelOfTheRegistration) {
  send(ovk_Service_TagReadServer, peer.c_str(), own.c_str(), "r");
  EXPECT_EQ(onlyWritten().channel, 0); // never registered
  EXPECT_TRUE(traced(6, "Service 3 gives TC_WriteIdx 0"));
  platform().written.clear();
  OrvaneServices[3].TransferChannelWriteIdx = 3;
  send(ovk_Service_TagReadServer, peer.c_str(), own.c_str(), "r");
  EXPECT_EQ(onlyWritten().channel, 3);
  platform().written.clear();
  OrvaneServices.clear();
  send(ovk_Service_TagReadServer, peer.c_str(), own.c_str(), "r");
  EXPECT_EQ(onlyWritten().channel, 0);
}

TEST_F(Envelope, Refusals) {
  const struct {
    const char* what;
    const char* dst;
    const char* src;
    const char* refId;
    bool knowsMe, knowsParent;
    int writeResult;
    unsigned status;
    const char* refusal;
  } rows[] = {
      {"empty destination", "", "here", "r", true, true, 0, 2, "Empty destination fid"},
      {"own fid unknown", "d", "here", "r", false, true, 0, 2, "cannot not get my fid"},
      {"own fid unknown, answer", "d", "s", "r", false, true, 0, 2, "cannot not get my fid"},
      {"parent unknown", "d", "here", "r", true, false, 0, 2, "cannot not get parent fid"},
      {"source's parent unknown", "d", "s", "r", true, false, 0, 2, "cannot not get parent fid"},
      {"null destination", nullptr, "s", "r", true, true, 0, 2,
       "Null destination ((null)), source (s) or reference "
       "identifier (r)"},
      {"null source", "d", nullptr, "r", true, true, 0, 2, "failed to build register read message"},
      {"null reference", "d", "s", nullptr, true, true, 0, 2, "failed to build register read message"},
      {"build failed", "", "s", "r", true, true, 0, 2, "failed to build register read message"},
      {"channel refuses", "d", "s", "r", true, true, 1, 7,
       "failed to write message to transfer channel IPC_TC_QMX_CLIENT_REQ_IDX"},
      {"channel fails", "d", "s", "r", true, true, -1, 7,
       "failed to write message to transfer channel IPC_TC_QMX_CLIENT_REQ_IDX"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    fake::reset();
    if (!row.knowsMe) platform().myFid.clear();
    if (!row.knowsParent) platform().parentFid.clear();
    platform().writeResult = row.writeResult;
    EXPECT_EQ(send(ovk_Service_TagReadServer, row.dst, row.src, row.refId), row.status);
    EXPECT_EQ(platform().traced(2, std::string(row.refusal) + "\n"), 1) << platform().errors();
    EXPECT_TRUE(platform().written.empty());
    EXPECT_TRUE(platform().counters.empty());
  }
}

// What getCommonMessageParameters makes of a response with one thing changed.
TEST_F(Envelope, CommonMembersOfAResponse) {
  const std::string good = messages::response(203, "{}");
  const std::string failed = messages::response(203, "{}", R"("success":false,"err_reason":"broken")");
  const std::string longRef(41, 'r');
  const struct {
    const char* what;
    std::string text;
    int result, success;
    const char* reason;
    std::string refusal;
  } rows[] = {
      {"success", good, 0, 1, "", ""},
      {"success with a reason", messages::replaced(good, "true", R"(true,"err_reason":"x")"), 0, 1, "", ""},
      {"failure", failed, 0, 0, "broken", ""},
      {"failure without reason", messages::replaced(failed, "err_reason", "reason"), -1, 0, "",
       "JSON_HOST: parse \"err_reason\" failed at "},
      {"no success", messages::replaced(good, "success", "succeeded"), -1, 9, "",
       "token 'success' not found in message"},
      {"success a number", messages::replaced(good, "true", "1"), -1, 9, "", "token 'success' not found in message"},
      {"no msg_type", messages::replaced(good, "msg_type", "type"), 0, 1, "", "token 'msg_type' not found in message"},
      {"no source", messages::replaced(good, "src", "source"), -1, 1, "", "JSON_HOST: parse \"src.fid\" failed at "},
      {"no destination", messages::replaced(good, "dst", "dest"), -1, 1, "",
       "Invalid destination (), source (" + peer + ") or reference identifier (r-17)"},
      {"25 characters", messages::replaced(good, own, own + "x"), -1, 1, "",
       "FusionIdentifier string " + own + "x is 25 characters long"},
      {"41 characters", messages::replaced(good, "r-17", longRef), -1, 1, "",
       "ReferenceIdentifier string is too long, max. length is 40 characters"},
      {"no ref_id", messages::replaced(good, "ref_id", "ref"), -1, 1, "", "JSON_HOST: parse \"ref_id\" failed at "},
      {"cut off", good.substr(0, good.size() - 1), -1, 9, "", "token 'success' not found in message"},
      {"no JSON", "hello", -1, 9, "", "token 'msg_type' not found in message"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    fake::reset();
    ovk::CommonMembers m;
    m.success = 9;
    EXPECT_EQ(getCommonMessageParameters(row.text.c_str(), 0, &m.msgType, m.dstFid, m.srcFid, m.refId, true, &m.success,
                                         m.errReason),
              row.result);
    EXPECT_EQ(m.success, row.success);
    EXPECT_STREQ(m.errReason, row.reason);
    EXPECT_THAT(platform().errors(), testing::HasSubstr(row.refusal));
    if (row.result == 0 && row.refusal.empty()) {
      EXPECT_EQ(m.msgType, 203);
      EXPECT_EQ(m.dstFid, own);
      EXPECT_EQ(m.srcFid, peer);
      EXPECT_STREQ(m.refId, "r-17");
    }
  }
}

TEST_F(Envelope, MembersOfARequestAreNotValidated) {
  ovk::CommonMembers m;
  const std::string text = messages::replaced(messages::request(202, "[]"), own, std::string(30, 'x'));
  EXPECT_EQ(getRequestMessageParameters(messages::replaced(text, "src", "s").c_str(), 0, &m.msgType, m.dstFid, m.srcFid,
                                        m.refId),
            0);
  EXPECT_EQ(m.dstFid, std::string(24, 'x'));
  EXPECT_STREQ(m.srcFid, "");
  EXPECT_EQ(getRequestMessageParameters("{}", 0, &m.msgType, m.dstFid, m.srcFid, m.refId), -1);
  int msgType = 5;
  EXPECT_EQ(getMsgType(R"({"msg_type":"200"})", 0, &msgType), -1);
  EXPECT_EQ(msgType, 5);
}

TEST_F(Envelope, LongReasonsAreCutBetweenCharacters) {
  const struct {
    const char* what;
    std::string reason;
    std::size_t kept;
  } rows[] = {
      {"80 bytes", std::string(80, 'x'), 80},
      {"81 bytes", std::string(81, 'x'), 80},
      {"a backslash before its partner", std::string(79, 'x') + "\\nxxx", 79},
      {"an escaped backslash", std::string(78, 'x') + "\\\\xxx", 80},
      {"two bytes", std::string(79, 'x') + "\xC3\xA4xxx", 79},
      {"four bytes", std::string(77, 'x') + "\xF0\x9F\x98\x80xxx", 77},
      {"three bytes that fit", std::string(77, 'x') + "\xE2\x82\xACxxx", 80},
      {"a backslash before two bytes", std::string(78, 'x') + "\\\xC3\xA4xxx", 78},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    fake::reset();
    ovk::CommonMembers m;
    const std::string text = messages::response(203, "{}", R"("success":false,"err_reason":")" + row.reason + "\"");
    EXPECT_EQ(getCommonMessageParameters(text.c_str(), 0, &m.msgType, m.dstFid, m.srcFid, m.refId, true, &m.success,
                                         m.errReason),
              0);
    EXPECT_EQ(m.errReason, row.reason.substr(0, row.kept));
    EXPECT_EQ(platform().errors().empty(), row.reason.size() <= 80);
  }
}

} // namespace
