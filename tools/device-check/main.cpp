// SPDX-License-Identifier: MIT
// vx-device-check: loads a device library and calls its operations as the daemon would.

#include "report.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <vector>

namespace {

using namespace device_check;

constexpr int kFit = 0;
constexpr int kUnfit = 1;
constexpr int kCannotTell = 2;

std::string check_action(const std::string& name) {
    const Operation* const operation = find_operation(name.c_str());
    return operation != nullptr && is_action(operation->kind) ? "" : name + " is no action";
}

int complain(const std::string& text) {
    fmt::print(stderr, "vx-device-check: {}\n", text);
    return kCannotTell;
}

int run(int argc, char** argv) {
    Settings settings;
    double limit = 5;
    CLI::App app("Checks whether a device library keeps to the interface of the vxquilan daemon.");
    app.add_option("LIBRARY", settings.library, "the shared library")->required();
    app.add_flag("--write", settings.write,
                 "call the setters too, with the values that the library gives");
    app.add_option("--act", settings.actions,
                   "call this action too, such as vx_device_reboot; may be repeated")
        ->check(CLI::Validator(check_action, "ACTION"))
        ->allow_extra_args(false);
    app.add_option("--limit", limit, "seconds that one call may take")
        ->check(CLI::Range(0.01, 3600.0))
        ->capture_default_str();
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) {
        return app.exit(success);
    } catch (const CLI::ParseError& error) {
        return complain(error.what());
    }
    settings.limit = std::chrono::milliseconds(static_cast<long>(limit * 1000));
    Examination examination(settings);
    if (const auto reason = examination.load())
        return complain(*reason);
    return report(examination, settings) ? kFit : kUnfit;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        return complain(error.what());
    }
}
