// SPDX-License-Identifier: MIT
#pragma once

#include "common.h"

#include <ctime>
#include <functional>
#include <mutex>
#include <string>
#include <sys/stat.h>

namespace vxdevice {

/// The state file in memory. Follows edits of the file, and writes changes back in one piece.
class State {
public:
    /// The one of this process, read from the file that VX_DEVICE_STATE names when it is first
    /// asked for. Without the variable or with a file that can't be read: says so and exits with 2.
    static State& instance();

    explicit State(std::string path);
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    /// Calls reader(state) with the file's present content.
    int read(const std::function<int(const Json&)>& reader);

    /// Calls changer with a copy of the file's present content; when that returns 0, the copy
    /// becomes the state and the file. Then calls done with the result. All in one turn: what two
    /// threads, or two processes with this library, change is never lost.
    int change(const std::function<int(Json&)>& changer, const std::function<void(int)>& done);

private:
    void load();
    void refresh();
    bool unchanged(const struct stat& status) const;
    void remember(const struct stat& status, const timespec& now);
    void take(std::string text);
    bool persist(const Json& state);
    void set_broken_file_aside(const std::string& target);

    const std::string path_;
    std::mutex mutex_;
    Json state_;
    std::string text_;       ///< the file's content when it was last read or written
    struct stat status_ {};  ///< the file's status at that time
    bool settled_ = false;   ///< status_ is old enough to tell any later change
    bool unreadable_ = true; ///< the file could not be read, or not yet
    std::string problem_;    ///< what is wrong with the file now; empty when nothing is
};

} // namespace vxdevice
