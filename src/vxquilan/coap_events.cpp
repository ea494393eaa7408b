// SPDX-License-Identifier: MIT
#include "vxquilan/coap_events.h"

#include "log/log.h"
#include "state/state.h"
#include "vx_coap/frame_coap.h"

namespace {

struct EventRule {
    int event;
    const char* disconnected_from; ///< names the layer in the log, or null
    bool ends_session;
};

// The platform may close TLS and keep TCP: what follows on that connection decides.
constexpr EventRule kEventRules[] = {
    {0, "dtls", false},   // TLS or DTLS closed
    {4098, "tcp", true},  // TCP closed
    {4099, nullptr, true} // TCP failed
};

const EventRule* rule_for(int event) {
    for (const EventRule& rule : kEventRules) {
        if (rule.event == event)
            return &rule;
    }
    return nullptr;
}

} // namespace

void frame_coap_event_close() {
    QUILAN_LOG(VX_LOG_PROGRESS, "%s %d:frame_coap_event_close\n", "frame_coap_event_close",
               __LINE__);
    frame_coap_close();
    g_quilan_status = kAppConnect;
}

int event_handler(coap_session_t*, const coap_event_t event) {
    QUILAN_LOG(VX_LOG_UNUSUAL, "%s %d event %d\n", "event_handler", __LINE__,
               static_cast<int>(event));
    const EventRule* const rule = rule_for(static_cast<int>(event));
    if (rule == nullptr)
        return 0;
    if (rule->disconnected_from != nullptr)
        QUILAN_LOG(VX_LOG_PROGRESS, "%s %d %s disconnect from app\n", "event_handler", __LINE__,
                   rule->disconnected_from);
    if (rule->ends_session) {
        g_run_flag = 0;
        frame_coap_event_close();
    }
    return 0;
}
