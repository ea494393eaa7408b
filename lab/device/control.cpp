// SPDX-License-Identifier: MIT
// The gateway's own doings: an engineer's commands, and the registration code that a visitor of the
// gateway's pages would enter. Both end in the daemon's exported entry points.

#include "control.h"

#include "operation.h"

#include <vxquilan/entry_points.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <pthread.h>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace vxdevice {
namespace {

constexpr std::size_t kStackSize = 512UL * 1024; // the entry points build and send messages on it
constexpr std::size_t kLongestLine = 4096;

/// Whether the program has prepared the gateway for the app channel.
std::atomic<bool> app_channel_runs{false};

/// A function of the program that loaded the library, if it has it.
template <class Function>
Function* entry_point(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_DEFAULT, name));
}

template <class Function, class Argument>
void call(const char* name, Argument argument) {
    Function* function = entry_point<Function>(name);
    if (function == nullptr) {
        complain(std::string("the program doesn't export ").append(name));
        return;
    }
    const int result = function(argument);
    complain(std::string(name).append(" returned ").append(std::to_string(result)));
}

void register_code(const std::string& code) {
    call<decltype(profession_sys_register_code)>("profession_sys_register_code", code.c_str());
}

template <class Function>
void call_with_number(const char* name, const std::string& argument) {
    int number = 0;
    const char* end = argument.data() + argument.size();
    const auto [stop, error] = std::from_chars(argument.data(), end, number);
    if (error != std::errc() || stop != end) {
        complain("control: \"" + argument + "\" is not a number");
        return;
    }
    call<Function>(name, number);
}

void data_report(const std::string& selector) {
    call_with_number<decltype(profession_sys_data_report)>("profession_sys_data_report", selector);
}

void state_set(const std::string& state) {
    call_with_number<decltype(frame_quilan_state_set)>("frame_quilan_state_set", state);
}

struct Command {
    std::string_view name;
    void (*run)(const std::string& argument);
};

constexpr Command commands[] = {
    {"register-code", register_code},
    {"data-report", data_report},
    {"state-set", state_set},
};

void obey(const std::string& line) {
    const auto space = line.find(' ');
    const std::string name = line.substr(0, space);
    const std::string argument = space == std::string::npos ? "" : line.substr(space + 1);
    const auto* const command = std::find_if(std::begin(commands), std::end(commands),
                                             [&](const Command& c) { return c.name == name; });
    if (command == std::end(commands) || argument.empty()) {
        complain("control: \"" + line +
                 "\" is not one of: register-code CODE, data-report SELECTOR, state-set N");
        return;
    }
    command->run(argument);
}

/// Carries out the lines that are complete, and leaves the rest in the buffer.
void obey_lines(std::string& buffer) {
    for (auto end = buffer.find('\n'); end != std::string::npos; end = buffer.find('\n')) {
        const std::string line = buffer.substr(0, end);
        buffer.erase(0, end + 1);
        if (!line.empty()) {
            obey(line);
        }
    }
    if (buffer.size() > kLongestLine) {
        complain("control: line of more than " + std::to_string(kLongestLine) + " characters");
        buffer.clear();
    }
}

void serve(int channel) {
    std::string buffer;
    char chunk[512];
    for (;;) {
        const ssize_t count = read(channel, chunk, sizeof chunk);
        if (count < 0 && errno != EINTR) {
            complain("control: " + std::generic_category().message(errno));
            return;
        }
        buffer.append(chunk, count < 0 ? 0 : static_cast<std::size_t>(count));
        obey_lines(buffer);
    }
}

void* thread_entry(void* body) {
    const std::unique_ptr<std::function<void()>> run(static_cast<std::function<void()>*>(body));
    try {
        (*run)();
    } catch (const std::exception& error) {
        complain(error.what());
    }
    return nullptr;
}

void start_detached(std::function<void()> body) {
    auto run = std::make_unique<std::function<void()>>(std::move(body));
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, kStackSize);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread{};
    const int error = pthread_create(&thread, &attributes, thread_entry, run.get());
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        complain("thread: " + std::generic_category().message(error));
        return;
    }
    static_cast<void>(run.release()); // the thread's now
}

/// The channel, opened for writing too so that it doesn't end when a writer leaves.
int open_channel(const char* path) {
    struct stat status {};
    if (stat(path, &status) == 0 && S_ISFIFO(status.st_mode)) {
        unlink(path); // an earlier run's
    }
    if (mkfifo(path, 0600) != 0) {
        return -1;
    }
    return open(path, O_RDWR | O_CLOEXEC);
}

void start_control() {
    const char* path = std::getenv("VX_DEVICE_CONTROL");
    if (path == nullptr || *path == '\0') {
        return;
    }
    const int channel = open_channel(path);
    if (channel < 0) {
        complain("VX_DEVICE_CONTROL: " + std::string(path) + ": " +
                 std::generic_category().message(errno));
        std::exit(2);
    }
    start_detached([channel] { serve(channel); });
}

bool wants_platform_channel() {
    return look("platform_channel", [](const Json& state) {
               return is_on(find(state, "/platform_channel/start")) ? kDone : kNotFound;
           }) == kDone;
}

void run_platform_channel() {
    auto* const channel = entry_point<decltype(frame_vxquilan_net)>("frame_vxquilan_net");
    if (channel == nullptr) {
        complain("the program doesn't export frame_vxquilan_net");
        return;
    }
    complain("starting the platform channel");
    channel(); // never comes back
}

struct Registration {
    std::string code;
    std::chrono::duration<double> delay{};
};

/// What is to be registered; nothing when the gateway is bound already.
std::optional<Registration> pending_registration() {
    std::optional<Registration> pending;
    look("registration", [&](const Json& state) {
        const Json* code = find(state, "/registration/code");
        const Json* delay = find(state, "/registration/delay");
        const Json* id = find(state, "/credentials/device_id");
        const bool bound = id != nullptr && !id->get_ref<const std::string&>().empty();
        if (code != nullptr && !bound && !code->get_ref<const std::string&>().empty()) {
            pending.emplace();
            pending->code = code->get<std::string>();
            pending->delay = std::chrono::duration<double>(delay ? delay->get<double>() : 0.0);
        }
        return kDone;
    });
    return pending;
}

void start_registration() {
    const auto pending = pending_registration();
    if (!pending) {
        return;
    }
    start_detached([delay = pending->delay] {
        std::this_thread::sleep_for(delay);
        if (const auto still_pending = pending_registration()) {
            register_code(still_pending->code);
        }
    });
}

} // namespace

int start_threads() {
    static std::once_flag once;
    std::call_once(once, [] {
        app_channel_runs = true;
        start_control();
        start_registration();
    });
    return kDone;
}

void mode_was_asked() {
    static std::atomic<int> questions{0};
    if (app_channel_runs && ++questions == 2 && wants_platform_channel()) {
        start_detached(run_platform_channel);
    }
}

} // namespace vxdevice
