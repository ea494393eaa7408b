// SPDX-License-Identifier: MIT
#include "protocol/reporting.h"

#include "appjsonapi/app_reporting.h"
#include "log/log.h"
#include "protocol/request.h"

int profession_sys_devinfo() {
    return vxq::post_request(app_sys_devinfosync(), ".sys/devInfoSync");
}

int profession_sys_heartbeat() {
    return vxq::post_request(app_sys_heartbeat(), ".sys/heartbeat");
}

int profession_sys_data() {
    return vxq::post_request(app_sys_data(), ".sys/data");
}

int profession_sys_data_report(int selector) {
    QUILAN_LOG(VX_LOG_PROGRESS, "%s %d\n", "profession_sys_data_report", __LINE__);
    return vxq::post_request(app_sys_data_report(selector), ".sys/data");
}
