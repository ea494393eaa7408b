// SPDX-License-Identifier: MIT
#include "state.h"

#include "schema.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace vxdevice {
namespace {

class Descriptor {
public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    int get() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }

private:
    int descriptor_;
};

std::string folder_of(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

/// The file itself when the path is a symbolic link to it.
std::string resolve(const std::string& path) {
    char resolved[PATH_MAX];
    return realpath(path.c_str(), resolved) != nullptr ? resolved : path;
}

bool write_all(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

std::optional<std::string> read_all(int descriptor) {
    std::string text;
    char chunk[65536];
    for (;;) {
        const ssize_t count = ::read(descriptor, chunk, sizeof chunk);
        if (count == 0) {
            return text;
        }
        if (count < 0 && errno != EINTR) {
            return std::nullopt;
        }
        text.append(chunk, count < 0 ? 0 : static_cast<std::size_t>(count));
    }
}

/// "LINE:COLUMN: what", from the parser's position and message.
std::string describe_syntax_error(const std::string& text, const Json::parse_error& error) {
    const std::size_t place = std::min(error.byte > 0 ? error.byte - 1 : 0, text.size());
    const auto line =
        1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(place), '\n');
    const std::size_t line_start = text.rfind('\n', place > 0 ? place - 1 : 0);
    const std::size_t column =
        line_start == std::string::npos || place == 0 ? place + 1 : place - line_start;
    const std::string message = error.what();
    const auto start = message.find("syntax error");
    std::string what = start == std::string::npos ? message : message.substr(start);
    std::replace(what.begin(), what.end(), '\n', ' ');
    return std::to_string(line) + ":" + std::to_string(column) + ": " + what;
}

/// The state in a file's text, or what is wrong with it.
std::pair<Json, std::string> parse(const std::string& path, const std::string& text) {
    try {
        Json state = Json::parse(text);
        if (const auto problem = state_problem(state)) {
            return {Json(), path + ": " + *problem};
        }
        return {std::move(state), ""};
    } catch (const Json::parse_error& error) {
        return {Json(), path + ":" + describe_syntax_error(text, error)};
    }
}

std::string system_error(const std::string& path) {
    return path + ": " + std::generic_category().message(errno);
}

constexpr bool operator==(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

/// Removes the temporary file of a write that came to nothing.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& target) : path_(target + ".XXXXXX") {
        descriptor_.emplace(mkostemp(path_.data(), O_CLOEXEC));
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (*descriptor_ && !kept_) {
            unlink(path_.c_str());
        }
    }
    bool put(std::string_view text, mode_t mode) {
        return *descriptor_ && write_all(descriptor_->get(), text) &&
               fchmod(descriptor_->get(), mode) == 0 && fsync(descriptor_->get()) == 0;
    }
    bool become(const std::string& target) {
        kept_ = rename(path_.c_str(), target.c_str()) == 0;
        return kept_;
    }
    int descriptor() const { return descriptor_->get(); }

private:
    std::string path_;
    std::optional<Descriptor> descriptor_;
    bool kept_ = false;
};

timespec wall_clock() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

} // namespace

State& State::instance() {
    // Never destroyed: threads of the library may still be at work while the process exits.
    static State& state = *[] {
        const char* path = std::getenv("VX_DEVICE_STATE");
        if (path == nullptr || *path == '\0') {
            complain("VX_DEVICE_STATE is not set; it must name the state file of the gateway");
            std::exit(2);
        }
        return new State(path);
    }();
    return state;
}

State::State(std::string path) : path_(std::move(path)) {
    load();
    if (!problem_.empty()) {
        std::exit(2);
    }
}

int State::read(const std::function<int(const Json&)>& reader) {
    const std::lock_guard lock(mutex_);
    refresh();
    return reader(state_);
}

int State::change(const std::function<int(Json&)>& changer, const std::function<void(int)>& done) {
    const std::lock_guard lock(mutex_);
    // The folder is locked, not the file: the file is another one after each change.
    const Descriptor folder(
        open(folder_of(resolve(path_)).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder) {
        flock(folder.get(), LOCK_EX);
    }
    refresh();
    Json draft = state_;
    int result = changer(draft);
    if (result == kDone && draft != state_) {
        if (persist(draft)) {
            state_ = std::move(draft);
            fsync(folder.get());
        } else {
            result = kNotPersisted;
        }
    }
    done(result);
    return result;
}

bool State::unchanged(const struct stat& status) const {
    return settled_ && status.st_dev == status_.st_dev && status.st_ino == status_.st_ino &&
           status.st_size == status_.st_size && status.st_mtim == status_.st_mtim &&
           status.st_ctim == status_.st_ctim;
}

void State::remember(const struct stat& status, const timespec& now) {
    // File systems keep times in ticks, some of a second or two: a file that was written within the
    // last of them can change again and keep its status. Its content is compared until then.
    constexpr time_t coarsest_tick = 2;
    status_ = status;
    settled_ = now.tv_sec - status.st_mtim.tv_sec > coarsest_tick &&
               now.tv_sec - status.st_ctim.tv_sec > coarsest_tick;
}

void State::refresh() {
    struct stat status {};
    if (stat(path_.c_str(), &status) != 0 || !unchanged(status)) {
        load();
    }
}

void State::load() {
    const timespec now = wall_clock();
    const Descriptor file(open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    std::optional<std::string> text;
    if (file && fstat(file.get(), &status) == 0) {
        text = read_all(file.get());
    }
    if (!text) {
        const std::string problem = system_error(path_);
        unreadable_ = true;
        settled_ = false;
        if (problem != std::exchange(problem_, problem)) {
            complain(problem);
        }
        return;
    }
    remember(status, now);
    if (std::exchange(unreadable_, false) || *text != text_) {
        take(std::move(*text));
    }
}

void State::take(std::string text) {
    auto [state, problem] = parse(path_, text);
    text_ = std::move(text);
    problem_ = problem;
    if (problem.empty()) {
        state_ = std::move(state);
    } else {
        complain(state_.is_null() ? problem : problem + " (going on with the last good state)");
    }
}

void State::set_broken_file_aside(const std::string& target) {
    if (problem_.empty() || access(target.c_str(), F_OK) != 0) {
        return;
    }
    const std::string aside = target + ".broken";
    if (rename(target.c_str(), aside.c_str()) == 0) {
        complain(target + ": a change is written over the broken edit, which is kept as " + aside);
    }
}

bool State::persist(const Json& state) {
    const std::string target = resolve(path_);
    std::string text = dump(state, 2) + "\n";
    TemporaryFile file(target);
    const mode_t mode = status_.st_mode & 0777U;
    if (!file.put(text, mode)) {
        complain(system_error(target) + "; nothing was changed");
        return false;
    }
    set_broken_file_aside(target);
    if (!file.become(target)) {
        complain(system_error(target) + "; nothing was changed");
        return false;
    }
    struct stat status {};
    fstat(file.descriptor(), &status);
    remember(status, wall_clock());
    text_ = std::move(text);
    problem_.clear();
    return true;
}

} // namespace vxdevice
