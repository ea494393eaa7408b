// SPDX-License-Identifier: MIT
// A request body for each of the served handlers. The first byte picks the handler, the second what
// the device library's check gives, the third what its setter gives.
#include <vector>

#include <nlohmann/json.hpp>

#include "fuzz/harness.h"
#include "support/coap_message.h"
#include "support/fake_coap.h"
#include "support/fake_device.h"
#include "support/fake_os.h"
#include "support/journal.h"
#include "vxquilan/coap_resources.h"

namespace {

struct Handler {
    coap_method_handler_t serve;
    bool settings; ///< answers with a result, not with a document
};

constexpr const char* kSetters[] = {
    "vx_device_qosclasshost",          "vx_device_wlanbasic_set",
    "vx_device_ssidsetting",           "vx_device_sendsetting",
    "vx_device_wlanguidebasic",        "vx_device_guest_network_set",
    "vx_device_wlanfilterenhance_set", "vx_device_wlantimeswitch_set",
};

std::vector<Handler> served_handlers() {
    const fuzz::World world;
    fake::coap().reset();
    fake::coap().open_session();
    frame_coap_register_list();
    std::vector<Handler> handlers;
    for (const fake::ServedResource& resource : fake::coap().served()) {
        if (resource.get != nullptr)
            handlers.push_back({resource.get, false});
        if (resource.post != nullptr)
            handlers.push_back({resource.post, true});
    }
    return handlers;
}

void check_answer(const Handler& handler) {
    const std::vector<fake::SentAnswer>& answers = fake::coap().answers();
    fuzz::require(answers.size() == 1, "not exactly one answer");
    fuzz::require(answers[0].type == COAP_MESSAGE_NON, "the answer is confirmable");
    fuzz::require(answers[0].code == COAP_RESPONSE_CODE_CONTENT, "the answer is no 2.05");
    const nlohmann::json document = nlohmann::json::parse(answers[0].body);
    if (!handler.settings)
        return;
    fuzz::require(document.at("errcode").is_number_integer(), "no result");
    fuzz::require(document.contains("ID") == (document["errcode"] != 0), "ID in the wrong place");
}

} // namespace

void fuzz::run(Input input) {
    static const std::vector<Handler> handlers = served_handlers();
    const Handler& handler = handlers[input.byte() % handlers.size()];
    const World world;
    fake::os().reset();
    fake::coap().reset();
    fake::coap().open_session();
    const int clash = static_cast<std::int8_t>(input.byte());
    for (const char* const check : {"vx_device_wifi_check", "vx_device_guest_check"})
        fake::device().set_result(check, clash);
    const int result = static_cast<std::int8_t>(input.byte());
    for (const char* const setter : kSetters)
        fake::device().set_result(setter, result);
    const CoapMessage request(COAP_REQUEST_CODE_POST, input.rest());
    handler.serve(nullptr, g_coap_session, request.pdu(), nullptr, nullptr);
    check_answer(handler);
}
