// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace vxq {

using ThreadEntry = void* (*)(void*);

/**
 * Starts a detached thread. The stack size is always said: C libraries differ in their default
 * from 80 KB to 8 MB, and records of 140 KB live on these stacks.
 *
 * @return true when the thread was started
 */
bool start_detached_thread(ThreadEntry entry, void* argument, std::size_t stack_bytes);

} // namespace vxq
