// SPDX-License-Identifier: MIT
#include "appjsonapi/app_errcode.h"

#include "message/document.h"

vxq::JsonText app_errcode(int code, const char* path) {
    const vxq::JsonTree document(cJSON_CreateObject());
    bool complete = vxq::json_add(document.get(), "errcode", vxq::json_number(code)) != nullptr;
    if (code != kGatewaySuccess)
        complete =
            complete && vxq::json_add(document.get(), "ID", cJSON_CreateString(path)) != nullptr;
    return finish_document(document, complete);
}
