// SPDX-License-Identifier: MIT
#pragma once

#include "appjsonapi/request_body.h"
#include "json/json.h"
#include <vxquilan/records.h>

/** @file The wireless networks with their radios' settings: ".sys/gateway/ntwk/WlanBasic". */

/** All networks; null only when there was no memory for the text. */
vxq::JsonText app_sys_gateway_system_wlanbasic();

/** What a request wants changed. */
enum WlanBasicAction : int {
    kBasicSettings = 1, ///< switch radios on or off
    kSsidSettings = 2,  ///< change names and security of networks
    kSendSettings = 3,  ///< send the current settings again
};

/**
 * Reads which of the changes a request asks for.
 *
 * @return a WlanBasicAction; -1 for any other, which has been logged. `path` is then written, but
 *         for an action that is a text, though an unknown one.
 */
int app_sys_gateway_system_wlanbasic_action(const RequestBody& body, ParameterPath& path);

/*
 * The parsers of the three changes. Each fills a zero-filled record and returns 0; or -1 when the
 * body cannot be taken, which has been logged and written to `path`.
 */

int app_sys_gateway_system_wlanbasic_parse(const RequestBody& body, vx_radio_switch& record,
                                           ParameterPath& path);
int app_sys_gateway_system_ssidsetting_parse(const RequestBody& body, vx_ssid_settings& record,
                                             ParameterPath& path);
/** The request has no parameters: reads nothing, returns 0. */
int app_sys_gateway_system_sendsetting_parse(const RequestBody& body, vx_wlan_status& record,
                                             ParameterPath& path);
