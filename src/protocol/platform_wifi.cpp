// SPDX-License-Identifier: MIT
#include "protocol/platform_commands.h"

#include "log/log.h"
#include "protocol/platform_exchange.h"
#include "tnjsonapi/tn_wifi.h"
#include <vxquilan/device.h>

namespace {

// Settings from the platform end mode 1; what the modes are for is the device library's business.
constexpr int kModeThatSettingsEnd = 1;
constexpr int kModeAfterSettings = 0;

/** Whether the gateway is to take Wi-Fi settings from the platform at all. */
bool takes_platform_settings() {
    int flag = 0;
    port_device_syncswitch_get(&flag);
    return flag != 0;
}

void note_settings() {
    int mode = 0;
    port_device_mode_get(&mode);
    if (mode == kModeThatSettingsEnd)
        port_device_mode_set(kModeAfterSettings);
}

bool applied(int error, const char* command) {
    if (error != 0)
        QUILAN_LOG(VX_LOG_ERROR, "%s %d wifi set err\n", command, __LINE__);
    return error == 0;
}

} // namespace

int profession_wifi(int sock, const char* text, int sequence) {
    wifi_cfg config{};
    vxq::acknowledge(sock, sequence);
    if (!takes_platform_settings() || tn_wifi_parse(text, &config) != 0)
        return 0;
    if (applied(vx_device_wifi(&config), "profession_wifi"))
        note_settings();
    return 0;
}

int profession_wifitimer(int sock, const char* text, int sequence) {
    wifitimer_cfg config{};
    vxq::acknowledge(sock, sequence);
    if (tn_wifitimer_parse(text, &config) == 0)
        applied(vx_device_wifitimer(&config), "profession_wifitimer");
    return 0;
}

int profession_wpsswitch(int sock, const char* text, int sequence) {
    std::int32_t on = 0;
    vxq::acknowledge(sock, sequence);
    if (tn_wpsswitch_parse(text, &on) == 0)
        applied(vx_device_wpsswitch(on), "profession_wpsswitch");
    return 0;
}
