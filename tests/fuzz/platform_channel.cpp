// SPDX-License-Identifier: MIT
#include "fuzz/platform_channel.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

#include "fuzz/harness.h"
#include "state/state.h"
#include "support/fake_device.h"
#include "support/fake_os.h"
#include "support/journal.h"
#include <vxquilan/records.h>

namespace fuzz {

namespace {

constexpr std::size_t kKeyBuffer = 128;

template <std::size_t Size>
void check_text(const char (&text)[Size]) {
    require(std::memchr(text, '\0', Size) != nullptr, "a text without an end");
}

void check_range(std::int32_t value, std::int32_t low, std::int32_t high, const char* what) {
    require(value >= low && value <= high, std::string(what) + ": " + std::to_string(value));
}

void check_ap(const wifi_ap& ap) {
    check_range(ap.enable, 0, 1, "enable");
    check_range(ap.auth, 0, VX_WIFI_AUTH_WPAPSKWPA2PSK, "auth");
    check_range(ap.encrypt, VX_WIFI_ENCRYPT_NONE, VX_WIFI_ENCRYPT_AESTKIP, "encrypt");
    check_text(ap.ssid);
    check_text(ap.key);
    require(std::all_of(std::begin(ap.padding), std::end(ap.padding),
                        [](char byte) { return byte == 0; }),
            "padding that is not zero");
}

void check(const wifi_cfg& config) {
    check_range(config.radio_num, 0, VX_WIFI_RADIO_CAPACITY, "radio_num");
    for (const wifi_radio& radio : config.radio) {
        check_range(radio.mode, 0, VX_BAND_5G, "mode");
        check_range(radio.ap_num, 0, VX_WIFI_AP_CAPACITY, "ap_num");
        for (const wifi_ap& ap : radio.ap)
            check_ap(ap);
    }
}

void check(const wifitimer_cfg& config) {
    for (const std::int32_t flag :
         {config.wifiswitch_set, config.wifiswitch, config.ledswitch_set, config.ledswitch})
        check_range(flag, 0, 1, "switch");
    check_range(config.timer_num, 0, VX_WIFI_TIMER_CAPACITY, "timer_num");
    for (const wifitimer_entry& timer : config.timer) {
        check_text(timer.weekday);
        check_text(timer.time);
    }
}

void check(const vx_upgrade& upgrade) {
    check_text(upgrade.downurl);
}

template <class Record>
void check_entry(const fake::Entry& entry, const char* call) {
    if (entry.call != call)
        return;
    Record record;
    require(entry.record.size() == sizeof record, entry.call + " was given another record");
    std::memcpy(&record, entry.record.data(), sizeof record);
    check(record);
}

} // namespace

const std::string& session_key() {
    static const std::string key = "0123456789abcdef";
    return key;
}

void open_platform_channel() {
    std::array<char, kKeyBuffer> key{};
    std::memcpy(key.data(), session_key().data(), session_key().size());
    fake::device().set_record("port_device_encryptkey_get", key);
    fake::device().set_number("port_device_syncswitch_get", 1);
    fake::device().set_number("port_device_mode_get", 1);
    fake::device().set_text("port_device_wanmac_get", "00:11:22:AA:BB:CC");
    fake::os().reset();
    g_tcp_flag = 1;
    g_heartbeat_recvflag = 0;
}

void run_started_threads() {
    for (const fake::StartedThread& thread : fake::os().threads())
        thread.entry(thread.argument);
}

void check_records() {
    for (const fake::Entry& entry : fake::journal().entries()) {
        check_entry<wifi_cfg>(entry, "vx_device_wifi(record)");
        check_entry<wifitimer_cfg>(entry, "vx_device_wifitimer(record)");
        check_entry<vx_upgrade>(entry, "vx_device_upgrade(record)");
    }
}

} // namespace fuzz
