// SPDX-License-Identifier: MIT
#include "tnjsonapi/tn_upgrade.h"

#include "message/parse.h"
#include "text/text.h"
#include "tnjsonapi/tn_message.h"

int tn_upgrade_parse(const char* text, vx_upgrade* upgrade) {
    const vxq::PlatformRequest request = vxq::open_request(text, "tn_upgrade_parse", "set");
    if (request.content == nullptr)
        return -1;
    const cJSON* const order = cJSON_GetObjectItem(request.content, "upgrade");
    if (order == nullptr)
        return vxq::refuse("not upgrade\n");
    // The texts say "status" for either member; operators' log filters know them so.
    const char* const address = vxq::json_text(cJSON_GetObjectItem(order, "downurl"));
    if (address == nullptr)
        return vxq::refuse("not status\n");
    vxq::copy_text(upgrade->downurl, address);
    const char* const reboot = vxq::json_text(cJSON_GetObjectItem(order, "isreboot"));
    if (reboot == nullptr)
        return vxq::refuse("not status\n");
    upgrade->isreboot = vxq::decimal_value(reboot);
    return 0;
}
