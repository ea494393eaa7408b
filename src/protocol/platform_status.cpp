// SPDX-License-Identifier: MIT
#include "protocol/platform_commands.h"

#include "log/log.h"
#include "protocol/platform_exchange.h"
#include "tnjsonapi/tn_status.h"
#include <vxquilan/device.h>

int profession_status(int sock, const char* text, int sequence) {
    status_req request{};
    wifi_cfg wifi{};
    wifitimer_cfg timer{};
    if (tn_status_parse(text, &request) != 0)
        return 0;
    // What the library does not know stays zero, and is reported so.
    vx_device_wifi_get(&wifi);
    vx_device_wifitimer_get(&timer, &request);
    const vxq::JsonText status = tn_status(request, sequence, wifi, timer);
    if (!status) {
        QUILAN_LOG(VX_LOG_ERROR, "%s:%d\n", "profession_status", __LINE__);
        return -1;
    }
    vxq::send_text(sock, status, kFrameEncrypted);
    return 0;
}
