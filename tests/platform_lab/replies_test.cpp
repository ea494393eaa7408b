// SPDX-License-Identifier: MIT
#include "replies.h"

#include <gtest/gtest.h>

namespace vxp {
namespace {

using namespace std::chrono_literals;

class RepliesTest : public testing::Test {
protected:
    RepliesTest() {
        Gateway& gateway = registry.enrol("M");
        gateway.devId = "D";
        gateway.secret = "S";
    }

    void set(const std::vector<std::string>& words) { replies.set(*login, parseReplyRule(words)); }

    Reply answer() {
        Message request;
        request.code = codePost;
        request.payload = R"({"devId":"D","secret":"S"})";
        return replies.answer(*login, registry, policy, request);
    }

    Json answerJson() { return *parseJson(answer().payload); }

    const Exchange* login = findExchangeByName("login");
    Registry registry;
    Policy policy;
    Replies replies;
};

TEST_F(RepliesTest, OrdinaryReply) {
    const Reply reply = answer();
    EXPECT_TRUE(reply.send);
    EXPECT_EQ(reply.code, codeContent);
    const auto document = parseJson(reply.payload);
    EXPECT_EQ((*document)["errcode"], 0);
    EXPECT_EQ((*document)["accessToken"], registry.findByMac("M")->accessToken);
}

TEST_F(RepliesTest, ErrcodeLeavesOutCredentialsAndChangesNothing) {
    set({"errcode=5"});
    EXPECT_EQ(answer().payload, R"({"errcode":5})");
    EXPECT_TRUE(registry.findByMac("M")->accessToken.empty());
}

TEST_F(RepliesTest, ErrcodeWithCredentials) {
    set({"errcode=5", "credentials"});
    const Json document = answerJson();
    EXPECT_EQ(document["errcode"], 5);
    EXPECT_TRUE(document.contains("refreshToken"));
}

TEST_F(RepliesTest, ErrcodeZeroIsServed) {
    set({"errcode=0"});
    EXPECT_TRUE(answerJson().contains("accessToken"));
}

TEST_F(RepliesTest, CountedRulesHoldInTurnThenTheStandingOne) {
    set({"errcode=9"});
    set({"errcode=5", "times=2"});
    set({"errcode=6", "times=1"});
    std::vector<int> codes;
    for (int i = 0; i < 5; ++i) {
        codes.push_back(answer().errcode);
    }
    EXPECT_EQ(codes, (std::vector<int>{5, 5, 6, 9, 9}));
    replies.clear(*login);
    EXPECT_EQ(answer().errcode, 0);
}

TEST_F(RepliesTest, CountedRuleAloneGivesWayToTheOrdinaryReply) {
    set({"silence", "times=1"});
    EXPECT_FALSE(answer().send);
    EXPECT_TRUE(answer().send);
}

TEST_F(RepliesTest, MembersAreAddedReplacedAndOmitted) {
    set({"timeOut=60", "accessToken=mine", "member.note=a b", "member.list=[1,2]",
         "omit=refreshToken,nothing"});
    EXPECT_EQ(answer().payload,
              R"({"errcode":0,"accessToken":"mine","timeOut":60,"note":"a b","list":[1,2]})");
    EXPECT_EQ(registry.findByMac("M")->accessToken, "mine");
}

TEST_F(RepliesTest, TimeOutIsKept) {
    set({"timeOut=0"});
    answer();
    const std::string token = registry.findByMac("M")->accessToken;
    EXPECT_EQ(registry.judge(&token), TokenVerdict::expired);
}

TEST_F(RepliesTest, ErrcodeCanBeOmitted) {
    set({"omit=errcode,accessToken,refreshToken,timeOut"});
    EXPECT_EQ(answer().payload, "{}");
}

TEST_F(RepliesTest, RawAndEmpty) {
    set({"raw=no json"});
    EXPECT_EQ(answer().payload, "no json");
    set({"rawhex=00ff"});
    EXPECT_EQ(answer().payload, std::string("\x00\xff", 2));
    set({"empty"});
    EXPECT_TRUE(answer().send);
    EXPECT_TRUE(answer().payload.empty());
}

TEST_F(RepliesTest, DelayCodeAndDrop) {
    set({"delay=300ms", "code=2.04", "drop=after"});
    const Reply reply = answer();
    EXPECT_EQ(reply.delay, 300ms);
    EXPECT_EQ(reply.code, coapCode(2, 4));
    EXPECT_EQ(reply.drop, ReplyRule::Drop::after);
    EXPECT_TRUE(reply.send);
    set({"drop=before"});
    EXPECT_FALSE(answer().send);
}

TEST_F(RepliesTest, Description) {
    set({"errcode=5", "times=2"});
    set({"silence"});
    EXPECT_EQ(replies.describe(),
              (std::vector<std::string>{"login errcode=5 times=2", "login silence"}));
}

} // namespace
} // namespace vxp
