// SPDX-License-Identifier: MIT
// The ceilings of the app channel: a program of the daemon's role on libcoap that does nothing
// else.
//
//   bench_bare ready   answers a text that it has made once
//   bench_bare plain   asks the device library, makes the text with plain cJSON calls, and logs

#include <coap3/coap.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <netinet/in.h>
#include <string>

#include "documents/handwritten.h"
#include "gateway/gateway.h"
#include <vxquilan/device.h>
#include <vxquilan/log.h>

namespace {

struct Resource {
    const char* path;
    coap_request_t method;
    char* (*write)();
};

const Resource kResources[] = {
    {".sys/gateway/ntwk/wan", COAP_REQUEST_GET, bench::write_wan},
    {".sys/gateway/system/deviceinfo", COAP_REQUEST_GET, bench::write_deviceinfo},
    {".sys/gateway/system/HostInfo", COAP_REQUEST_GET, bench::write_hostinfo},
    {".sys/gateway/app/qosclass_host", COAP_REQUEST_POST, nullptr},
};

constexpr std::uint16_t kEchoed[] = {2050, 2051, 2052};
constexpr std::uint16_t kCritical[] = {2049, 2051}; ///< odd numbers, refused unless they are known

bool s_ready = false;

void answer(coap_session_t* session, const coap_pdu_t* request, const char* text,
            std::size_t length) {
    coap_pdu_t* const message =
        coap_pdu_init(COAP_MESSAGE_NON, COAP_RESPONSE_CODE_CONTENT, coap_pdu_get_mid(request),
                      coap_session_max_pdu_size(session));
    char token[129] = {};
    port_device_accesstoken_get(token);
    coap_add_option(message, 2049, std::strlen(token),
                    reinterpret_cast<const std::uint8_t*>(token));
    for (const std::uint16_t number : kEchoed) {
        coap_opt_iterator_t iterator;
        const coap_opt_t* const option = coap_check_option(request, number, &iterator);
        if (option != nullptr)
            coap_add_option(message, number, coap_opt_length(option), coap_opt_value(option));
    }
    coap_add_data(message, length, reinterpret_cast<const std::uint8_t*>(text));
    coap_send(session, message);
}

char* change_settings(const coap_pdu_t* request) {
    std::size_t length = 0;
    const std::uint8_t* data = nullptr;
    coap_get_data(request, &length, &data);
    vx_qos_host record{};
    int result = bench::read_qos_host({reinterpret_cast<const char*>(data), length}, record);
    if (result == 0)
        result = vx_device_qosclasshost(&record);
    return bench::write_errcode(result, "");
}

/** The text for a resource, made once for each size of the gateway. */
const std::string& ready_text(const Resource& resource) {
    static std::map<std::pair<const Resource*, int>, std::string> texts;
    std::string& text = texts[{&resource, bench_gateway_size()->hosts}];
    if (text.empty()) {
        char* const written =
            resource.write != nullptr ? resource.write() : bench::write_errcode(0, "");
        text = written;
        cJSON_free(written);
    }
    return text;
}

void handle_request(coap_resource_t* served, coap_session_t* session, const coap_pdu_t* request,
                    const coap_string_t*, coap_pdu_t*) {
    const auto& resource = *static_cast<const Resource*>(coap_resource_get_userdata(served));
    if (s_ready) {
        const std::string& text = ready_text(resource);
        answer(session, request, text.data(), text.size());
        return;
    }
    vx_mod_log_printf("quilan", VX_LOG_PROGRESS, "%s\n", resource.path);
    char* const text = resource.write != nullptr ? resource.write() : change_settings(request);
    answer(session, request, text, std::strlen(text));
    cJSON_free(text);
}

void serve(coap_context_t* context) {
    for (const Resource& row : kResources) {
        coap_resource_t* const resource = coap_resource_init(coap_make_str_const(row.path), 0);
        coap_resource_set_userdata(resource, const_cast<Resource*>(&row));
        coap_register_request_handler(resource, row.method, handle_request);
        coap_add_resource(context, resource);
    }
}

coap_session_t* connect(coap_context_t* context) {
    char host[65] = {};
    int port = 0;
    int type = 0;
    port_device_app_ip(host, &port);
    port_device_coap_type(&type);
    coap_address_t address;
    coap_address_init(&address);
    address.addr.sin.sin_family = AF_INET;
    address.addr.sin.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.addr.sin.sin_port = htons(static_cast<std::uint16_t>(port));
    if (type != 1)
        return coap_new_client_session(context, nullptr, &address, COAP_PROTO_TCP);
    static char server_name[] = "localhost";
    static coap_dtls_pki_t pki{};
    pki.version = COAP_DTLS_PKI_SETUP_VERSION;
    pki.client_sni = server_name;
    pki.pki_key.key_type = COAP_PKI_KEY_PEM;
    return coap_new_client_session_pki(context, nullptr, &address, COAP_PROTO_TLS, &pki);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2 ||
        (std::strcmp(arguments[1], "ready") != 0 && std::strcmp(arguments[1], "plain") != 0)) {
        std::fputs("usage: bench_bare ready|plain\n", stderr);
        return 2;
    }
    s_ready = std::strcmp(arguments[1], "ready") == 0;
    port_device_accesstoken_set("7d793037a0760186574b0282f2f435e7");
    coap_startup();
    coap_set_log_level(static_cast<coap_log_t>(0));
    coap_context_t* const context = coap_new_context(nullptr);
    for (const std::uint16_t known : kCritical)
        coap_register_option(context, known);
    serve(context);
    if (connect(context) == nullptr) {
        std::fputs("bench_bare: no session\n", stderr);
        return 1;
    }
    while (coap_io_process(context, COAP_IO_WAIT) >= 0) {
    }
}
