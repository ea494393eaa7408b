// SPDX-License-Identifier: MIT
#include "tnjsonapi/tn_session.h"

#include <cstring>
#include <strings.h>

#include "aes_cbc/dh.h"
#include "log/log.h"
#include "message/device_facts.h"
#include "message/document.h"
#include "message/parse.h"
#include "tnjsonapi/named_code.h"
#include "tnjsonapi/tn_message.h"
#include <vxquilan/device.h>

namespace {

using vxq::constant_fact;
using vxq::DeviceFact;
using vxq::json_add;
using vxq::JsonText;
using vxq::JsonTree;
using vxq::NamedCode;
using vxq::text_fact;

constexpr DeviceFact kVersion[] = {
    text_fact<128>("version", port_device_version_get),
};

constexpr DeviceFact kOfferedKeyMode[] = {
    constant_fact("keymode", "dh"),
};

constexpr DeviceFact kRegistration[] = {
    text_fact<32>("vendor", port_device_vendor_get),
    text_fact<16>("model", port_device_model_get),
    text_fact<64>("swversion", port_device_swversion_get),
    text_fact<64>("hdversion", port_device_hdversion_get),
    text_fact<256>("url", port_device_url_get),
};

constexpr int kWirelessUplink = 1;
constexpr std::size_t kStoredKey = 128;

constexpr NamedCode kKeyModes[] = {
    {"dh", kKeyModeDh},
    {"ecdh", kKeyModeEcdh},
};

constexpr char kSettingType[] = "cfg";

constexpr NamedCode kMessageTypes[] = {
    {"ack", kMessageAck},
    {"get_status", kMessageGetStatus},
};

// In the order in which a setting's members are looked for.
constexpr NamedCode kSettings[] = {
    {"wifi", kMessageWifi},
    {"Wi-Fiswitch", kMessageWifiTimer},
    {"wpsswitch", kMessageWpsSwitch},
    {"upgrade", kMessageUpgrade},
};

JsonTree new_own_message(const char* type) {
    return vxq::new_message(type, port_device_sequence_get());
}

bool add_text(cJSON* object, const char* key, const char* text) {
    return json_add(object, key, cJSON_CreateString(text)) != nullptr;
}

const char* uplink_is_wireless() {
    int type = 0;
    port_device_uplinktype_get(&type);
    return type == kWirelessUplink ? "yes" : "no";
}

int classify_setting(const cJSON* set) {
    for (const NamedCode& setting : kSettings) {
        if (cJSON_GetObjectItem(set, setting.name) != nullptr)
            return setting.code;
    }
    return kMessageOtherSetting;
}

int classify_type(const char* type) {
    const NamedCode* const known = vxq::find_name(kMessageTypes, type, strcasecmp);
    return known != nullptr ? known->code : kMessageOther;
}

} // namespace

JsonText tn_public_key() {
    const JsonTree message = new_own_message("keyngreq");
    bool complete = vxq::add_device_facts(message.get(), kVersion);
    cJSON* const modes = json_add(message.get(), "keymodelist", cJSON_CreateArray());
    cJSON* const mode = vxq::json_append(modes, cJSON_CreateObject());
    complete = complete && mode != nullptr && vxq::add_device_facts(mode, kOfferedKeyMode);
    return finish_document(message, complete);
}

JsonText tn_dh_public_key() {
    char public_key[kNumberText] = {};
    char prime[kNumberText] = {};
    char generator[kNumberText] = {};
    if (dh_new_key(public_key, prime, generator) != 0)
        return nullptr;
    const JsonTree message = new_own_message("dh");
    cJSON* const data = json_add(message.get(), "data", cJSON_CreateObject());
    return finish_document(message, data != nullptr && add_text(data, "dh_key", public_key) &&
                                        add_text(data, "dh_p", prime) &&
                                        add_text(data, "dh_g", generator));
}

JsonText tn_device_reg() {
    const JsonTree message = new_own_message("dev_reg");
    cJSON* const data = json_add(message.get(), "data", cJSON_CreateObject());
    return finish_document(message, data != nullptr && add_device_facts(data, kRegistration) &&
                                        add_text(data, "wireless", uplink_is_wireless()));
}

JsonText tn_device_heartbeat() {
    return finish_document(new_own_message("keepalive"), true);
}

JsonText tn_ack_resp(int sequence) {
    return finish_document(vxq::new_message("ack", sequence), true);
}

int tn_public_key_parse(const char* text, int* key_mode) {
    const JsonTree message = vxq::parse_message(text);
    if (!message)
        return -1;
    const cJSON* const member = cJSON_GetObjectItem(message.get(), "keymode");
    if (member == nullptr)
        return vxq::refuse("not keymode\n");
    const char* const name = vxq::json_text(member);
    const NamedCode* const mode =
        name != nullptr ? vxq::find_name(kKeyModes, name, std::strcmp) : nullptr;
    if (mode == nullptr)
        return vxq::refuse("not support keymode\n");
    *key_mode = mode->code;
    QUILAN_LOG(VX_LOG_PROGRESS, "keymode:%d\n", *key_mode);
    return 0;
}

int tn_dh_public_key_parse(const char* text) {
    const JsonTree message = vxq::parse_message(text);
    if (!message)
        return -1;
    const cJSON* const data = cJSON_GetObjectItem(message.get(), "data");
    if (data == nullptr)
        return vxq::refuse("not data\n");
    const char* const peer_key = vxq::json_text(cJSON_GetObjectItem(data, "dh_key"));
    if (peer_key == nullptr)
        return vxq::refuse("not dh_key\n");
    unsigned char key[kStoredKey] = {};
    dh_share_key(peer_key, key);
    port_device_encryptkey_set(key);
    return 0;
}

int tn_device_ack(const char* text) {
    const JsonTree message = vxq::parse_message(text);
    if (!message)
        return -1;
    const cJSON* const member = cJSON_GetObjectItem(message.get(), "type");
    if (member == nullptr)
        return vxq::refuse("not type\n");
    const char* const type = vxq::json_text(member);
    if (type != nullptr && std::strcmp(type, "ack") == 0)
        return 0;
    QUILAN_LOG(VX_LOG_UNUSUAL, "%s %d:not ack\n", "tn_device_ack", __LINE__);
    return -1;
}

int tn_typemethod_tcp_parse(const char* text, int* kind, int* sequence) {
    const JsonTree message = vxq::parse_message(text);
    if (!message)
        return -1;
    const cJSON* const number = cJSON_GetObjectItem(message.get(), "sequence");
    const char* const type = vxq::json_text(cJSON_GetObjectItem(message.get(), "type"));
    if (number == nullptr || type == nullptr)
        return -1;
    *sequence = vxq::json_int(number);
    if (strcasecmp(type, kSettingType) != 0) {
        *kind = classify_type(type);
        return 0;
    }
    const cJSON* const set = cJSON_GetObjectItem(message.get(), "set");
    if (cJSON_IsObject(set) == 0)
        return -1;
    *kind = classify_setting(set);
    return 0;
}
