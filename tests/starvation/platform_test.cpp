// SPDX-License-Identifier: MIT
// The platform channel's exchanges, commands and queries, with memory running out anywhere.
#define OPENSSL_SUPPRESS_DEPRECATED // as in the key agreement

#include <utility>

#include <gtest/gtest.h>
#include <openssl/dh.h>

#include "aes_cbc/dh.h"
#include "gateway.h"
#include "limits.h"
#include "memory.h"
#include "protocol/platform_session.h"
#include "support/case_name.h"
#include "support/journal.h"
#include "threads.h"
#include "trials.h"
#include "unit_net/peer_codec.h"
#include "unit_net/socket_pair.h"
#include "vxquilan/frame_tcp_recv.h"

namespace starvation {

namespace {

/** The session key, as long as the device library gives none. */
std::string key() {
    return std::string(16, '\0');
}

/** One exchange or one message of the platform. */
struct Dialogue {
    const char* name;
    int (*act)(int sock, const char* message);
    const char* message; ///< what the platform says, first or in reply; empty for nothing
    bool encrypted;
    bool is_reply; ///< it is received by the exchange itself
};

void PrintTo(const Dialogue& dialogue, std::ostream* out) {
    *out << dialogue.name;
}

int ask_for_key_mode(int sock, const char*) {
    int mode = 0;
    const int result = profession_public_key(sock, &mode);
    return result != 0 ? result : mode;
}

int register_device(int sock, const char*) {
    return profession_device_reg(sock);
}

int send_heartbeat(int sock, const char*) {
    return profession_heartbeat(sock);
}

constexpr Dialogue kDialogues[] = {
    {"KeyMode", ask_for_key_mode, R"({"type":"keyngack","sequence":1,"keymode":"dh"})", false,
     true},
    {"Registration", register_device, R"({"type":"ack","sequence":3})", true, true},
    {"Heartbeat", send_heartbeat, "", true, false},
    {"Acknowledgement", frame_tcp_process, R"({"type":"ack","sequence":4})", true, false},
    {"Wifi", frame_tcp_process,
     R"({"type":"cfg","sequence":5,"set":{"wifi":[{"radio":{"mode":"2.4G","channel":6},)"
     R"("ap":[{"apidx":1,"ssid":"Attic","key":"under the mat","auth":"wpa2psk",)"
     R"("encrypt":"aes","enable":"yes"}]}]}})",
     true, false},
    {"WifiTimer", frame_tcp_process,
     R"({"type":"cfg","sequence":6,"set":{"Wi-Fiswitch":{"status":"ON"},)"
     R"("ledswitch":{"status":"OFF"},)"
     R"("Wi-Fitimer":[{"weekday":"1","time":"22:00","enable":"1"}]}})",
     true, false},
    {"Wps", frame_tcp_process, R"({"type":"cfg","sequence":7,"set":{"wpsswitch":{"status":"ON"}}})",
     true, false},
    {"Upgrade", frame_tcp_process,
     R"({"type":"cfg","sequence":8,"set":{"upgrade":{"downurl":"http://host.example/image",)"
     R"("isreboot":"1"}}})",
     true, false},
    {"Status", frame_tcp_process,
     R"({"type":"get_status","sequence":9,"get":[{"name":"Wi-Fi"},{"name":"Wi-Fiswitch"},)"
     R"({"name":"ledswitch"},{"name":"Wi-Fitimer"}]})",
     true, false},
    {"SomethingElse", frame_tcp_process, R"({"type":"something","sequence":10})", true, false},
};

/** The texts in a stream of the daemon's frames. */
std::string texts_in(std::string stream, bool encrypted) {
    std::string texts;
    for (std::string frame; !(frame = peer::take_frame(stream)).empty();) {
        texts += encrypted ? peer::text_of_frame(key(), frame) : frame.substr(peer::kFrameHeader);
        texts += '\n';
    }
    return texts + stream;
}

class Talking : public Course {
public:
    explicit Talking(const Dialogue& dialogue) : dialogue_(dialogue) {}

    void prepare() override {
        pair_ = peer::local_pair();
        if (dialogue_.is_reply)
            peer::write_all(pair_.platform.get(),
                            dialogue_.encrypted ? peer::encrypted_frame(key(), dialogue_.message)
                                                : peer::frame(dialogue_.message));
    }
    void go() override { result_ = dialogue_.act(pair_.daemon.get(), dialogue_.message); }
    std::string outcome() override {
        const std::string sent =
            texts_in(peer::read_available(pair_.platform.get()), dialogue_.encrypted);
        if (!known_) {
            ordinary_ = sent;
            known_ = true;
        }
        EXPECT_TRUE(sent.empty() || sent == ordinary_) << "half a message: " << sent;
        std::string text = "result " + std::to_string(result_) + '\n' + sent;
        for (const std::string& deed : fake::journal().deeds())
            text += deed + '\n';
        return text;
    }
    void finish() override { pair_ = {}; }

private:
    const Dialogue& dialogue_;
    peer::SocketPair pair_;
    int result_ = 0;
    bool known_ = false;
    std::string ordinary_;
};

class PlatformMemory : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(heap_is_ours());
        equip_gateway();
        set_threads(Threads::at_once);
    }
    void TearDown() override { set_threads(Threads::real); }
};

class PlatformChannel : public PlatformMemory, public testing::WithParamInterface<Dialogue> {};

INSTANTIATE_TEST_SUITE_P(All, PlatformChannel, testing::ValuesIn(kDialogues), case_name<Dialogue>);

TEST_P(PlatformChannel, SurvivesWithoutMemory) {
    Talking course(GetParam());
    expect_survived("platform channel", course);
}

/** The key agreement, whose numbers are others each time. */
class Agreeing : public Course {
public:
    explicit Agreeing(bool with_search) : with_search_(with_search) {}

    void prepare() override {
        spare_primes(!with_search_);
        pair_ = peer::local_pair();
        // The peer's number is 2: good enough for any prime.
        peer::write_all(pair_.platform.get(),
                        peer::frame(R"({"type":"dh","sequence":2,"data":{"dh_key":"Ag=="}})"));
    }
    void go() override { result_ = profession_dh_public_key(pair_.daemon.get()); }
    std::string outcome() override {
        const std::string sent = texts_in(peer::read_available(pair_.platform.get()), false);
        std::string text =
            "result " + std::to_string(result_) + ", sent " + (sent.empty() ? "nothing" : "a key");
        EXPECT_EQ(sent.find("\"\""), std::string::npos) << "a number is missing: " << sent;
        bool stored = false;
        for (const fake::Entry& entry : fake::journal().entries())
            stored = stored || entry.call == "port_device_encryptkey_set(key)";
        return text + (stored ? ", a key stored" : ", no key stored");
    }
    void finish() override {
        pair_ = {};
        spare_primes(false);
        // An agreement without a reply waits for the next one, which replaces it.
        DH_free(std::exchange(g_dh, nullptr));
    }
    [[nodiscard]] bool is_steady() const override { return false; }
    [[nodiscard]] long most_requests() const override {
        return with_search_ ? kOfSearch : kForGood;
    }

private:
    // The search is one loop: what comes later in it has come before.
    static constexpr long kOfSearch = 100;

    bool with_search_;
    peer::SocketPair pair_;
    int result_ = 0;
};

class KeyAgreement : public PlatformMemory {};

TEST_F(KeyAgreement, SurvivesWithoutMemory) {
    Agreeing course(false);
    expect_survived("key agreement", course);
}

TEST_F(KeyAgreement, SearchForAPrimeSurvivesWithoutMemory) {
    Agreeing course(true);
    expect_survived("key agreement, search for a prime", course);
}

} // namespace

} // namespace starvation
