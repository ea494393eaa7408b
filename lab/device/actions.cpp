// SPDX-License-Identifier: MIT
// What the gateway does rather than knows: start, deletion, reboot, factory restore, upgrade.

#include "control.h"
#include "export.h"
#include "layout.h"
#include "operation.h"
#include "records.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <thread>

namespace vxdevice {
namespace {

void reboot(Json& state) {
    const Json* count = find(state, "/boot/count");
    const int number = 1 + (count == nullptr ? 0 : count->get<int>());
    state[Pointer("/boot/count")] = number;
    state[Pointer("/boot/time")] = static_cast<int>(std::time(nullptr));
    complain("rebooted, start number " + std::to_string(number));
}

/// Where the gateway is more than a file, a reboot is one. The new state is stored by now.
void carry_out_reboot() {
    const char* command = std::getenv("VX_DEVICE_REBOOT");
    if (command == nullptr || *command == '\0') {
        return;
    }
    const int status = std::system(command);
    if (status != 0) {
        complain("VX_DEVICE_REBOOT: " + std::string(command) + ": status " +
                 std::to_string(status));
    }
}

void forget_binding(Json& state) {
    for (const char* name : {"device_id", "device_secret", "access_token", "refresh_token"}) {
        state["credentials"][name] = "";
    }
    state["credentials"]["token_expiry"] = 0;
}

/// The version that a download address names: its last part, without query and ending.
std::string version_in(const std::string& address) {
    std::string name = address.substr(0, address.find_first_of("?#"));
    name.erase(0, name.rfind('/') + 1);
    const auto ending = name.rfind('.');
    const bool digits_follow =
        ending != std::string::npos && ending + 1 < name.size() &&
        name.find_first_not_of("0123456789", ending + 1) == std::string::npos;
    return digits_follow ? name : name.substr(0, ending);
}

/// Whether the gateway reboots upon it.
bool install(Json& state, const std::string& address, bool with_reboot) {
    const std::string version = version_in(address);
    Json& upgrade = state["upgrade"];
    upgrade["url"] = address;
    upgrade["version"] = version;
    upgrade["reboot"] = with_reboot;
    if (version.empty()) {
        upgrade["status"] = "failed: no image at this address";
        return false;
    }
    upgrade["status"] = "installed";
    state["device_information"]["software_version"] = version;
    complain("upgraded to " + version);
    if (with_reboot) {
        reboot(state);
    }
    return with_reboot;
}

std::chrono::milliseconds upgrade_duration() {
    int duration = 200;
    look("vx_device_upgrade", [&](const Json& state) {
        if (const Json* configured = find(state, "/upgrade/duration_ms")) {
            duration = configured->get<int>();
        }
        return kDone;
    });
    return std::chrono::milliseconds(std::max(duration, 0));
}

} // namespace
} // namespace vxdevice

using namespace vxdevice;

int port_device_init(void) {
    const int result = act(__func__, Json::object(), [](Json&) { return kDone; });
    return result == kDone ? start_threads() : result;
}

int port_device_init_net(void) {
    return act(__func__, Json::object(), [](Json&) { return kDone; });
}

int vx_device_deldevice(void) {
    return act(__func__, Json::object(), [](Json& state) {
        forget_binding(state);
        complain("binding to the platform deleted");
        return kDone;
    });
}

int vx_device_reboot(void) {
    const int result = act(__func__, Json::object(), [](Json& state) {
        reboot(state);
        return kDone;
    });
    if (result == kDone) {
        carry_out_reboot();
    }
    return result;
}

int vx_device_restoredefcfg(void) {
    return act(__func__, Json::object(), [](Json& state) {
        const auto factory = state.find("factory");
        if (factory == state.end()) {
            complain("no \"factory\" in the state file to restore");
            return kNotFound;
        }
        const Json settings = *factory;
        state.merge_patch(settings);
        forget_binding(state);
        complain("factory configuration restored");
        return kDone;
    });
}

void* vx_device_upgrade(void* upgrade) {
    struct vx_upgrade copy {};
    std::memcpy(&copy, upgrade, sizeof copy);
    const std::string address = get_text(copy.downurl, sizeof copy.downurl);
    std::this_thread::sleep_for(upgrade_duration());
    bool reboots = false;
    const int result = act(__func__, describe(layout::upgrade, &copy), [&](Json& state) {
        reboots = install(state, address, copy.isreboot != 0);
        return kDone; // a failure is something to keep, too
    });
    if (result == kDone && reboots) {
        carry_out_reboot();
    }
    return nullptr;
}
