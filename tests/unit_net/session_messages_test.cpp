// SPDX-License-Identifier: MIT
// The messages that open a session and keep it alive, and the classification of what comes in.
#include <array>

#include <cJSON.h>

#include "aes_cbc/dh.h"
#include "tnjsonapi/tn_session.h"
#include "unit_net/net_fixture.h"
#include "unit_net/peer_codec.h"
#include "unit_net/peer_key.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string text_of(const vxq::JsonText& text) {
    return text ? text.get() : "(null)";
}

/** Expects a builder to log its text, and nothing else. */
void expect_logged(const std::string& text) {
    EXPECT_THAT(log_lines(), ElementsAre("6 " + text + "\n"));
}

using SessionMessage = NetTest;

} // namespace

TEST_F(SessionMessage, KeyRequest) {
    const std::string text = text_of(tn_public_key());
    EXPECT_EQ(text, "{\n"
                    "\t\"type\":\t\"keyngreq\",\n"
                    "\t\"sequence\":\t7,\n"
                    "\t\"mac\":\t\"00:11:22:AA:BB:CC\",\n"
                    "\t\"version\":\t\"1.7\",\n"
                    "\t\"keymodelist\":\t[{\n"
                    "\t\t\t\"keymode\":\t\"dh\"\n"
                    "\t\t}]\n"
                    "}");
    expect_logged(text);
}

TEST_F(SessionMessage, PublicKey) {
    testing::internal::CaptureStdout();
    const std::string text = text_of(tn_dh_public_key());
    testing::internal::GetCapturedStdout();
    const std::unique_ptr<cJSON, void (*)(cJSON*)> document(cJSON_Parse(text.c_str()),
                                                            cJSON_Delete);
    const cJSON* const data = cJSON_GetObjectItem(document.get(), "data");
    const auto number = [data](const char* key) {
        const cJSON* const member = cJSON_GetObjectItem(data, key);
        return member != nullptr ? std::string(member->valuestring) : "(missing)";
    };
    EXPECT_EQ(text, "{\n"
                    "\t\"type\":\t\"dh\",\n"
                    "\t\"sequence\":\t7,\n"
                    "\t\"mac\":\t\"00:11:22:AA:BB:CC\",\n"
                    "\t\"data\":\t{\n"
                    "\t\t\"dh_key\":\t\"" +
                        number("dh_key") + "\",\n\t\t\"dh_p\":\t\"" + number("dh_p") +
                        "\",\n\t\t\"dh_g\":\t\"Ag==\"\n\t}\n}");
    EXPECT_EQ(peer::from_base64(number("dh_p")).size(), 16U);
    EXPECT_NE(g_dh, nullptr);
    testing::internal::CaptureStdout();
    unsigned char key[16];
    const peer::KeyPeer peer(number("dh_p"), number("dh_g"), number("dh_key"));
    EXPECT_EQ(dh_share_key(peer.public_key().c_str(), key), 0);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(std::string(reinterpret_cast<char*>(key), 16), peer.key());
    expect_logged(text);
}

TEST_F(SessionMessage, Registration) {
    const std::string text = text_of(tn_device_reg());
    EXPECT_EQ(text, "{\n"
                    "\t\"type\":\t\"dev_reg\",\n"
                    "\t\"sequence\":\t7,\n"
                    "\t\"mac\":\t\"00:11:22:AA:BB:CC\",\n"
                    "\t\"data\":\t{\n"
                    "\t\t\"vendor\":\t\"Acme\",\n"
                    "\t\t\"model\":\t\"GW-1\",\n"
                    "\t\t\"swversion\":\t\"sw 2.3.4\",\n"
                    "\t\t\"hdversion\":\t\"hw 1.0\",\n"
                    "\t\t\"url\":\t\"http://gateway.example/\",\n"
                    "\t\t\"wireless\":\t\"no\"\n"
                    "\t}\n"
                    "}");
    expect_logged(text);
}

TEST_F(SessionMessage, OnlyUplinkTypeOneIsWireless) {
    for (const int type : {1, 0, 2, -1}) {
        fake::device().set_number("port_device_uplinktype_get", type);
        const std::string expected =
            std::string("\"wireless\":\t\"") + (type == 1 ? "yes" : "no") + '"';
        EXPECT_THAT(text_of(tn_device_reg()), testing::HasSubstr(expected)) << type;
    }
}

TEST_F(SessionMessage, FullBuffersAreSentWhole) {
    struct Case {
        const char* operation;
        std::size_t size;
    };
    for (const Case& row :
         {Case{"port_device_vendor_get", 32}, Case{"port_device_model_get", 16},
          Case{"port_device_swversion_get", 64}, Case{"port_device_hdversion_get", 64},
          Case{"port_device_url_get", 256}, Case{"port_device_wanmac_get", 32}}) {
        const std::string text(row.size - 1, 'v');
        fake::device().set_text(row.operation, text);
        EXPECT_THAT(text_of(tn_device_reg()), testing::HasSubstr("\"" + text + "\""))
            << row.operation;
    }
    fake::device().set_text("port_device_version_get", std::string(127, 'v'));
    EXPECT_THAT(text_of(tn_public_key()), testing::HasSubstr("\"" + std::string(127, 'v') + "\""));
}

TEST_F(SessionMessage, Heartbeat) {
    const std::string text = text_of(tn_device_heartbeat());
    EXPECT_EQ(text, "{\n\t\"type\":\t\"keepalive\",\n\t\"sequence\":\t7,\n"
                    "\t\"mac\":\t\"00:11:22:AA:BB:CC\"\n}");
    expect_logged(text);
}

TEST_F(SessionMessage, AcknowledgementEchoesTheNumber) {
    for (const int sequence : {0, 41, -3, 2'147'483'647}) {
        fake::log().reset();
        const std::string text = text_of(tn_ack_resp(sequence));
        EXPECT_EQ(text, ack_text(sequence));
        expect_logged(text);
    }
}

TEST_F(SessionMessage, WithoutMemoryThereIsNoMessage) {
    JsonMemory memory;
    bool refused = true;
    for (long request = 0; refused; ++request) {
        memory.refuse_from(request);
        const bool built = tn_public_key() != nullptr && tn_device_reg() != nullptr &&
                           tn_device_heartbeat() != nullptr && tn_ack_resp(1) != nullptr;
        refused = memory.refused();
        EXPECT_EQ(built, !refused) << request;
        EXPECT_EQ(memory.in_use(), 0) << request;
    }
}

namespace {

struct ParseCase {
    const char* text;
    const char* line; ///< with its level
};

class KeyModeReply : public NetTest {
protected:
    int key_mode = 4711;
};

} // namespace

TEST_F(KeyModeReply, KnownModes) {
    EXPECT_EQ(tn_public_key_parse("{\"keymode\":\"dh\"}", &key_mode), 0);
    EXPECT_EQ(key_mode, 100);
    EXPECT_EQ(tn_public_key_parse("{\"sequence\":1,\"keymode\":\"ecdh\"}", &key_mode), 0);
    EXPECT_EQ(key_mode, 101);
    EXPECT_THAT(log_lines(), ElementsAre("6 keymode:100\n", "6 keymode:101\n"));
}

TEST_F(KeyModeReply, Refused) {
    const ParseCase cases[] = {
        {"{\"keymode\":\"rsa\"}", "4 not support keymode\n"},
        {"{\"keymode\":\"DH\"}", "4 not support keymode\n"},
        {"{\"keymode\":100}", "4 not support keymode\n"},
        {"{\"keymode\":null}", "4 not support keymode\n"},
        {"{}", "4 not keymode\n"},
        {"[]", "4 not keymode\n"},
        {"{\"data\":{\"keymode\":\"dh\"}}", "4 not keymode\n"},
        {"", "4 not json\n"},
        {"{\"keymode\":", "4 not json\n"},
        {nullptr, "4 null\n"},
    };
    for (const ParseCase& row : cases) {
        fake::log().reset();
        EXPECT_EQ(tn_public_key_parse(row.text, &key_mode), -1);
        EXPECT_EQ(key_mode, 4711);
        EXPECT_THAT(log_lines(), ElementsAre(row.line));
    }
}

namespace {

class KeyReply : public NetTest {
protected:
    KeyReply() { fake::device().allow({"port_device_encryptkey_set"}); }
    std::string stored() const {
        const std::vector<unsigned char> record = last_record("port_device_encryptkey_set");
        return {record.begin(), record.end()};
    }
    int parse(const std::string& text) {
        testing::internal::CaptureStdout();
        const int result = tn_dh_public_key_parse(text.c_str());
        testing::internal::GetCapturedStdout();
        return result;
    }
    static std::string reply(const std::string& number) {
        return "{\"type\":\"dh\",\"data\":{\"dh_key\":\"" + number + "\"}}";
    }
    peer::KeyPeer start() {
        char number[3][kNumberText] = {};
        testing::internal::CaptureStdout();
        EXPECT_EQ(dh_new_key(number[0], number[1], number[2]), 0);
        testing::internal::GetCapturedStdout();
        return {number[1], number[2], number[0]};
    }
};

} // namespace

TEST_F(KeyReply, TheKeyIsStoredWithZerosBehindIt) {
    const peer::KeyPeer peer = start();
    EXPECT_EQ(parse(reply(peer.public_key())), 0);
    EXPECT_EQ(stored(), peer.key() + std::string(112, '\0'));
    EXPECT_EQ(g_dh, nullptr);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(KeyReply, AFailedAgreementStoresZerosAndSucceeds) {
    for (const char* const number : {"abc", "AQ==", ""}) {
        start();
        fake::journal().clear();
        EXPECT_EQ(parse(reply(number)), 0) << number;
        EXPECT_EQ(stored(), std::string(128, '\0'));
        EXPECT_EQ(g_dh, nullptr);
    }
}

TEST_F(KeyReply, Refused) {
    const ParseCase cases[] = {
        {"{}", "4 not data\n"},
        {"{\"dh_key\":\"Ag==\"}", "4 not data\n"},
        {"{\"data\":{}}", "4 not dh_key\n"},
        {"{\"data\":\"text\"}", "4 not dh_key\n"},
        {"{\"data\":{\"dh_key\":17}}", "4 not dh_key\n"},
        {"no json", "4 not json\n"},
        {nullptr, "4 null\n"},
    };
    for (const ParseCase& row : cases) {
        fake::log().reset();
        EXPECT_EQ(tn_dh_public_key_parse(row.text), -1);
        EXPECT_THAT(log_lines(), ElementsAre(row.line));
    }
    EXPECT_THAT(device_calls(), IsEmpty());
}

TEST_F(SessionMessage, RegistrationReply) {
    EXPECT_EQ(tn_device_ack("{\"type\":\"ack\"}"), 0);
    EXPECT_THAT(log_lines(), IsEmpty());
    const ParseCase cases[] = {
        {"{\"type\":\"ACK\"}", "4 tn_device_ack #:not ack\n"},
        {"{\"type\":\"nack\"}", "4 tn_device_ack #:not ack\n"},
        {"{\"type\":1}", "4 tn_device_ack #:not ack\n"},
        {"{\"sequence\":1}", "4 not type\n"},
        {"ack", "4 not json\n"},
        {nullptr, "4 null\n"},
    };
    for (const ParseCase& row : cases) {
        fake::log().reset();
        EXPECT_EQ(tn_device_ack(row.text), -1);
        EXPECT_THAT(log_lines(), ElementsAre(row.line));
    }
}

namespace {

struct KindCase {
    const char* text;
    int kind;
    int sequence;
};

void expect_kinds(std::initializer_list<KindCase> cases) {
    for (const KindCase& row : cases) {
        int kind = 4711;
        int sequence = 4711;
        EXPECT_EQ(tn_typemethod_tcp_parse(row.text, &kind, &sequence), 0) << row.text;
        EXPECT_EQ(kind, row.kind) << row.text;
        EXPECT_EQ(sequence, row.sequence) << row.text;
    }
}

} // namespace

TEST_F(SessionMessage, MessageKinds) {
    expect_kinds({
        {"{\"type\":\"ack\",\"sequence\":5}", 10, 5},
        {"{\"type\":\"ACK\",\"sequence\":5}", 10, 5},
        {"{\"type\":\"get_status\",\"sequence\":6}", 13, 6},
        {"{\"type\":\"Get_Status\",\"sequence\":-1}", 13, -1},
        {"{\"type\":\"cfg\",\"sequence\":1,\"set\":{\"wifi\":[]}}", 11, 1},
        {"{\"type\":\"CFG\",\"sequence\":1,\"set\":{\"wifi\":null}}", 11, 1},
        {"{\"type\":\"cfg\",\"sequence\":1,\"set\":{\"Wi-Fiswitch\":{}}}", 12, 1},
        {"{\"type\":\"cfg\",\"sequence\":1,\"set\":{\"wpsswitch\":{}}}", 14, 1},
        {"{\"type\":\"cfg\",\"sequence\":1,\"set\":{\"upgrade\":{}}}", 15, 1},
        {"{\"type\":\"cfg\",\"sequence\":1,\"set\":{\"ledswitch\":{}}}", 0, 1},
        {"{\"type\":\"cfg\",\"sequence\":1,\"set\":{}}", 0, 1},
        {"{\"type\":\"reboot\",\"sequence\":1}", 16, 1},
        {"{\"type\":\"\",\"sequence\":1}", 16, 1},
        {"{\"type\":\"ack\",\"sequence\":\"5\"}", 10, 0},
        {"{\"type\":\"ack\",\"sequence\":2147483648}", 10, 2'147'483'647},
    });
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(SessionMessage, OfSeveralSettingsTheFirstOfTheTableCounts) {
    expect_kinds({
        {"{\"type\":\"cfg\",\"sequence\":1,\"set\":{\"upgrade\":{},\"wifi\":[]}}", 11, 1},
        {"{\"type\":\"cfg\",\"sequence\":1,\"set\":{\"wifi\":[],\"upgrade\":{}}}", 11, 1},
        {"{\"type\":\"cfg\",\"sequence\":1,\"set\":{\"wpsswitch\":{},\"Wi-Fiswitch\":{}}}", 12, 1},
        {"{\"type\":\"cfg\",\"sequence\":1,\"set\":{\"upgrade\":{},\"wpsswitch\":{}}}", 14, 1},
    });
}

TEST_F(SessionMessage, WhatCannotBeClassified) {
    const ParseCase cases[] = {
        {"{\"type\":\"ack\"}", nullptr},
        {"{\"sequence\":1}", nullptr},
        {"{\"sequence\":1,\"type\":10}", nullptr},
        {"{\"sequence\":1,\"type\":\"cfg\"}", nullptr},
        {"{\"sequence\":1,\"type\":\"cfg\",\"set\":\"wifi\"}", nullptr},
        {"{\"sequence\":1,\"type\":\"cfg\",\"set\":[]}", nullptr},
        {"[]", nullptr},
        {"", "4 not json\n"},
        {"{\"sequence\":1,\"type\":\"ack\"", "4 not json\n"},
        {nullptr, "4 null\n"},
    };
    for (const ParseCase& row : cases) {
        fake::log().reset();
        int kind = 4711;
        int sequence = 4711;
        EXPECT_EQ(tn_typemethod_tcp_parse(row.text, &kind, &sequence), -1);
        EXPECT_EQ(kind, 4711);
        EXPECT_EQ(log_lines(), row.line != nullptr ? Lines{row.line} : Lines{});
    }
}
