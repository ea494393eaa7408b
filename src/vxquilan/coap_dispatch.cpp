// SPDX-License-Identifier: MIT
#include "vxquilan/coap_dispatch.h"

#include <climits>
#include <span>

#include "appjsonapi/app_provisioning.h"
#include "log/log.h"
#include "log/log_text.h"
#include "state/state.h"
#include "text/text.h"
#include "vx_coap/frame_coap.h"
#include "vxquilan/app_heartbeat.h"
#include <vxquilan/device.h>

namespace {

/** What a reply sets off; the order here is the order of execution. */
enum Effect : unsigned {
    kResetCount = 1u << 0,
    kForgetDevice = 1u << 1,
    kFirstGuide = 1u << 2,
    kStartHeartbeat = 1u << 3,
    kCloseSession = 1u << 4,
    kAnswered = 1u << 5, ///< the loop's wait for the reply ends
};

constexpr int kAnyResult = INT_MIN;
constexpr int kSameState = -1;

struct ReplyRule {
    int result; ///< the parser's, or kAnyResult
    unsigned effects;
    int next; ///< or kSameState
};

struct ReplyRoute {
    int state; ///< kAnyState for all that have no route of their own
    int (*parse)(const char*);
    std::span<const ReplyRule> rules; ///< the first that fits is carried out
};

constexpr int kAnyState = -1;

constexpr unsigned kGiveUpDevice = kForgetDevice | kCloseSession;

constexpr ReplyRule kRegisterRules[] = {
    {0, kResetCount | kCloseSession | kAnswered, kAppOnline},
    {1, kAnswered, kAppConnect},
    {kAnyResult, kAnswered, kSameState},
};

constexpr ReplyRule kActivateRules[] = {
    {0, kResetCount | kFirstGuide | kAnswered, kAppLogin},
    {1, kGiveUpDevice | kAnswered, kAppOnline},
    {2, kGiveUpDevice | kAnswered, kAppOnline},
    {3, kGiveUpDevice | kAnswered, kAppOnline},
    {4, kGiveUpDevice | kAnswered, kAppOnline},
    {5, kGiveUpDevice | kAnswered, kAppOnline},
    {4998, kGiveUpDevice | kAnswered, kAppOnline},
    {kAnyResult, kAnswered, kSameState},
};

// An unsuccessful login or refresh is not "answered": the loop waits its ten seconds out, which
// keeps a gateway from hammering a platform that turns it down.
constexpr ReplyRule kLoginRules[] = {
    {0, kResetCount | kAnswered, kAppDevInfoSync},
    {6, kGiveUpDevice, kAppOnline},
    {kAnyResult, 0, kSameState},
};

constexpr ReplyRule kDevInfoRules[] = {
    {kAnyResult, kStartHeartbeat | kAnswered, kAppData},
};

// A build option: the count is the platform's protection against a gateway that keeps refreshing.
constexpr unsigned kRefreshed = VXQUILAN_REFRESH_RESETS_COUNT != 0 ? unsigned{kResetCount} : 0;

constexpr ReplyRule kRefreshRules[] = {
    {0, kRefreshed | kAnswered, kAppOnline},
    {1006, 0, kAppConnect},
    {4996, 0, kAppConnect},
    {4998, 0, kAppConnect},
    {4999, 0, kAppConnect},
    {kAnyResult, 0, kSameState},
};

constexpr ReplyRule kDataRules[] = {
    {kAnyResult, kAnswered, kAppOnline},
};

constexpr ReplyRule kOtherRules[] = {
    {1002, kAnswered, kAppConnect},      {1006, kAnswered, kAppConnect},
    {4998, kAnswered, kAppConnect},      {4999, kAnswered, kAppConnect},
    {kAnyResult, kAnswered, kSameState},
};

constexpr ReplyRoute kReplyRoutes[] = {
    {kAppRegister, app_sys_errcode_parse, kRegisterRules},
    {kAppActivate, app_sys_activate_parse, kActivateRules},
    {kAppLogin, app_sys_login_parse, kLoginRules},
    {kAppDevInfoSync, app_sys_errcode_parse, kDevInfoRules},
    {kAppRefresh, app_sys_refresh_parse, kRefreshRules},
    {kAppData, app_sys_errcode_parse, kDataRules},
    {kAnyState, app_sys_errcode_parse, kOtherRules},
};

const ReplyRoute& route_for(int state) {
    const ReplyRoute* route = kReplyRoutes;
    while (route->state != state && route->state != kAnyState)
        ++route;
    return *route;
}

const ReplyRule& rule_for(std::span<const ReplyRule> rules, int result) {
    const ReplyRule* rule = rules.data();
    while (rule->result != result && rule->result != kAnyResult)
        ++rule;
    return *rule;
}

void start_heartbeat() {
    if (!vxq::start_app_heartbeat())
        QUILAN_LOG(VX_LOG_ERROR, "%s:creat_thread_wait_info error!\n", "frame_coap_process");
}

void carry_out(int state, const ReplyRule& rule) {
    if ((rule.effects & kResetCount) != 0)
        g_app_count = 0;
    if ((rule.effects & kForgetDevice) != 0)
        port_device_id_set("");
    if ((rule.effects & kFirstGuide) != 0)
        port_device_firstguide_set(1);
    if ((rule.effects & kCloseSession) != 0)
        frame_coap_close();
    if (rule.next != kSameState)
        quilan_state_advance(state, rule.next);
    if ((rule.effects & kAnswered) != 0)
        g_coap_recvflag = 1;
    // Last: the first heartbeat clears the flag, and must not be taken for answered by this reply.
    if ((rule.effects & kStartHeartbeat) != 0)
        start_heartbeat();
}

} // namespace

int frame_coap_process(const char* payload) {
    QUILAN_LOG(VX_LOG_PAYLOAD, "%s\n",
               vxq::LogText(payload != nullptr ? payload : "(null)").text());
    const int state = g_quilan_status;
    const ReplyRoute& route = route_for(state);
    carry_out(state, rule_for(route.rules, route.parse(payload)));
    return 0;
}

coap_response_t message_handler(coap_session_t*, const coap_pdu_t*, const coap_pdu_t* received,
                                const coap_mid_t) {
    std::size_t length = 0;
    const std::uint8_t* data = nullptr;
    vxq::OwnedText text;
    if (coap_get_data(received, &length, &data) != 0 && length != 0)
        text = vxq::copy_bytes(data, length);
    frame_coap_process(text.get());
    return COAP_RESPONSE_OK;
}
