// SPDX-License-Identifier: MIT
// Moves on the clock that the programs of a soak live by. A second passes once all threads of all
// programs wait: for the clock, for a descriptor or for each other. So nobody is ever too late,
// however busy the machine is, and a day takes as long as its work.
//
//   soak_clock FILE      makes the clock; then takes orders on standard input:
//     watch PID          a program to wait for from now on
//     advance SECONDS
//
// Each order is answered by a line: the seconds that have gone by so far.

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <linux/futex.h>
#include <memory>
#include <new>
#include <optional>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#include "shared.h"

namespace {

constexpr long kLookNanoseconds = 20'000;
constexpr double kStuckSeconds = 120;

[[noreturn]] void fail(const std::string& what) {
    std::cerr << "soak_clock: " << what << '\n';
    std::exit(1);
}

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};

/** The beginning of a small file; nothing when it is not there any more. */
std::optional<std::string> read_small(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return std::nullopt;
    char text[256];
    const ssize_t length = read(file, text, sizeof text);
    close(file);
    if (length < 0)
        return std::nullopt;
    return std::string(text, static_cast<std::size_t>(length));
}

/** A thread that waits, and not for a program that it has started. */
bool thread_waits(const std::string& folder) {
    const auto status = read_small(folder + "/stat");
    if (!status)
        return false;
    const std::size_t name_end = status->rfind(')');
    const bool sleeps = name_end != std::string::npos && status->compare(name_end, 3, ") S") == 0;
    return sleeps && read_small(folder + "/children").value_or("").empty();
}

/** Nothing is on its way over the loopback device: a busy machine delivers it late. */
bool nothing_under_way() {
    std::ifstream lines("/proc/net/softnet_stat"); // a line for each processor
    for (std::string line; std::getline(lines, line);) {
        constexpr int kBacklog = 11; // the column, on kernels that have it
        std::istringstream words(line);
        std::string word;
        for (int column = 0; column <= kBacklog; ++column)
            words >> word;
        if (words && word.find_first_not_of('0') != std::string::npos)
            return false;
    }
    return true;
}

class Program {
public:
    explicit Program(const std::string& pid) : tasks_("/proc/" + pid + "/task") {}

    bool waits() const {
        const std::unique_ptr<DIR, CloseFolder> folder(opendir(tasks_.c_str()));
        if (!folder)
            fail(tasks_ + ": the program has ended");
        while (const dirent* const entry = readdir(folder.get())) {
            if (entry->d_name[0] != '.' && !thread_waits(tasks_ + "/" + entry->d_name))
                return false;
        }
        return true;
    }

private:
    std::string tasks_;
};

double now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

class Master {
public:
    explicit Master(const char* path) : clock_(*make_clock(path)) {}

    void watch(const std::string& pid) { programs_.emplace_back(pid); }

    void advance(std::uint32_t seconds) {
        for (; seconds != 0; --seconds) {
            wait_until_all_wait();
            ++clock_.seconds;
            syscall(SYS_futex, &clock_.seconds, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
        }
        wait_until_all_wait();
    }

    std::uint32_t seconds() const { return clock_.seconds; }

private:
    static soak::Clock* make_clock(const char* path) {
        const int file = open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (file < 0 || ftruncate(file, sizeof(soak::Clock)) != 0)
            fail(std::string(path) + ": " + std::strerror(errno));
        void* const place =
            mmap(nullptr, sizeof(soak::Clock), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        close(file);
        if (place == MAP_FAILED)
            fail(std::string(path) + ": cannot be mapped");
        auto* const clock = new (place) soak::Clock;
        timespec steady{};
        clock_gettime(CLOCK_MONOTONIC, &steady);
        clock->steady_start = steady.tv_sec;
        clock->wall_start = std::time(nullptr);
        return clock;
    }

    bool all_wait() const {
        for (const Program& program : programs_) {
            if (!program.waits())
                return false;
        }
        return nothing_under_way();
    }

    // What one program sends is at the other's before the first waits again, so whoever looks at
    // all of them, twice, finds somebody at work as long as a message is on its way.
    void wait_until_all_wait() const {
        const double start = now();
        while (!all_wait() || !all_wait()) {
            const timespec pause{0, kLookNanoseconds};
            nanosleep(&pause, nullptr);
            if (now() - start > kStuckSeconds)
                fail("the programs do not come to rest");
        }
    }

    soak::Clock& clock_;
    std::vector<Program> programs_;
};

void take_order(Master& master, const std::string& line) {
    std::istringstream words(line);
    std::string order, operand;
    words >> order >> operand;
    if (order == "watch" && !operand.empty())
        master.watch(operand);
    else if (order == "advance" && std::atoi(operand.c_str()) > 0)
        master.advance(static_cast<std::uint32_t>(std::atoi(operand.c_str())));
    else
        fail("no order: " + line);
    std::cout << master.seconds() << std::endl;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2)
        fail("usage: soak_clock FILE");
    prctl(PR_SET_TIMERSLACK, 1);
    Master master(arguments[1]);
    for (std::string line; std::getline(std::cin, line);)
        take_order(master, line);
}
