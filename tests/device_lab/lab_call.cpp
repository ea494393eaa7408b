// SPDX-License-Identifier: MIT
// Calls the lab's libraries in a process of its own: lab_call COMMAND [ARGUMENT...]
//
//   mode | set-mode N | set-mode-without-space N     prints what the library returned
//   advance COUNT                                    port_device_sequence_set() so many times
//   serve CALLS                                      starts the library's threads, prints "ready",
//                                                    prints calls of the entry points, ends after
//                                                    so many of them
//   log LEVEL TEXT | log-threads THREADS LINES

#include <vxquilan/device.h>
#include <vxquilan/entry_points.h>
#include <vxquilan/log.h>

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace {

std::mutex calls_mutex;
std::condition_variable calls_changed;
int calls = 0;

int record_call(const std::string& text) {
    const std::lock_guard lock(calls_mutex);
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
    ++calls;
    calls_changed.notify_all();
    return 0;
}

int print_mode() {
    int mode = -7;
    const int result = port_device_mode_get(&mode);
    std::printf("%d %d\n", result, mode);
    return 0;
}

int set_mode(const char* mode) {
    std::printf("%d\n", port_device_mode_set(std::atoi(mode)));
    return 0;
}

/// As on a full file system: no file as large as the state can be written.
int set_mode_without_space(const char* mode) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{1000, 1000};
    int before = 0;
    port_device_mode_get(&before);
    setrlimit(RLIMIT_FSIZE, &small);
    const int result = port_device_mode_set(std::atoi(mode));
    int after = 0;
    port_device_mode_get(&after);
    return result == 4 && before == after ? 0 : 1;
}

int advance(int count) {
    for (int i = 0; i < count; ++i) {
        if (port_device_sequence_set() != 0) {
            return 1;
        }
    }
    return 0;
}

int serve(int expected) {
    const int result = port_device_init();
    std::printf("ready %d\n", result);
    std::fflush(stdout);
    std::unique_lock lock(calls_mutex);
    calls_changed.wait(lock, [&] { return calls >= expected; });
    return 0;
}

int log_threads(int threads, int lines) {
    const std::string filler(6000, 'x'); // longer than a pipe takes in one piece
    std::vector<std::thread> writers;
    for (int t = 0; t < threads; ++t) {
        writers.emplace_back([&, t] {
            for (int i = 0; i < lines; ++i) {
                vx_mod_log_printf("quilan", 3, "%d/%d %s end\n", t, i, filler.c_str());
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    return 0;
}

} // namespace

int frame_quilan_state_set(int state) {
    return record_call("state " + std::to_string(state));
}

int profession_sys_register_code(const char* code) {
    port_device_code_set(code);
    return record_call("code " + std::string(code));
}

int profession_sys_data_report(int selector) {
    return record_call("report " + std::to_string(selector));
}

int main(int argc, char** argv) {
    const std::vector<std::string_view> arguments(argv + std::min(argc, 1), argv + argc);
    const std::string_view command = arguments.empty() ? "" : arguments[0];
    const char* first = argc > 2 ? argv[2] : "";
    const char* second = argc > 3 ? argv[3] : "";
    if (command == "mode") {
        return print_mode();
    }
    if (command == "set-mode") {
        return set_mode(first);
    }
    if (command == "set-mode-without-space") {
        return set_mode_without_space(first);
    }
    if (command == "advance") {
        return advance(std::atoi(first));
    }
    if (command == "serve") {
        return serve(std::atoi(first));
    }
    if (command == "log") {
        vx_mod_log_printf("quilan", std::atoi(first), "%s", second);
        return 0;
    }
    if (command == "log-threads") {
        return log_threads(std::atoi(first), std::atoi(second));
    }
    std::fprintf(stderr, "lab_call: unknown command\n");
    return 2;
}
