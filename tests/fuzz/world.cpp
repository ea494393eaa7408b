// SPDX-License-Identifier: MIT
#include <string>

#include "fuzz/harness.h"
#include "support/fake_device.h"
#include "support/fake_log.h"
#include "support/journal.h"

namespace fuzz {

World::World() {
    fake::device().reset();
    fake::device().allow_all();
    fake::log().reset();
    fake::journal().clear();
}

World::~World() {
    for (const std::string& complaint : fake::journal().complaints())
        require(false, complaint);
}

} // namespace fuzz
