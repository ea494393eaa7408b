// SPDX-License-Identifier: MIT
// The real clock, threads and processes: the one module that the other unit tests replace.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <malloc.h>
#include <pthread.h>
#include <set>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

#include "os/clock.h"
#include "os/process.h"
#include "os/random.h"
#include "os/thread.h"
#include "starvation/threads.h"

namespace {

using Clock = std::chrono::steady_clock;

TEST(Clock, ZeroIsLongAgo) {
    EXPECT_GT(vxq::steady_seconds(), 10); // longer than any wait
}

TEST(Clock, WallTimeIsThatOfTime) {
    const long before = time(nullptr);
    const long told = vxq::wall_seconds();
    const long after = time(nullptr);
    EXPECT_LE(before, told);
    EXPECT_LE(told, after);
}

TEST(Random, StaysWithinItsLimitAndReachesBothEnds) {
    std::set<unsigned> seen;
    for (int draw = 0; draw < 1000; ++draw)
        seen.insert(vxq::random_up_to(3));
    EXPECT_THAT(seen, testing::ElementsAre(0, 1, 2, 3));
    EXPECT_EQ(vxq::random_up_to(0), 0u);
}

TEST(Random, DiffersEachTime) {
    std::set<unsigned> seen;
    for (int draw = 0; draw < 100; ++draw)
        seen.insert(vxq::random_up_to(1'000'000'000));
    EXPECT_GT(seen.size(), 90u);
}

// Where no descriptor is left there is still something to wait for.
TEST(Random, DoesWithoutDescriptors) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    std::set<unsigned> seen;
    for (int draw = 0; draw < 100; ++draw) {
        const unsigned number = vxq::random_up_to(5000);
        EXPECT_LE(number, 5000u);
        seen.insert(number);
    }
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_GT(seen.size(), 10u);
}

struct ZoneCase {
    const char* name;
    const char* zone;
    long offset; ///< seconds east of Greenwich, the same all year
};

void PrintTo(const ZoneCase& row, std::ostream* out) {
    *out << row.name;
}

class LocalTime : public testing::TestWithParam<ZoneCase> {
protected:
    LocalTime() {
        setenv("TZ", GetParam().zone, 1);
        tzset();
    }
    ~LocalTime() override {
        unsetenv("TZ");
        tzset();
    }
};

TEST_P(LocalTime, IsThatOfTheZone) {
    const long before = time(nullptr);
    std::tm told = vxq::local_time();
    const long after = time(nullptr);
    const long as_if_universal = timegm(&told) - GetParam().offset;
    EXPECT_LE(before, as_if_universal);
    EXPECT_LE(as_if_universal, after);
}

INSTANTIATE_TEST_SUITE_P(All, LocalTime,
                         testing::Values(ZoneCase{"Universal", "UTC0", 0},
                                         ZoneCase{"East", "XST-8", 8 * 3600},
                                         ZoneCase{"West", "XST4:30", -(4 * 3600 + 1800)}),
                         [](const auto& information) {
                             return std::string(information.param.name);
                         });

TEST(Sleep, LastsAtLeastAsLongAsAsked) {
    const auto timed = [](auto sleep, unsigned amount) {
        const auto begin = Clock::now();
        sleep(amount);
        return Clock::now() - begin;
    };
    EXPECT_GE(timed(vxq::sleep_milliseconds, 30), std::chrono::milliseconds(30));
    EXPECT_GE(timed(vxq::sleep_microseconds, 700), std::chrono::microseconds(700));
    EXPECT_GE(timed(vxq::sleep_seconds, 1), std::chrono::seconds(1));
    EXPECT_LT(timed(vxq::sleep_seconds, 0), std::chrono::seconds(1));
}

void ignore(int) {}

TEST(Sleep, IsNotCutShortByASignal) {
    struct sigaction action {};
    action.sa_handler = ignore;
    sigaction(SIGALRM, &action, nullptr);
    ualarm(10'000, 10'000);
    const auto begin = Clock::now();
    vxq::sleep_milliseconds(100);
    const auto slept = Clock::now() - begin;
    ualarm(0, 0);
    EXPECT_GE(slept, std::chrono::milliseconds(100));
}

struct ThreadReport {
    std::promise<void*> argument;
    std::size_t stack_bytes = 0;
    int detach_state = -1;
};

void* report(void* argument) {
    auto& told = *static_cast<ThreadReport*>(argument);
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getstacksize(&attributes, &told.stack_bytes);
    pthread_attr_getdetachstate(&attributes, &told.detach_state);
    pthread_attr_destroy(&attributes);
    told.argument.set_value(argument);
    return nullptr;
}

TEST(Thread, IsDetachedAndHasAStackOf512Kilobytes) {
    ThreadReport told;
    ASSERT_TRUE(vxq::start_detached_thread(report, &told));
    EXPECT_EQ(told.argument.get_future().get(), &told);
    EXPECT_GE(told.stack_bytes, 512u * 1024);
    EXPECT_EQ(told.detach_state, PTHREAD_CREATE_DETACHED);
}

TEST(Thread, ThatCannotBeCreatedIsNotStarted) {
    using namespace starvation;
    ThreadReport told;
    set_threads(Threads::refused);
    EXPECT_FALSE(vxq::start_detached_thread(report, &told));
    EXPECT_EQ(refused_threads(), 1);
    set_threads(Threads::real);
}

class ScratchFile {
public:
    ScratchFile() { close(mkstemp(path_.data())); }
    ~ScratchFile() { unlink(path_.c_str()); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] std::string content() const {
        std::ifstream file(path_);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::string path_ = testing::TempDir() + "vxq_os_test_XXXXXX";
};

TEST(Process, CommandsRunInAShellAndAreWaitedFor) {
    const ScratchFile file;
    vxq::run_command(("echo one > " + file.path() + "; echo two >> " + file.path()).c_str());
    EXPECT_EQ(file.content(), "one\ntwo\n");
}

TEST(Process, CommandsThatFailAreNotNoticed) {
    vxq::run_command("exit 3");
    vxq::run_command("kill -9 $$");
}

TEST(Process, ABrokenPipeIsAnErrorAndNoLongerTheEnd) {
    vxq::survive_broken_pipes();
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    EXPECT_EQ(write(ends[1], "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
    close(ends[1]);
}

#ifdef M_ARENA_MAX
/** How many heaps the C library has made. */
std::size_t heaps() {
    char* text = nullptr;
    std::size_t size = 0;
    FILE* const stream = open_memstream(&text, &size);
    malloc_info(0, stream);
    std::fclose(stream);
    const std::string report(text, size);
    std::free(text);
    std::size_t count = 0;
    for (std::size_t at = 0; (at = report.find("<heap ", at)) != std::string::npos; ++at)
        ++count;
    return count;
}

TEST(Process, ThreadsShareOneHeap) {
    vxq::share_one_heap();
    const std::size_t before = heaps();
    std::free(std::async(std::launch::async, [] { return std::malloc(1000); }).get());
    EXPECT_EQ(heaps(), before);
}
#endif

TEST(Process, StartedProgramsStillEndByABrokenPipe) {
    vxq::survive_broken_pipes();
    const ScratchFile file;
    // The inner shell is a program of its own; 141 is 128 + SIGPIPE.
    vxq::run_command(("sh -c 'kill -PIPE $$; exit 0'; echo $? > " + file.path()).c_str());
    EXPECT_EQ(file.content(), "141\n");
}

} // namespace
