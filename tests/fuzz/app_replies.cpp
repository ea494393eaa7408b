// SPDX-License-Identifier: MIT
// A reply of the platform, in every state that it can arrive in.
#include <algorithm>
#include <optional>
#include <vector>

#include "fuzz/harness.h"
#include "state/state.h"
#include "support/coap_message.h"
#include "support/fake_coap.h"
#include "support/fake_os.h"
#include "vxquilan/coap_dispatch.h"

namespace {

struct StateRule {
    int state;
    std::vector<int> next; ///< besides the state itself
};

const StateRule kRules[] = {
    {kAppRegister, {kAppConnect, kAppOnline}},  {kAppActivate, {kAppLogin, kAppOnline}},
    {kAppLogin, {kAppDevInfoSync, kAppOnline}}, {kAppDevInfoSync, {kAppData}},
    {kAppRefresh, {kAppOnline, kAppConnect}},   {kAppData, {kAppOnline}},
};
const std::vector<int> kElsewhere = {kAppConnect};

const std::vector<int>& states_after(int state) {
    for (const StateRule& rule : kRules) {
        if (rule.state == state)
            return rule.next;
    }
    return kElsewhere;
}

void reply_in(int state, const std::optional<std::string>& body) {
    const fuzz::World world;
    fake::os().reset();
    fake::coap().reset();
    fake::coap().open_session();
    g_quilan_status = state;
    g_coap_recvflag = 0;
    const CoapMessage reply(COAP_RESPONSE_CODE_CONTENT, body);
    message_handler(g_coap_session, nullptr, reply.pdu(), 0);
    const int after = g_quilan_status;
    const std::vector<int>& allowed = states_after(state);
    fuzz::require(after == state ||
                      std::find(allowed.begin(), allowed.end(), after) != allowed.end(),
                  "state " + std::to_string(state) + " became " + std::to_string(after));
    fuzz::require(g_coap_recvflag == 0 || g_coap_recvflag == 1, "the answered flag is no flag");
}

} // namespace

void fuzz::run(Input input) {
    const std::string body = input.rest();
    for (int state = kNetGetIpAddress; state <= kAppOnline + 1; ++state)
        reply_in(state, body.empty() ? std::nullopt : std::optional(body));
}
