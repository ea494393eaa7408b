// SPDX-License-Identifier: MIT
#include "appjsonapi/app_provisioning.h"

#include <span>

#include "appjsonapi/device_information.h"
#include "log/log.h"
#include "message/device_facts.h"
#include "message/document.h"
#include "message/parse.h"
#include <vxquilan/device.h>

namespace {

using vxq::constant_fact;
using vxq::DeviceFact;
using vxq::JsonText;
using vxq::JsonTree;
using vxq::text_fact;

constexpr DeviceFact kRegister[] = {
    text_fact<32>("mac", port_device_mac_get),     text_fact<128>("sn", port_device_sn_get),
    text_fact<256>("cuei", port_device_cuei_get),  text_fact<32>("vendor", port_device_vendor_get),
    text_fact<16>("model", port_device_model_get), constant_fact("from", "1"),
};

constexpr DeviceFact kActivate[] = {
    text_fact<32>("code", port_device_code_get),
};

constexpr DeviceFact kLogin[] = {
    text_fact<128>("devId", port_device_id_get),
    text_fact<128>("secret", port_device_secret_get),
};

constexpr DeviceFact kRefresh[] = {
    text_fact<128>("refreshToken", port_device_refreshtoken_get),
};

JsonText build(std::span<const DeviceFact> facts) {
    const JsonTree document(cJSON_CreateObject());
    return finish_document(document, add_device_facts(document.get(), facts));
}

/** One key that a successful reply must carry, and where it is kept. */
struct Credential {
    const char* key;
    const char* missing; ///< the log line when the reply lacks it
    int (*store_text)(const char*);
    int (*store_number)(int);
};

constexpr Credential kActivateReply[] = {
    {"devId", "not devId\n", port_device_id_set, nullptr},
    {"secret", "not secret\n", port_device_secret_set, nullptr},
};

constexpr Credential kLoginReply[] = {
    {"accessToken", "not accessToken\n", port_device_accesstoken_set, nullptr},
    {"refreshToken", "not refreshToken\n", port_device_refreshtoken_set, nullptr},
    {"timeOut", "not timeOut\n", nullptr, port_device_timeout_set},
};

// The texts name the keys of an activation; operators' log filters know them so.
constexpr Credential kRefreshReply[] = {
    {"accessToken", "not devId\n", port_device_accesstoken_set, nullptr},
    {"refreshToken", "not secret\n", port_device_refreshtoken_set, nullptr},
    {"timeOut", "not secret\n", nullptr, port_device_timeout_set},
};

/** Parses a reply and reads its "errcode"; an empty tree when the reply has none. */
JsonTree open_reply(const char* text, int& errcode) {
    errcode = -1;
    JsonTree reply = vxq::parse_message(text);
    if (!reply)
        return nullptr;
    const cJSON* const member = cJSON_GetObjectItem(reply.get(), "errcode");
    if (member == nullptr) {
        vxq::refuse("not errcode\n");
        return nullptr;
    }
    errcode = vxq::json_int(member);
    return reply;
}

/** Stores one credential; false when the reply does not carry it in a form that can be stored. */
bool store(const Credential& credential, const cJSON* member) {
    if (credential.store_number != nullptr) {
        if (member == nullptr)
            return false;
        credential.store_number(vxq::json_int(member));
        return true;
    }
    // A member that is no string has no text to hand to the device library.
    const char* const text = vxq::json_text(member);
    if (text == nullptr)
        return false;
    credential.store_text(text);
    return true;
}

int parse_credentials(const char* text, std::span<const Credential> credentials) {
    int errcode;
    const JsonTree reply = open_reply(text, errcode);
    if (!reply || errcode != 0)
        return errcode;
    for (const Credential& credential : credentials) {
        if (!store(credential, cJSON_GetObjectItem(reply.get(), credential.key)))
            return vxq::refuse(credential.missing);
    }
    return 0;
}

} // namespace

JsonText app_sys_register() {
    return build(kRegister);
}

JsonText app_sys_activate() {
    const JsonTree document(cJSON_CreateObject());
    return finish_document(document, add_device_facts(document.get(), kActivate) &&
                                         vxq::add_device_information(document.get()));
}

JsonText app_sys_login() {
    return build(kLogin);
}

JsonText app_sys_refresh() {
    return build(kRefresh);
}

int app_sys_errcode_parse(const char* text) {
    int errcode;
    if (open_reply(text, errcode))
        QUILAN_LOG(VX_LOG_PROGRESS, "errcode:%d\n", errcode);
    return errcode;
}

int app_sys_activate_parse(const char* text) {
    return parse_credentials(text, kActivateReply);
}

int app_sys_login_parse(const char* text) {
    return parse_credentials(text, kLoginReply);
}

int app_sys_refresh_parse(const char* text) {
    return parse_credentials(text, kRefreshReply);
}
