// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstddef>
#include <span>

/// What the daemon exports to device libraries, in a harmless form: every call is counted, nothing
/// is done.
namespace device_check {

struct EntryPoint {
    const char* name;
    /// Whether the daemon takes locks or calls the library back in it, so that a library must not
    /// call it from inside an operation.
    bool acts;
};

std::span<const EntryPoint> entry_points();

struct EntryCalls {
    std::atomic<int> all;
    std::atomic<int> inside; ///< on the thread that was inside an operation
};

/// Where calls are counted from now on: one element for each entry point, shared with the parent.
void count_entry_calls(EntryCalls* calls);

/// Between construction and destruction the calling thread is inside the operation examined.
class InsideOperation {
public:
    explicit InsideOperation(bool examined);
    ~InsideOperation();
    InsideOperation(const InsideOperation&) = delete;
    InsideOperation& operator=(const InsideOperation&) = delete;
};

} // namespace device_check
