// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <string>

/// Work that may crash or never end, in a process of its own.
namespace device_check {

/// How the child tells what it has got done.
class Progress {
public:
    explicit Progress(int descriptor) : descriptor_(descriptor) {}
    /// One more step is done; the time limit starts anew.
    void step() const;

private:
    int descriptor_;
};

struct Outcome {
    int steps = 0;        ///< steps that were done
    std::string accident; ///< what happened instead of the next one; empty when all were done
};

/**
 * Runs work in a child process until it has done its steps. The child's standard output is its
 * standard error, so that a library that prints doesn't print into the report.
 *
 * @param limit  how long one step may take
 */
Outcome run_in_child(int steps, std::chrono::milliseconds limit,
                     const std::function<void(const Progress&)>& work);

} // namespace device_check
