// SPDX-License-Identifier: MIT
#include "operations.h"

#include <vxquilan/device.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace device_check {
namespace {

constexpr auto App = Channel::app;
constexpr auto Platform = Channel::platform;

/// How a function of a given form is called, so that none is called by another's type.
template <class Function>
struct Form;

template <class Function>
Function* function(void* symbol) {
    return reinterpret_cast<Function*>(symbol);
}

template <>
struct Form<int()> {
    static int call(void* symbol, void*) { return function<int()>(symbol)(); }
};

template <>
struct Form<int(int)> {
    static int call(void* symbol, void* buffer) {
        int value = 0;
        std::memcpy(&value, buffer, sizeof value);
        return function<int(int)>(symbol)(value);
    }
};

template <class Content>
struct Form<int(Content*)> {
    static int call(void* symbol, void* buffer) {
        return function<int(Content*)>(symbol)(static_cast<Content*>(buffer));
    }
};

template <>
struct Form<int(char*, int*)> {
    static int call(void* symbol, void* buffer) {
        auto* const address = static_cast<Address*>(buffer);
        return function<int(char*, int*)>(symbol)(address->host, &address->port);
    }
};

template <>
struct Form<int(vx_station_list*, int)> {
    static int call(void* symbol, void* buffer) {
        return function<int(vx_station_list*, int)>(symbol)(static_cast<vx_station_list*>(buffer),
                                                            0);
    }
};

template <>
struct Form<int(wifitimer_cfg*, const status_req*)> {
    static int call(void* symbol, void* buffer) {
        constexpr status_req everything{1, 1, 1, 1};
        return function<int(wifitimer_cfg*, const status_req*)>(symbol)(
            static_cast<wifitimer_cfg*>(buffer), &everything);
    }
};

template <>
struct Form<void*(void*)> {
    static int call(void* symbol, void* buffer) {
        function<void*(void*)>(symbol)(buffer);
        return 0;
    }
};

#define CALL(name) #name, Form < decltype(::name)> ::call
#define TEXT(name, channel, size)                                                                  \
    { CALL(name), Kind::text, channel, size }
#define NUMBER(name, channel)                                                                      \
    { CALL(name), Kind::number, channel, sizeof(int) }
#define RECORD(name, channel, type, rules)                                                         \
    { CALL(name), Kind::record, channel, sizeof(type), nullptr, &(rules) }
#define SET(kind, name, channel, size, getter)                                                     \
    { CALL(name), Kind::set_##kind, channel, size, #getter }
#define EMPTY(kind, name, channel, record)                                                         \
    { CALL(name), Kind::kind, channel, sizeof(record) }
#define ACTION(name)                                                                               \
    { CALL(name), Kind::action, App }
#define ACTION_NUMBER(name, channel, number)                                                       \
    { CALL(name), Kind::action_number, channel, sizeof(int), nullptr, nullptr, number }

constexpr Operation kOperations[] = {
    {CALL(port_device_init), Kind::start, App},
    {CALL(port_device_init_net), Kind::start, Platform},

    TEXT(port_areacode_get, App, 32),
    NUMBER(port_device_mode_get, App),
    SET(number, port_device_mode_set, App, sizeof(int), port_device_mode_get),
    TEXT(port_device_id_get, App, 128),
    SET(text, port_device_id_set, App, 128, port_device_id_get),
    TEXT(port_device_secret_get, App, 128),
    SET(text, port_device_secret_set, App, 128, port_device_secret_get),
    TEXT(port_device_code_get, App, 32),
    SET(text, port_device_code_set, App, 32, port_device_code_get),
    TEXT(port_device_accesstoken_get, App, 128),
    SET(text, port_device_accesstoken_set, App, 128, port_device_accesstoken_get),
    TEXT(port_device_refreshtoken_get, App, 128),
    SET(text, port_device_refreshtoken_set, App, 128, port_device_refreshtoken_get),
    NUMBER(port_device_timeout_get, App),
    SET(timeout, port_device_timeout_set, App, sizeof(int), port_device_timeout_get),
    ACTION_NUMBER(port_device_firstguide_set, App, 1),
    TEXT(port_device_mac_get, App, 32),
    TEXT(port_device_sn_get, App, 128),
    TEXT(port_device_cuei_get, App, 256),
    TEXT(port_device_vendor_get, App, 32),
    TEXT(port_device_model_get, App, 16),
    TEXT(port_device_devtype_get, App, 16),
    TEXT(port_device_manu_get, App, 16),
    TEXT(port_device_prodid_get, App, 128),
    TEXT(port_device_hdversion_get, App, 64),
    TEXT(port_device_swversion_get, App, 64),
    {CALL(port_device_prottype_get), Kind::number, App, sizeof(int), nullptr, nullptr, -1},

    NUMBER(port_device_coap_type, App),
    NUMBER(port_device_coap_debug, App),
    {CALL(port_device_app_ip), Kind::address, App, sizeof(Address), nullptr, &kAddress, -1},
    RECORD(vx_device_stainfo_get, App, vx_station_list, kStationList),
    RECORD(vx_device_stainfo_byget, App, vx_station_list, kStationList),
    ACTION(vx_device_deldevice),
    ACTION(vx_device_reboot),
    ACTION(vx_device_restoredefcfg),
    RECORD(vx_device_wandiagnose, App, vx_wan_diagnosis, kWanDiagnosis),
    RECORD(vx_device_hostinfo, App, vx_host_table, kHostTable),
    RECORD(vx_device_info, App, vx_device_information, kDeviceInformation),
    RECORD(vx_device_lanhost, App, vx_lan_host, kLanHost),
    RECORD(vx_device_wan, App, vx_wan, kWan),
    RECORD(vx_device_wlanbasic, App, vx_wlan_status, kWlanStatus),
    EMPTY(set_nothing, vx_device_sendsetting, App, vx_wlan_status),
    EMPTY(set_nothing, vx_device_wlanbasic_set, App, vx_radio_switch),
    EMPTY(action, vx_device_ssidsetting, App, vx_ssid_settings),
    EMPTY(check, vx_device_wifi_check, App, vx_guide),
    EMPTY(action, vx_device_wlanguidebasic, App, vx_guide),
    RECORD(vx_device_guest_network_get, App, vx_guest_network, kGuestNetwork),
    EMPTY(check, vx_device_guest_check, App, vx_guest_network),
    SET(record, vx_device_guest_network_set, App, sizeof(vx_guest_network),
        vx_device_guest_network_get),
    RECORD(vx_device_wlanfilterenhance_get, App, vx_mac_filter, kMacFilter),
    SET(record, vx_device_wlanfilterenhance_set, App, sizeof(vx_mac_filter),
        vx_device_wlanfilterenhance_get),
    RECORD(vx_device_wlantimeswitch_get, App, vx_time_switch, kTimeSwitch),
    SET(entry, vx_device_wlantimeswitch_set, App, sizeof(vx_time_switch_entry),
        vx_device_wlantimeswitch_get),
    EMPTY(set_nothing, vx_device_qosclasshost, App, vx_qos_host),

    TEXT(port_device_ip_get, Platform, 16),
    TEXT(port_device_gwip_get, Platform, 64),
    {CALL(port_device_encryptkey_get), Kind::binary, Platform, 128},
    SET(binary, port_device_encryptkey_set, Platform, 128, port_device_encryptkey_get),
    {CALL(port_device_sequence_get), Kind::value, Platform},
    {CALL(port_device_sequence_set), Kind::advance, Platform, 0, "port_device_sequence_get"},
    TEXT(port_device_wanmac_get, Platform, 32),
    TEXT(port_device_version_get, Platform, 128),
    TEXT(port_device_url_get, Platform, 256),
    NUMBER(port_device_uplinktype_get, Platform),
    NUMBER(port_device_syncswitch_get, Platform),
    SET(record, vx_device_wifi, Platform, sizeof(wifi_cfg), vx_device_wifi_get),
    RECORD(vx_device_wifi_get, Platform, wifi_cfg, kWifi),
    SET(record, vx_device_wifitimer, Platform, sizeof(wifitimer_cfg), vx_device_wifitimer_get),
    RECORD(vx_device_wifitimer_get, Platform, wifitimer_cfg, kWifiTimer),
    ACTION_NUMBER(vx_device_wpsswitch, Platform, 0),
    {CALL(vx_device_upgrade), Kind::never, Platform, sizeof(vx_upgrade)},
};

constexpr bool getters_exist() {
    return std::ranges::all_of(kOperations, [](const Operation& operation) {
        return operation.getter == nullptr ||
               std::ranges::any_of(kOperations, [&](const Operation& other) {
                   return std::string_view(other.name) == operation.getter &&
                          other.size >= operation.size;
               });
    });
}
static_assert(getters_exist());

} // namespace

std::span<const Operation> operations() {
    return kOperations;
}

const Operation* find_operation(const char* name) {
    const auto* const found = std::ranges::find_if(kOperations, [&](const Operation& operation) {
        return std::strcmp(operation.name, name) == 0;
    });
    return found == std::end(kOperations) ? nullptr : found;
}

const Operation& start_of(Channel channel) {
    return *std::ranges::find_if(kOperations, [&](const Operation& operation) {
        return operation.kind == Kind::start && operation.channel == channel;
    });
}

bool is_getter(Kind kind) {
    return kind >= Kind::text && kind <= Kind::value;
}

bool is_setter(Kind kind) {
    return kind >= Kind::set_text && kind <= Kind::set_nothing;
}

bool is_action(Kind kind) {
    return kind == Kind::action || kind == Kind::action_number;
}

} // namespace device_check
