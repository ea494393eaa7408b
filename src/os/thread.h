// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace vxq {

using ThreadEntry = void* (*)(void*);

/**
 * Stack of each of the daemon's threads. All of them call the device library, which may want 260 KB
 * for a look into its configuration file, beneath a handler with a record of 140 KB. Only what is
 * used takes memory.
 */
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr std::size_t kThreadStack = std::size_t{2048} * 1024; // the sanitizer's own share
#else
inline constexpr std::size_t kThreadStack = std::size_t{512} * 1024;
#endif

/**
 * Starts a detached thread with a stack of kThreadStack: C libraries differ in their default from
 * 80 KB to 8 MB.
 *
 * @return true when the thread was started
 */
bool start_detached_thread(ThreadEntry entry, void* argument);

} // namespace vxq
