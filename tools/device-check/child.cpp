// SPDX-License-Identifier: MIT
#include "child.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace device_check {
namespace {

constexpr int kDamageSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGPIPE};

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

/// A pipe; each end is closed as soon as nobody needs it.
class Pipe {
public:
    Pipe() {
        if (pipe(ends_) != 0)
            fail("pipe");
    }
    ~Pipe() {
        close_end(0);
        close_end(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int reader() const { return ends_[0]; }
    int writer() const { return ends_[1]; }
    void close_end(int end) {
        if (ends_[end] >= 0)
            close(ends_[end]);
        ends_[end] = -1;
    }

private:
    int ends_[2] = {-1, -1};
};

/// A child process that doesn't outlive this object.
class Child {
public:
    explicit Child(pid_t id) : id_(id) {}
    ~Child() { end(); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Ends the child if it hasn't ended yet; its wait status.
    int end() {
        if (id_ > 0) {
            kill(id_, SIGKILL);
            reap();
        }
        return status_;
    }
    /// Waits for an end that is already under way.
    int reap() {
        while (id_ > 0 && waitpid(id_, &status_, 0) < 0 && errno == EINTR) {
        }
        id_ = -1;
        return status_;
    }

private:
    pid_t id_;
    int status_ = 0;
};

[[noreturn]] void be_the_child(Pipe& pipe, const std::function<void(const Progress&)>& work) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (const int number : kDamageSignals)
        std::signal(number, SIG_DFL);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    pipe.close_end(0);
    work(Progress(pipe.writer()));
    _exit(0);
}

std::string in_words(int status) {
    if (WIFSIGNALED(status))
        return fmt::format("crashes: {}", strsignal(WTERMSIG(status)));
    return fmt::format("ends the process with status {}", WEXITSTATUS(status));
}

enum class Event { step, end, nothing };

Event next_event(int descriptor, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd entry{descriptor, POLLIN, 0};
        const int ready = poll(&entry, 1, static_cast<int>(std::max<long>(left.count(), 0)));
        if (ready == 0)
            return Event::nothing;
        if (ready > 0) {
            char byte = 0;
            return read(descriptor, &byte, 1) == 1 ? Event::step : Event::end;
        }
    }
}

} // namespace

void Progress::step() const {
    if (write(descriptor_, "+", 1) != 1)
        _exit(1);
}

Outcome run_in_child(int steps, std::chrono::milliseconds limit,
                     const std::function<void(const Progress&)>& work) {
    Pipe pipe;
    std::fflush(nullptr);
    const pid_t id = fork();
    if (id < 0)
        fail("fork");
    if (id == 0)
        be_the_child(pipe, work);
    Child child(id);
    pipe.close_end(1);
    Outcome outcome;
    while (outcome.steps < steps) {
        switch (next_event(pipe.reader(), limit)) {
        case Event::step:
            ++outcome.steps;
            break;
        case Event::end:
            outcome.accident = in_words(child.reap());
            return outcome;
        case Event::nothing:
            outcome.accident = fmt::format("does not return within {} ms", limit.count());
            return outcome;
        }
    }
    return outcome;
}

} // namespace device_check
