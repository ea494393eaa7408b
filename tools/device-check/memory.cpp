// SPDX-License-Identifier: MIT
#include "memory.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace device_check {
namespace {

constexpr std::size_t kGuardSize = 65536; ///< overruns are seldom longer; longer ones crash

/// Neither NUL nor a character, and no two neighbours alike.
unsigned char guard_byte(std::size_t position) {
    return static_cast<unsigned char>(0xA5U ^ (position & 0x0FU));
}

bool is_guard(const char* guard, std::size_t position) {
    return static_cast<unsigned char>(guard[position]) == guard_byte(position);
}

std::string bytes(std::size_t count) {
    return fmt::format("{} byte{}", count, count == 1 ? "" : "s");
}

std::size_t page_size() {
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

std::size_t whole_pages(std::size_t size) {
    return (size + page_size() - 1) / page_size() * page_size();
}

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

SharedPages::SharedPages(std::size_t size) : size_(whole_pages(std::max<std::size_t>(size, 1))) {
    void* const pages =
        mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED)
        fail("mmap");
    data_ = static_cast<char*>(pages);
}

SharedPages::~SharedPages() {
    munmap(data_, size_);
}

GuardedBuffer::GuardedBuffer(std::size_t size) : size_(size), pages_(size + 2 * kGuardSize) {
    fill(0);
}

char* GuardedBuffer::data() const {
    return pages_.data() + kGuardSize;
}

void GuardedBuffer::fill(unsigned char byte) const {
    for (std::size_t i = 0; i < kGuardSize; ++i) {
        pages_.data()[i] = static_cast<char>(guard_byte(i));
        data()[size_ + i] = static_cast<char>(guard_byte(i));
    }
    std::memset(data(), byte, size_);
}

std::optional<std::string> GuardedBuffer::overrun() const {
    std::size_t behind = kGuardSize;
    while (behind > 0 && is_guard(data() + size_, behind - 1))
        --behind;
    if (behind > 0)
        return fmt::format("writes {} beyond its buffer of {}", bytes(behind), size_);
    std::size_t before = 0;
    while (before < kGuardSize && is_guard(pages_.data(), before))
        ++before;
    if (before < kGuardSize)
        return fmt::format("writes {} in front of its buffer", bytes(kGuardSize - before));
    return std::nullopt;
}

std::size_t GuardedBuffer::changed_since(const std::string& before) const {
    std::size_t changed = 0;
    for (std::size_t i = 0; i < size_; ++i)
        changed += data()[i] != before[i] ? 1U : 0U;
    return changed;
}

ReadOnlyArgument::ReadOnlyArgument(const void* content, std::size_t size)
    : pages_(whole_pages(size) + page_size()),
      start_(pages_.data() + pages_.size() - page_size() - size) {
    if (size > 0)
        std::memcpy(start_, content, size);
    if (mprotect(pages_.data(), pages_.size() - page_size(), PROT_READ) != 0 ||
        mprotect(pages_.data() + pages_.size() - page_size(), page_size(), PROT_NONE) != 0)
        fail("mprotect");
}

} // namespace device_check
