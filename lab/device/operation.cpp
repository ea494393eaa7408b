// SPDX-License-Identifier: MIT
#include "operation.h"

#include "state.h"

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace vxdevice {
namespace {

/// The code that the state file makes the operation return, or 0.
int fault(const Json& state, const char* operation) {
    const auto faults = state.find("faults");
    if (faults == state.end()) {
        return kDone;
    }
    const auto code = faults->find(operation);
    return code == faults->end() ? kDone : code->get<int>();
}

/// One line per call, in the order of the calls: the state's lock is held.
void write_journal(const char* operation, const Json& arguments, int result) {
    static const char* const path = std::getenv("VX_DEVICE_JOURNAL");
    if (path == nullptr || *path == '\0') {
        return;
    }
    Json entry;
    entry["operation"] = operation;
    entry["arguments"] = arguments;
    entry["result"] = result;
    const std::string line = dump(entry) + "\n";
    const int file = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (file < 0 || write(file, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        complain(std::string(path) + ": " + std::generic_category().message(errno));
    }
    if (file >= 0) {
        close(file);
    }
}

int guarded(const char* operation, const std::function<int()>& body) {
    try {
        return body();
    } catch (const std::exception& error) {
        complain(std::string(operation) + ": " + error.what());
        return kNotFound;
    }
}

} // namespace

int look(const char* operation, const std::function<int(const Json&)>& reader) {
    return guarded(operation, [&] {
        return State::instance().read([&](const Json& state) {
            const int code = fault(state, operation);
            return code != kDone ? code : reader(state);
        });
    });
}

int act(const char* operation, const Json& arguments, const std::function<int(Json&)>& changer) {
    return guarded(operation, [&] {
        return State::instance().change(
            [&](Json& state) {
                const int code = fault(state, operation);
                return code != kDone ? code : changer(state);
            },
            [&](int result) { write_journal(operation, arguments, result); });
    });
}

} // namespace vxdevice
