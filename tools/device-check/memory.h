// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>

/// Memory that tells what a library did to it. Parent and child process share it, so that it still
/// speaks when the child has crashed.
namespace device_check {

/// Pages of memory, shared with all children, zero at first.
class SharedPages {
public:
    explicit SharedPages(std::size_t size);
    ~SharedPages();
    SharedPages(const SharedPages&) = delete;
    SharedPages& operator=(const SharedPages&) = delete;

    char* data() const { return data_; }
    std::size_t size() const { return size_; }

private:
    std::size_t size_;
    char* data_;
};

/// A buffer of exactly the size asked for, between guard bytes.
class GuardedBuffer {
public:
    explicit GuardedBuffer(std::size_t size);

    char* data() const;
    std::size_t size() const { return size_; }

    /// Fills the buffer and renews the guards.
    void fill(unsigned char byte) const;
    /// What was written outside, in words, or nothing.
    std::optional<std::string> overrun() const;
    std::string content() const { return {data(), size_}; }
    /// How many bytes differ from an earlier content.
    std::size_t changed_since(const std::string& before) const;

private:
    std::size_t size_;
    SharedPages pages_;
};

/// A copy of an argument that can't be written and right behind which nothing can be read.
class ReadOnlyArgument {
public:
    ReadOnlyArgument(const void* content, std::size_t size);

    void* data() const { return start_; }

private:
    SharedPages pages_;
    char* start_;
};

} // namespace device_check
