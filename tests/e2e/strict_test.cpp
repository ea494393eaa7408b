// SPDX-License-Identifier: MIT
// The daemon built with every option that makes it stricter.
#include <chrono>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "certificate_folder.h"
#include "gateway.h"
#include "platform.h"
#include "resource_table.h"

namespace e2e {
namespace {

using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;
using transport::Authority;
using transport::Certificate;

enum class Kind { good, expired, other_host, self_signed, other_authority };

struct Offered {
    const char* name;
    Kind kind;
};

void PrintTo(const Offered& offered, std::ostream* stream) {
    *stream << offered.name;
}

/** A platform with a certificate to choose, and a system that trusts one authority. */
class StrictTls : public testing::TestWithParam<Offered> {
protected:
    Certificate offered() const {
        switch (GetParam().kind) {
        case Kind::good:
            return folder.authority().sign("DNS:localhost,IP:127.0.0.1");
        case Kind::expired:
            return folder.authority().sign("DNS:localhost,IP:127.0.0.1", true);
        case Kind::other_host:
            return folder.authority().sign("DNS:elsewhere.example,IP:127.0.0.9");
        case Kind::self_signed:
            return transport::make_certificate();
        case Kind::other_authority:
            return Authority().sign("DNS:localhost,IP:127.0.0.1");
        }
        return {};
    }

    CertificateFolder folder;
    Platform platform{Transport::tls, {}, folder.offer(offered())};
    Gateway gateway{platform.port(), true};
};

TEST_P(StrictTls, OnlyAGoodCertificateIsTaken) {
    gateway.introduce_to(platform);
    gateway.start_program(VXQUILAN_STRICT, folder.trusting());
    if (GetParam().kind == Kind::good) {
        platform.wait_for("request:heartbeat");
        EXPECT_EQ(platform.ask("rename").at("errcode"), 0);
        return;
    }
    // It goes on trying, and never says a word to it.
    ASSERT_TRUE(
        wait_until([&] { return gateway.times_logged("QUILAN_APP_CONNECT") >= 3; }, seconds(60)));
    EXPECT_EQ(platform.count("request:login"), 0u);
    EXPECT_EQ(platform.count("request:register"), 0u);
    EXPECT_TRUE(gateway.daemon().running());
    EXPECT_EQ(gateway.logged("the platform's certificate is not for 127.0.0.1"),
              GetParam().kind == Kind::other_host);
}

TEST_P(StrictTls, EachIsTakenByDefault) {
    gateway.introduce_to(platform);
    gateway.start(folder.trusting());
    platform.wait_for("request:heartbeat");
}

INSTANTIATE_TEST_SUITE_P(Certificates, StrictTls,
                         testing::Values(Offered{"Good", Kind::good},
                                         Offered{"Expired", Kind::expired},
                                         Offered{"OtherHost", Kind::other_host},
                                         Offered{"SelfSigned", Kind::self_signed},
                                         Offered{"OtherAuthority", Kind::other_authority}),
                         [](const testing::TestParamInfo<Offered>& offered) {
                             return offered.param.name;
                         });

/** What must not be in the log: every secret that the gateway has or is given. */
const char* const kSecretsOfTheSample[] = {"known-secret", "key under the mat",
                                           "correct horse battery", "front-door", "lighthouse-7"};

TEST(StrictLog, HasNoSecretOfAnyRequest) {
    const Platform platform;
    Gateway gateway(platform.port());
    gateway.introduce_to(platform);
    gateway.edit([](nlohmann::json& state) {
        state["app_platform"]["coap_debug"] = 7;
        state["wan"]["password"] = "pppoe-4711";
    });
    gateway.start_program(VXQUILAN_STRICT);
    platform.wait_for("request:heartbeat");
    for (const SettingsRequest& request : settings_requests())
        platform.ask(post(request.path, request.body));
    for (const ServedRequest& request : served_requests()) {
        if (std::string("get") == request.method)
            platform.ask(request.command);
    }
    const nlohmann::json state = gateway.state();
    gateway.control("register-code c-4711");
    platform.wait_for("request:activate");
    platform.wait_for("request:heartbeat", 2);

    const std::string log = gateway.log();
    EXPECT_THAT(log, HasSubstr("***"));
    for (const char* const secret : kSecretsOfTheSample)
        EXPECT_THAT(log, Not(HasSubstr(secret)));
    for (const char* const secret : {"pppoe-4711", "c-4711"})
        EXPECT_THAT(log, Not(HasSubstr(secret)));
    for (const char* const token : {"access_token", "refresh_token"}) {
        EXPECT_THAT(log, Not(HasSubstr(state["credentials"][token].get<std::string>())));
        EXPECT_THAT(log, Not(HasSubstr(gateway.state()["credentials"][token].get<std::string>())));
    }
}

TEST(StrictLog, HasNoSecretOfThePlatformChannel) {
    const std::string address = own_address();
    const Platform platform(Transport::tcp, {"--net", address});
    Gateway gateway(platform.port());
    gateway.edit([&](nlohmann::json& state) { state["platform_channel"]["gateway_ip"] = address; });
    gateway.start_program(VXQUILAN_NET_STRICT);
    platform.wait_for("request:net-heartbeat");
    for (const char* const command : {"net-wifi", "net-status"}) {
        platform.command(command);
        platform.wait_for(std::string("answer:") + command);
    }
    const std::string log = gateway.log();
    EXPECT_THAT(log, HasSubstr("Harbour-View"));
    EXPECT_THAT(log, Not(HasSubstr("lighthouse-7")));
    EXPECT_THAT(log, Not(HasSubstr("-----Public key")));
}

} // namespace
} // namespace e2e
