// SPDX-License-Identifier: MIT
#include <string>

#include "fuzz/harness.h"
#include "support/fake_device.h"
#include "support/fake_log.h"
#include "support/journal.h"

namespace fuzz {

namespace {

void allow_all_operations() {
    fake::device().reset();
    for (const fake::Operation& operation : fake::operations())
        fake::device().allow({operation.name});
}

} // namespace

World::World() {
    allow_all_operations();
    fake::log().reset();
    fake::journal().clear();
}

World::~World() {
    for (const std::string& complaint : fake::journal().complaints())
        require(false, complaint);
}

} // namespace fuzz
