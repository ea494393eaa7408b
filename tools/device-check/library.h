// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace device_check {

/// A loaded library. It stays loaded for the life of the process: its threads may still run.
class Library {
public:
    /// Loads as the loader would for the daemon, but finds every missing symbol at once.
    explicit Library(const std::string& file);

    /// Why it could not be loaded; empty when it was.
    const std::string& error() const { return error_; }
    /// A function of the library, or null.
    void* symbol(const char* name) const;

private:
    void* handle_;
    std::string error_;
};

} // namespace device_check
