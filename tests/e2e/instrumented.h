// SPDX-License-Identifier: MIT
#pragma once

namespace e2e {

/** Whether a sanitizer is built in, which brings symbols, libraries and memory of its own. */
constexpr bool is_instrumented() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return true;
#else
    return false;
#endif
}

} // namespace e2e
