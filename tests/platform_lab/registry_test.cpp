// SPDX-License-Identifier: MIT
#include "exchanges.h"

#include <gtest/gtest.h>

namespace vxp {
namespace {

class Exchanges : public testing::Test {
protected:
    Outcome serve(const std::string& name, const std::string& body,
                  const std::string* token = nullptr) {
        Message request;
        request.code = codePost;
        request.payload = body;
        if (token != nullptr) {
            request.options.push_back({optionAccessToken, *token});
        }
        return serveExchange(*findExchangeByName(name), registry, policy, request);
    }

    Gateway& activated() {
        serve("register", R"({"mac":"M"})");
        serve("activate", R"({"code":"C","devInfo":{"mac":"M"}})");
        return *registry.findByMac("M");
    }

    Gateway& loggedIn() {
        Gateway& gateway = activated();
        serve("login", login(gateway.devId, gateway.secret));
        return gateway;
    }

    static std::string login(const std::string& devId, const std::string& secret) {
        return Json{{"devId", devId}, {"secret", secret}}.dump();
    }

    Registry registry;
    Policy policy;
};

TEST_F(Exchanges, RegisterMakesTheGatewayKnown) {
    EXPECT_EQ(serve("register", R"({"mac":"M","sn":"S"})").errcode, errcodeSuccess);
    ASSERT_NE(registry.findByMac("M"), nullptr);
    EXPECT_EQ(registry.findByMac("M")->registration["sn"], "S");
    serve("register", R"({"mac":"M"})");
    EXPECT_EQ(registry.gateways().size(), 1U);
}

TEST_F(Exchanges, ActivateNeedsARegistrationUnlessTold) {
    const std::string body = R"({"code":"C","devInfo":{"mac":"M"}})";
    EXPECT_EQ(serve("activate", body).errcode, errcodeNotRegistered);
    EXPECT_TRUE(registry.gateways().empty());
    policy.requireRegistration = false;
    EXPECT_EQ(serve("activate", body).errcode, errcodeSuccess);
}

TEST_F(Exchanges, ActivateIssuesCredentials) {
    serve("register", R"({"mac":"M"})");
    const Outcome outcome = serve("activate", R"({"code":"C","devInfo":{"mac":"M","sn":"S"}})");
    const Gateway* gateway = registry.findByMac("M");
    EXPECT_FALSE(gateway->devId.empty());
    EXPECT_EQ(outcome.members["devId"], gateway->devId);
    EXPECT_EQ(outcome.members["secret"], gateway->secret);
    EXPECT_EQ(gateway->deviceInfo["sn"], "S");
}

TEST_F(Exchanges, RegistrationCodesAreChecked) {
    serve("register", R"({"mac":"M"})");
    EXPECT_EQ(serve("activate", R"({"code":"","devInfo":{"mac":"M"}})").errcode,
              errcodeCodeRefused);
    registry.codes().insert("good");
    EXPECT_EQ(serve("activate", R"({"code":"bad","devInfo":{"mac":"M"}})").errcode,
              errcodeCodeRefused);
    EXPECT_EQ(serve("activate", R"({"code":"good","devInfo":{"mac":"M"}})").errcode,
              errcodeSuccess);
}

TEST_F(Exchanges, LoginChecksIdAndSecret) {
    const Gateway& gateway = activated();
    EXPECT_EQ(serve("login", login("nobody", gateway.secret)).errcode, errcodeUnknownDevice);
    EXPECT_EQ(serve("login", login("", "")).errcode, errcodeUnknownDevice);
    EXPECT_EQ(serve("login", login(gateway.devId, "guess")).errcode, errcodeWrongSecret);
    EXPECT_TRUE(gateway.accessToken.empty());
    const Outcome outcome = serve("login", login(gateway.devId, gateway.secret));
    EXPECT_EQ(outcome.errcode, errcodeSuccess);
    EXPECT_EQ(outcome.members["accessToken"], gateway.accessToken);
    EXPECT_EQ(outcome.members["refreshToken"], gateway.refreshToken);
    EXPECT_EQ(outcome.members["timeOut"], 7200);
    EXPECT_LT(gateway.accessToken.size(), 127U);
}

TEST_F(Exchanges, RefreshGivesNewTokensForTheRefreshTokenOnly) {
    const Gateway& gateway = loggedIn();
    const std::string access = gateway.accessToken;
    const std::string body = Json{{"refreshToken", gateway.refreshToken}}.dump();
    EXPECT_EQ(serve("refresh", R"({"refreshToken":"guess"})").errcode, errcodeRefreshRefused);
    EXPECT_EQ(gateway.accessToken, access);
    EXPECT_EQ(serve("refresh", body).errcode, errcodeSuccess);
    EXPECT_NE(gateway.accessToken, access);
    EXPECT_EQ(serve("refresh", body).errcode, errcodeRefreshRefused);
}

TEST_F(Exchanges, TokensAreJudged) {
    const Gateway& gateway = loggedIn();
    const std::string token = gateway.accessToken;
    const std::string empty;
    const std::string wrong = "guess";
    EXPECT_EQ(registry.judge(nullptr), TokenVerdict::missing);
    EXPECT_EQ(registry.judge(&empty), TokenVerdict::empty);
    EXPECT_EQ(registry.judge(&wrong), TokenVerdict::wrong);
    EXPECT_EQ(registry.judge(&token), TokenVerdict::ok);
    registry.expireTokens();
    EXPECT_EQ(registry.judge(&token), TokenVerdict::expired);
}

TEST_F(Exchanges, TokensAreEnforcedOnRequestOnly) {
    const Gateway& gateway = loggedIn();
    const std::string token = gateway.accessToken;
    const std::string beat = R"({"ts":"20240101T000000Z"})";
    EXPECT_EQ(serve("heartbeat", beat).errcode, errcodeSuccess);
    policy.checkToken = true;
    EXPECT_EQ(serve("heartbeat", beat).errcode, errcodeTokenRefused);
    EXPECT_EQ(serve("heartbeat", beat, &token).errcode, errcodeSuccess);
    EXPECT_EQ(gateway.heartbeats, 1U);
    registry.expireTokens();
    EXPECT_EQ(serve("heartbeat", beat, &token).errcode, errcodeTokenRefused);
    // Whose token has expired must be able to get a new one.
    const std::string refresh = Json{{"refreshToken", gateway.refreshToken}}.dump();
    EXPECT_EQ(serve("refresh", refresh).errcode, errcodeTokenRefused);
    EXPECT_EQ(serve("refresh", refresh, &token).errcode, errcodeSuccess);
    EXPECT_EQ(serve("login", login(gateway.devId, gateway.secret)).errcode, errcodeSuccess);
}

TEST_F(Exchanges, ComplaintsFollowTheRule) {
    EXPECT_EQ(tokenComplaint(TokenRule::none, TokenVerdict::missing), "");
    EXPECT_EQ(tokenComplaint(TokenRule::none, TokenVerdict::empty), "unexpected");
    EXPECT_EQ(tokenComplaint(TokenRule::any, TokenVerdict::missing), "missing");
    EXPECT_EQ(tokenComplaint(TokenRule::any, TokenVerdict::empty), "");
    EXPECT_EQ(tokenComplaint(TokenRule::required, TokenVerdict::expired), "expired");
    EXPECT_EQ(tokenComplaint(TokenRule::stale, TokenVerdict::expired), "");
    EXPECT_EQ(tokenComplaint(TokenRule::stale, TokenVerdict::wrong), "wrong");
}

TEST_F(Exchanges, MalformedBodies) {
    const std::pair<const char*, const char*> bodies[] = {{"register", ""},
                                                          {"register", "x"},
                                                          {"register", "{}"},
                                                          {"register", "[]"},
                                                          {"register", R"({"mac":1})"},
                                                          {"activate", "{}"},
                                                          {"login", "{}"},
                                                          {"login", R"({"devId":"x"})"},
                                                          {"devinfo", "{}"},
                                                          {"devinfo", "[{}]"},
                                                          {"heartbeat", "{}"},
                                                          {"data", R"({"services":{}})"}};
    for (const auto& [name, body] : bodies) {
        EXPECT_EQ(serve(name, body).errcode, errcodeMalformed) << name << " " << body;
    }
    EXPECT_EQ(serve("devinfo", R"([{"devInfo":{}}])").errcode, errcodeSuccess);
    EXPECT_EQ(serve("data", R"({"services":[]})").errcode, errcodeSuccess);
}

TEST_F(Exchanges, GatewaysCanBeForgotten) {
    const std::string devId = activated().devId;
    EXPECT_FALSE(registry.remove("nobody"));
    EXPECT_TRUE(registry.remove(devId));
    EXPECT_TRUE(registry.gateways().empty());
}

} // namespace
} // namespace vxp
