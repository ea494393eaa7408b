// SPDX-License-Identifier: MIT
#include "support/fake_os.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <optional>

#include "os/clock.h"
#include "os/process.h"
#include "os/random.h"
#include "support/journal.h"

namespace fake {

namespace {

using std::chrono::duration_cast;
using std::chrono::seconds;

constexpr long kSteadyStart = 24L * 60 * 60;
constexpr long kWallStart = 1'700'000'000;
constexpr Microseconds kFarTooLong = std::chrono::hours(7 * 24);

struct Event {
    Microseconds due;
    std::function<void()> action;
};

/** What a reset brings back to its start. */
struct Content {
    Microseconds elapsed{0};
    long wall_offset = kWallStart;
    std::optional<std::tm> local_time;
    std::vector<Event> events; ///< by time; of one moment in the order of asking
    std::vector<Microseconds> sleeps;
    std::vector<StartedThread> threads;
    std::function<void()> on_thread;
    bool refuse_threads = false;
    std::vector<unsigned> random;
};

struct Guarded {
    std::mutex mutex;
    Content content;
    std::map<vxq::ThreadEntry, std::string> thread_names;
};

Guarded& guarded() {
    static Guarded instance;
    return instance;
}

template <class Access>
auto with_content(Access access) {
    const std::lock_guard guard(guarded().mutex);
    return access(guarded().content);
}

/** A week at most, which any long holds. */
long whole_seconds(Microseconds time) {
    return static_cast<long>(duration_cast<seconds>(time).count());
}

/** Takes the next event that is due by `end` and puts the clock to it. */
std::optional<Event> take_event(Microseconds end) {
    return with_content([end](Content& content) -> std::optional<Event> {
        if (content.events.empty() || content.events.front().due > end)
            return std::nullopt;
        Event event = std::move(content.events.front());
        content.events.erase(content.events.begin());
        content.elapsed = std::max(content.elapsed, event.due);
        return event;
    });
}

void daemon_sleeps(const char* function, long amount, Microseconds duration) {
    journal().note(Source::sleep, std::string(function) + '(' + std::to_string(amount) + ')');
    with_content([duration](Content& content) { content.sleeps.push_back(duration); });
    os().sleep(duration);
}

std::string thread_name(vxq::ThreadEntry entry) {
    const std::lock_guard guard(guarded().mutex);
    const auto found = guarded().thread_names.find(entry);
    return found != guarded().thread_names.end() ? found->second : "?";
}

} // namespace

void Os::reset() {
    with_content([](Content& content) { content = Content{}; });
}

Microseconds Os::elapsed() const {
    return with_content([](Content& content) { return content.elapsed; });
}

long Os::elapsed_seconds() const {
    return whole_seconds(elapsed());
}

long Os::wall() const {
    return with_content(
        [](Content& content) { return content.wall_offset + whole_seconds(content.elapsed); });
}

void Os::set_wall(long seconds_since_1970) {
    with_content([seconds_since_1970](Content& content) {
        content.wall_offset = seconds_since_1970 - whole_seconds(content.elapsed);
    });
}

void Os::set_local_time(const std::tm& broken_down) {
    with_content([&broken_down](Content& content) { content.local_time = broken_down; });
}

void Os::after(Microseconds delay, std::function<void()> event) {
    with_content([delay, &event](Content& content) {
        const Microseconds due = content.elapsed + delay;
        const auto later = std::find_if(content.events.begin(), content.events.end(),
                                        [due](const Event& other) { return other.due > due; });
        content.events.insert(later, {due, std::move(event)});
    });
}

void Os::sleep(Microseconds duration) {
    const Microseconds end = elapsed() + duration;
    if (end > kFarTooLong) {
        std::fputs("fake clock: a week is over, the test does not end\n", stderr);
        std::abort();
    }
    while (const std::optional<Event> event = take_event(end))
        event->action();
    with_content([end](Content& content) { content.elapsed = std::max(content.elapsed, end); });
}

std::vector<Microseconds> Os::sleeps() const {
    return with_content([](Content& content) { return content.sleeps; });
}

void Os::name_thread(vxq::ThreadEntry entry, const char* name) {
    const std::lock_guard guard(guarded().mutex);
    guarded().thread_names[entry] = name;
}

void Os::refuse_threads(bool refuse) {
    with_content([refuse](Content& content) { content.refuse_threads = refuse; });
}

void Os::on_thread(std::function<void()> action) {
    with_content([&action](Content& content) { content.on_thread = std::move(action); });
}

std::vector<StartedThread> Os::threads() const {
    return with_content([](Content& content) { return content.threads; });
}

void Os::set_random(std::vector<unsigned> numbers) {
    with_content([&numbers](Content& content) { content.random = std::move(numbers); });
}

Os& os() {
    static Os instance;
    return instance;
}

} // namespace fake

namespace vxq {

using namespace fake;

long steady_seconds() {
    return kSteadyStart + os().elapsed_seconds();
}

long wall_seconds() {
    return os().wall();
}

std::tm local_time() {
    const std::optional<std::tm> programmed =
        with_content([](Content& content) { return content.local_time; });
    if (programmed)
        return *programmed;
    const std::time_t now = os().wall();
    std::tm broken_down{};
    gmtime_r(&now, &broken_down);
    return broken_down;
}

void sleep_seconds(unsigned seconds_) {
    daemon_sleeps("sleep_seconds", static_cast<long>(seconds_), seconds(seconds_));
}

void sleep_milliseconds(unsigned milliseconds) {
    daemon_sleeps("sleep_milliseconds", static_cast<long>(milliseconds),
                  std::chrono::milliseconds(milliseconds));
}

void sleep_microseconds(unsigned microseconds) {
    daemon_sleeps("sleep_microseconds", static_cast<long>(microseconds),
                  Microseconds(microseconds));
}

bool start_detached_thread(ThreadEntry entry, void* argument) {
    journal().note(Source::os, "start_detached_thread(" + thread_name(entry) + ")");
    const auto [refused, action] = with_content([&](Content& content) {
        if (!content.refuse_threads)
            content.threads.push_back({entry, argument});
        return std::pair(content.refuse_threads, content.on_thread);
    });
    if (action)
        action();
    return !refused;
}

unsigned random_up_to(unsigned limit) {
    return with_content([limit](Content& content) {
        if (content.random.empty())
            return 0U;
        const unsigned number = content.random.front();
        content.random.erase(content.random.begin());
        return number % (limit + 1);
    });
}

void run_command(const char* command_line) {
    journal().note(Source::os, "run_command(" + quoted(command_line) + ")");
}

void survive_broken_pipes() {
    journal().note(Source::os, "survive_broken_pipes()");
}

} // namespace vxq
