// SPDX-License-Identifier: MIT
#pragma once

#include <cJSON.h>

#include "appjsonapi/request_body.h"
#include <vxquilan/records.h>

/**
 * @file
 * What the daemon's builders and parsers are measured against: the same texts and records, made by
 * plain cJSON calls that are written out one by one. They check no more than such code usually
 * does.
 */
namespace bench {

/*
 * Builders. Each asks the device library, logs the text and returns it, to be freed with
 * cJSON_free.
 */

char* write_register();
char* write_login();
char* write_devinfosync();
char* write_data();
char* write_wandiagnose();
char* write_hostinfo();
char* write_deviceinfo();
char* write_lanhost();
char* write_wan();
char* write_wlanbasic();
char* write_wlanfilter();
char* write_timeswitch();
char* write_guestnetwork();
char* write_errcode(int code, const char* path);

/* Parsers: 0, or -1 when something is missing. */

int read_qos_host(const RequestBody& body, vx_qos_host& record);
int read_mac_filter(const RequestBody& body, vx_mac_filter& record);
int read_login_reply(const char* text);

} // namespace bench
