// SPDX-License-Identifier: MIT
#include "unit_net/net_fixture.h"

#include "vxquilan/frame_tcp_recv.h"
#include "vxquilan/net_heartbeat.h"

namespace {

struct SampleText {
    const char* operation;
    const char* text;
};

constexpr SampleText kSampleTexts[] = {
    {"port_device_vendor_get", "Acme"},
    {"port_device_model_get", "GW-1"},
    {"port_device_hdversion_get", "hw 1.0"},
    {"port_device_swversion_get", "sw 2.3.4"},
    {"port_device_url_get", "http://gateway.example/"},
    {"port_device_wanmac_get", "00:11:22:AA:BB:CC"},
    {"port_device_version_get", "1.7"},
    {"port_device_ip_get", "192.0.2.7"},
};

} // namespace

NetTest::NetTest() {
    for (std::atomic<int>* const word :
         {&g_quilan_status, &g_tcp_flag, &g_tcp_thread, &g_heartbeat_thread, &g_heartbeat_recvflag})
        *word = 0;
    fake::device().reset();
    fake::log().reset();
    fake::os().reset();
    fake::frame().reset();
    for (const SampleText& sample : kSampleTexts)
        fake::device().set_text(sample.operation, sample.text);
    fake::device().set_number("port_device_mode_get", 0);
    fake::device().set_number("port_device_uplinktype_get", 0);
    fake::device().set_number("port_device_syncswitch_get", 1);
    fake::device().set_result("port_device_sequence_get", 7);
    fake::device().allow({"port_device_init_net"});
    fake::os().name_thread(frame_tcp_recv, "frame_tcp_recv");
    fake::os().name_thread(frame_heartbeat_thread, "frame_heartbeat_thread");
    fake::journal().clear();
}

NetTest::~NetTest() {
    EXPECT_THAT(fake::journal().complaints(), testing::IsEmpty());
    for (const fake::LogLine& line : fake::log().lines())
        EXPECT_EQ(line.module, "quilan") << line.text;
    // What the fakes still hold would call into a test that is over.
    fake::frame().reset();
    fake::os().reset();
    fake::device().reset();
}

Lines sent_texts() {
    Lines texts;
    for (const fake::SentFrame& frame : fake::frame().sent())
        texts.push_back(frame.text);
    return texts;
}

std::string ack_text(int sequence) {
    return "{\n\t\"type\":\t\"ack\",\n\t\"sequence\":\t" + std::to_string(sequence) +
           ",\n\t\"mac\":\t\"00:11:22:AA:BB:CC\"\n}";
}

Lines device_calls() {
    return fake::journal().calls({fake::Source::device});
}

std::vector<unsigned char> last_record(const std::string& operation) {
    std::vector<unsigned char> record;
    for (const fake::Entry& entry : fake::journal().entries()) {
        if (entry.call.rfind(operation + '(', 0) == 0)
            record = entry.record;
    }
    return record;
}
