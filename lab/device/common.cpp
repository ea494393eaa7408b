// SPDX-License-Identifier: MIT
#include "common.h"

#include <unistd.h>

namespace vxdevice {

void complain(std::string_view text) {
    std::string line = "vxdevice: ";
    line += text;
    line += '\n';
    // Nothing can be done about a standard error that doesn't take it.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

std::string dump(const Json& value, int indent) {
    return value.dump(indent, ' ', false, Json::error_handler_t::ignore);
}

const Json* find(const Json& root, const char* pointer) {
    const Pointer path(pointer);
    return root.contains(path) ? &root.at(path) : nullptr;
}

const Json& array_at(const Json& root, const char* pointer) {
    static const Json& empty = *new Json(Json::array()); // outlives threads that exit() overtakes
    const Json* value = find(root, pointer);
    return value != nullptr && value->is_array() ? *value : empty;
}

bool is_on(const Json* flag) {
    return flag != nullptr && (flag->is_boolean() ? flag->get<bool>() : flag->get<int>() != 0);
}

} // namespace vxdevice
