// SPDX-License-Identifier: MIT
#include "message/document.h"

#include "log/log.h"
#include "log/log_text.h"

namespace vxq {

JsonText finish_document(const JsonTree& document, bool complete) {
    JsonText text = complete ? json_print(document) : nullptr;
    if (text)
        QUILAN_LOG(VX_LOG_PROGRESS, "%s\n", LogText(text.get()).text());
    else
        QUILAN_LOG(VX_LOG_ERROR, "no memory for a message\n");
    return text;
}

} // namespace vxq
