// SPDX-License-Identifier: MIT
#include "protocol/provisioning.h"

#include "appjsonapi/app_provisioning.h"
#include "protocol/request.h"
#include "state/state.h"
#include <vxquilan/device.h>

int profession_sys_register() {
    return vxq::post_request(app_sys_register(), ".sys/register");
}

int profession_sys_activate() {
    return vxq::post_request(app_sys_activate(), ".sys/activate");
}

int profession_sys_login() {
    return vxq::post_request(app_sys_login(), ".sys/login");
}

int profession_sys_refresh() {
    return vxq::post_request(app_sys_refresh(), ".sys/refresh");
}

int profession_sys_register_code(const char* code) {
    port_device_code_set(code);
    frame_quilan_state_set(kAppActivate);
    return 0;
}
