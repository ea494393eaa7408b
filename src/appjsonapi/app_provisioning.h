// SPDX-License-Identifier: MIT
#pragma once

#include "json/json.h"

/**
 * @file
 * Bodies of the requests with which the gateway provisions itself, and the parsers of the replies.
 *
 * A builder asks the device library for its facts, logs the text and returns it; the text is null
 * only when there was no memory for it.
 *
 * A parser takes the reply's payload as text (null when there was none) and returns the reply's
 * "errcode", or -1 when there is none to be read. On 0 it has stored the credentials that the reply
 * carries in the device library, one by one; the first one missing ends it with -1, and what was
 * stored before stays stored.
 */

vxq::JsonText app_sys_register();
vxq::JsonText app_sys_activate();
vxq::JsonText app_sys_login();
vxq::JsonText app_sys_refresh();

/** For replies that carry nothing but "errcode". */
int app_sys_errcode_parse(const char* text);
int app_sys_activate_parse(const char* text);
int app_sys_login_parse(const char* text);
int app_sys_refresh_parse(const char* text);
