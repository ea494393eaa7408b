// SPDX-License-Identifier: MIT
#pragma once

#include "json/json.h"

namespace vxq {

/**
 * The common end of all builders: prints the document, logs the text at the progress level and
 * returns it.
 *
 * @param complete  false when a member is missing for lack of memory: half a document is none
 * @return the text, or null
 */
JsonText finish_document(const JsonTree& document, bool complete);

} // namespace vxq
