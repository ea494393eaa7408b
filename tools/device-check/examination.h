// SPDX-License-Identifier: MIT
#pragma once

#include "child.h"
#include "entry_points.h"
#include "memory.h"
#include "operations.h"

#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// One library, one operation after the other, each call in a process of its own.
namespace device_check {

struct Settings {
    std::string library;
    std::chrono::milliseconds limit{5000}; ///< how long a call may take
    bool write = false;                    ///< whether setters are called
    std::set<std::string> actions;         ///< the actions that are called
};

enum class Verdict { fit, defect, not_called };

struct Finding {
    Verdict verdict;
    std::string detail;
};

class Examination {
public:
    explicit Examination(Settings settings);

    /// Loads the library once, for its symbols; why that can't be done, or nothing.
    std::optional<std::string> load();
    Finding examine(const Operation& operation);
    /// How often the library called an entry point of the daemon.
    int entry_calls(std::size_t entry_point) const;

private:
    /// What a child tells about a call.
    struct Call {
        int result;
        int argument;       ///< port_device_timeout_set(): what it was given
        long before, after; ///< seconds of time()
        double milliseconds;
    };

    bool has(const Operation& operation) const;
    Finding dispatch(const Operation& operation);
    Finding start(const Operation& operation);
    Finding get(const Operation& operation);
    Finding value(const Operation& operation);
    Finding check(const Operation& operation);
    Finding set(const Operation& operation);
    Finding act(const Operation& operation);

    /// Loads, prepares the channel, then works, all in a child; the first step is preparation.
    Outcome run(const Operation& operation, int steps,
                const std::function<void(const class Library&, const Progress&)>& work);
    Outcome call(const Operation& operation, void* buffer);
    void call_here(const Library& library, const Operation& operation, void* buffer);
    void write_back(const Library& library, const Operation& operation, const GuardedBuffer& first,
                    const GuardedBuffer& second, const Progress& progress);
    std::string what_it_writes(const Operation& operation);
    std::string time_taken() const;

    Settings settings_;
    SharedPages shared_;
    std::vector<bool> present_;
    std::set<Channel> unprepared_; ///< channels that can't be prepared
    const Operation* examined_ = nullptr;
    Call& call_;
    EntryCalls* entry_calls_;
};

} // namespace device_check
