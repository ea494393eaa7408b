// SPDX-License-Identifier: MIT
#include "os/process.h"

#include <csignal>
#include <cstdlib>
#include <malloc.h>
#include <signal.h>

namespace vxq {

namespace {

void do_nothing(int) {}

} // namespace

void run_command(const char* command_line) {
    // The siblings answer for themselves: there is nothing the daemon could do about a failure.
    [[maybe_unused]] const int status = std::system(command_line);
}

void survive_broken_pipes() {
    // A handler instead of SIG_IGN: an ignored signal stays ignored in started programs.
    struct sigaction action {};
    action.sa_handler = do_nothing;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGPIPE, &action, nullptr);
}

void share_one_heap() {
#ifdef M_ARENA_MAX // glibc's; the others have one heap anyway
    mallopt(M_ARENA_MAX, 1);
#endif
}

} // namespace vxq
