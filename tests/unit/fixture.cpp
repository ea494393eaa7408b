// SPDX-License-Identifier: MIT
#include "unit/fixture.h"

#include <limits>

#include "vxquilan/app_heartbeat.h"

namespace {

struct SampleText {
    const char* operation;
    const char* text;
};

constexpr SampleText kSampleTexts[] = {
    {"port_areacode_get", ""},
    {"port_device_id_get", "dev-0001"},
    {"port_device_secret_get", "secret-0001"},
    {"port_device_code_get", "CODE-77"},
    {"port_device_refreshtoken_get", "refresh-0001"},
    {"port_device_mac_get", "00:11:22:AA:BB:CC"},
    {"port_device_sn_get", "SN123456789"},
    {"port_device_cuei_get", "CUEI-42"},
    {"port_device_vendor_get", "Acme"},
    {"port_device_model_get", "GW-1"},
    {"port_device_devtype_get", "gateway"},
    {"port_device_manu_get", "AcmeWorks"},
    {"port_device_prodid_get", "PROD-9"},
    {"port_device_hdversion_get", "hw 1.0"},
    {"port_device_swversion_get", "sw 2.3.4"},
};

constexpr int kNever = std::numeric_limits<int>::max();

void clear_state() {
    for (std::atomic<int>* const word :
         {&g_quilan_status, &g_coap_recvflag, &g_app_count, &g_heartbeat_app_thread,
          &g_activate_flag, &g_coap_refused, &g_run_flag, &g_coap_recv_thread})
        *word = 0;
}

} // namespace

DaemonTest::DaemonTest() {
    clear_state();
    fake::device().reset();
    fake::log().reset();
    fake::os().reset();
    fake::coap().reset();
    for (const SampleText& sample : kSampleTexts)
        fake::device().set_text(sample.operation, sample.text);
    fake::device().set_number("port_device_mode_get", 0);
    fake::device().set_number("port_device_prottype_get", 3);
    fake::device().set_number("port_device_timeout_get", kNever);
    fake::device().allow({"port_device_init"});
    fake::os().name_thread(frame_coap_recv, "frame_coap_recv");
    fake::os().name_thread(frame_app_heartbeat_thread, "frame_app_heartbeat_thread");
    fake::journal().clear();
}

DaemonTest::~DaemonTest() {
    EXPECT_THAT(fake::journal().complaints(), testing::IsEmpty());
    for (const fake::LogLine& line : fake::log().lines())
        EXPECT_EQ(line.module, "quilan") << line.text;
    // What the fakes still hold would call into a test that is over.
    fake::coap().reset();
    fake::os().reset();
    fake::device().reset();
}

std::vector<double> send_times() {
    std::vector<double> times;
    for (const fake::SentRequest& request : fake::coap().sent())
        times.push_back(static_cast<double>(request.at.count()) / 1e6);
    return times;
}

Texts sent_paths() {
    Texts paths;
    for (const fake::SentRequest& request : fake::coap().sent())
        paths.push_back(request.path);
    return paths;
}
