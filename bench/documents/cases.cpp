// SPDX-License-Identifier: MIT
#include "documents/cases.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "appjsonapi/app_errcode.h"
#include "appjsonapi/app_gateway_status.h"
#include "appjsonapi/app_guest_network.h"
#include "appjsonapi/app_provisioning.h"
#include "appjsonapi/app_qos_host.h"
#include "appjsonapi/app_reporting.h"
#include "appjsonapi/app_time_switch.h"
#include "appjsonapi/app_wlan_basic.h"
#include "appjsonapi/app_wlan_filter.h"
#include "documents/handwritten.h"
#include "gateway/gateway.h"

namespace bench {

namespace {

using Side = char* (*)(const std::string&);

[[noreturn]] void fail(const std::string& name, const char* what) {
    std::fprintf(stderr, "bench: %s: %s\n", name.c_str(), what);
    std::exit(1);
}

/** A parser has nothing to give back; one that refuses would be measured for doing nothing. */
char* accepted(int result) {
    if (result != 0)
        fail("parser", "refuses its body");
    return nullptr;
}

template <vxq::JsonText (*Build)()>
char* ours(const std::string&) {
    return Build().release();
}

template <char* (*Write)()>
char* plain(const std::string&) {
    return Write();
}

template <class Record, int (*Parse)(const RequestBody&, Record&, ParameterPath&)>
char* our_parser(const std::string& body) {
    Record record{};
    ParameterPath path{};
    return accepted(Parse({body.data(), body.size()}, record, path));
}

template <class Record, int (*Read)(const RequestBody&, Record&)>
char* plain_parser(const std::string& body) {
    Record record{};
    return accepted(Read({body.data(), body.size()}, record));
}

constexpr char kLoginReply[] = R"({"errcode":0,"accessToken":"5d41402abc4b2a76b9719d911017c592",)"
                               R"("refreshToken":"7d793037a0760186574b0282f2f435e7",)"
                               R"("timeOut":86400})";

/** A rate limit, with members that nobody reads up to the size wanted. */
std::string qos_body(std::size_t size) {
    std::string body = R"({"data":{"QosclassID":)"
                       R"("InternetGatewayDevice.QueueManagement.Classification.1.",)"
                       R"("DeviceDownRateEnable":true,"ClassQueue":1,)"
                       R"("DeviceMaxDownLoadRate":"20480","MACAddress":"02:5E:10:00:01:08",)"
                       R"("HostName":"laptop","ActualName":"Work laptop",)"
                       R"("ID":"InternetGatewayDevice.QueueManagement.Policer.1.",)"
                       R"("DeviceMaxUpLoadRate":"4096"})";
    constexpr char kMember[] = R"(,"Comment":"nothing that the gateway needs to know")";
    while (body.size() + sizeof kMember <= size)
        body += kMember;
    return body + "}";
}

std::string filter_band(int entries) {
    std::string band = R"({"ID":"InternetGatewayDevice.X_Config.Wifi.Radio.1.Ssid.1.",)"
                       R"("MACAddressControlEnabled":true,"MacFilterPolicy":1,"WMacFilters":[)";
    for (int index = 0; index < entries; ++index) {
        char item[96];
        std::snprintf(item, sizeof item,
                      R"(%s{"MACAddress":"02:5E:10:00:02:%02X","HostName":"filtered-%02d"})",
                      index == 0 ? "" : ",", static_cast<unsigned>(index), index);
        band += item;
    }
    return band + "]}";
}

std::string filter_body(int entries) {
    const std::string band = filter_band(entries);
    return R"({"data":{"config2g":)" + band + R"(,"config5g":)" + band + "}}";
}

constexpr Side kOurHosts = ours<app_sys_gateway_system_hostinfo>;
constexpr Side kPlainHosts = plain<write_hostinfo>;
constexpr Side kOurFilters = ours<app_sys_gateway_ntwk_wlanfilterenhance>;
constexpr Side kPlainFilters = plain<write_wlanfilter>;
constexpr Side kOurQos = our_parser<vx_qos_host, app_sys_gateway_app_qosclasshost_parse>;
constexpr Side kPlainQos = plain_parser<vx_qos_host, read_qos_host>;
constexpr Side kOurFilterBody =
    our_parser<vx_mac_filter, app_sys_gateway_ntwk_wlanfilterenhance_parse>;
constexpr Side kPlainFilterBody = plain_parser<vx_mac_filter, read_mac_filter>;

std::vector<Case> make_cases() {
    std::vector<Case> all{
        {"register", 0, 0, ours<app_sys_register>, plain<write_register>},
        {"login", 0, 0, ours<app_sys_login>, plain<write_login>},
        {"devInfoSync", 0, 0, ours<app_sys_devinfosync>, plain<write_devinfosync>},
        {"data", 0, 0, ours<app_sys_data>, plain<write_data>},
        {"wandiagnose", 0, 0, ours<app_sys_gateway_ntwk_wandiagnose>, plain<write_wandiagnose>},
        {"deviceinfo", 0, 0, ours<app_sys_gateway_system_deviceinfo>, plain<write_deviceinfo>},
        {"lan_host", 0, 0, ours<app_sys_gateway_ntwk_lanhost>, plain<write_lanhost>},
        {"wan", 0, 0, ours<app_sys_gateway_ntwk_wan>, plain<write_wan>},
        {"WlanBasic", 0, 0, ours<app_sys_gateway_system_wlanbasic>, plain<write_wlanbasic>},
        {"wlantimeswitch", 0, 0, ours<app_sys_gateway_ntwk_wlantimeswitch>,
         plain<write_timeswitch>},
        {"guest_network", 0, 0, ours<app_sys_gateway_ntwk_guest_network>,
         plain<write_guestnetwork>},
        {"errcode", 0, 0, [](const std::string&) { return app_errcode(0, "").release(); },
         [](const std::string&) {
             return write_errcode(0, "");
         }},
        {"login reply", 0, 0,
         [](const std::string& body) { return accepted(app_sys_login_parse(body.c_str())); },
         [](const std::string& body) { return accepted(read_login_reply(body.c_str())); },
         kLoginReply},
    };
    for (const int count : {0, 16, 32, 48, 64}) {
        const std::string size = "-" + std::to_string(count);
        all.push_back({"HostInfo" + size, count, 0, kOurHosts, kPlainHosts});
        all.push_back({"wlanfilterenhance" + size, 0, count, kOurFilters, kPlainFilters});
        all.push_back({"wlanfilterenhance body" + size, 0, 0, kOurFilterBody, kPlainFilterBody,
                       filter_body(count)});
    }
    for (const int kilobytes : {1, 2, 4, 6, 8})
        all.push_back({"qosclass_host body-" + std::to_string(kilobytes) + "K", 0, 0, kOurQos,
                       kPlainQos, qos_body(static_cast<std::size_t>(kilobytes) * 1024)});
    return all;
}

void check(const Case& one) {
    prepare(one);
    char* const ours = one.ours(one.body);
    char* const plain = one.plain(one.body);
    const bool same = (ours == nullptr) == (plain == nullptr) &&
                      (ours == nullptr || std::strcmp(ours, plain) == 0);
    if (!same)
        fail(one.name, "the two sides do not make the same text");
    cJSON_free(ours);
    cJSON_free(plain);
}

} // namespace

std::span<const Case> cases() {
    static const std::vector<Case> all = [] {
        std::vector<Case> made = make_cases();
        for (const Case& one : made)
            check(one);
        return made;
    }();
    return all;
}

void prepare(const Case& one) {
    *bench_gateway_size() = {one.hosts, one.filters};
}

void run(char* (*side)(const std::string&), const Case& one) {
    cJSON_free(side(one.body));
}

} // namespace bench
