// SPDX-License-Identifier: MIT
#include "site.h"

#include <chrono>
#include <cstdlib>
#include <fstream>

#include "waiting.h"

namespace netfaults {

namespace {

const char kDeviceId[] = "gw-known";
const char kSecret[] = "known-secret";
const char kMac[] = "02:5E:10:00:00:01"; // the sample gateway's

/** Several addresses of one network, each of which can go without the others. */
void give_addresses(const Namespace& host, const std::vector<std::string>& addresses) {
    for (const std::string& address : addresses)
        host.ip("addr add " + address + "/32 dev wire");
    host.ip("route add 10.77.0.0/24 dev wire");
}

e2e::Build build_for(const Plan& plan, const Namespace& host) {
    e2e::Build build = e2e::own_build();
    build.runner = host.runner() + " " + build.runner;
    const char* const libraries = std::getenv("VXQUILAN_TEST_PLATFORM_LIBRARIES");
    if (plan.keeps_framing && libraries != nullptr)
        build.libraries += std::string(":") + libraries;
    return build;
}

} // namespace

double now() {
    const auto time = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(time).count();
}

Site::Site(const Plan& plan)
    : plan_(plan), wire_(std::make_unique<Wire>(gateway_host_, platform_host_)) {
    give_addresses(gateway_host_, {kGatewayAddress});
    give_addresses(platform_host_, {kPlatformAddress, kNetAddress, kNameServerAddress});
    gateway_host_.set_resolver(std::string("nameserver ") + kNameServerAddress + "\n");
    names_ = std::make_unique<NameServer>(platform_host_, kNameServerAddress);
    names_->set(Answer::address, kPlatformAddress);
    std::ofstream(folder_ / "known.vxp")
        << "gateway add mac=" << kMac << " devId=" << kDeviceId << " secret=" << kSecret << "\n";
    start_platform();
    if (plan_.relay)
        relay_ = std::make_unique<Relay>(platform_host_, Endpoint{kPlatformAddress, kRelayPort},
                                         Endpoint{kPlatformAddress, platform_port()});
    renew_gateway();
}

int Site::platform_port() const {
    return plan_.transport == e2e::Transport::tls ? 5684 : 5683;
}

void Site::renew_gateway() {
    gateway_.reset();
    gateway_ = std::make_unique<e2e::Gateway>(plan_.relay ? kRelayPort : platform_port(),
                                              plan_.transport == e2e::Transport::tls,
                                              build_for(plan_, gateway_host_));
    gateway_->edit([&](nlohmann::json& state) {
        state["app_platform"]["host"] = plan_.host;
        state["credentials"]["device_id"] = kDeviceId;
        state["credentials"]["device_secret"] = kSecret;
        state["platform_channel"]["gateway_ip"] = plan_.relay ? kPlatformAddress : kNetAddress;
    });
}

double Site::start_platform() {
    platform_ = std::make_unique<e2e::Platform>(
        plan_.transport,
        std::vector<std::string>{"--script", folder_ / "known.vxp", "--net", kNetAddress},
        plan_.certificate, e2e::Place{platform_host_.runner(), plan_.listen, platform_port()});
    return platform_->events("listening").front().at("time");
}

void Site::go_online() {
    const std::size_t before = platform_->count("response:heartbeat");
    gateway_->start();
    platform_->wait_for("response:heartbeat", before + 1);
}

double Site::online_after(double since, double limit) const {
    double seconds = -1;
    const auto is_online = [&] {
        for (const nlohmann::json& heartbeat : platform_->events("request:heartbeat")) {
            seconds = heartbeat.at("time").get<double>() - since;
            if (seconds > 0)
                return true;
        }
        seconds = -1;
        return false;
    };
    e2e::wait_until(is_online, std::chrono::milliseconds(static_cast<int>(limit * 1000)));
    return seconds;
}

} // namespace netfaults
