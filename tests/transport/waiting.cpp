// SPDX-License-Identifier: MIT
#include "waiting.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

namespace transport {

namespace {

int patience_factor() {
    static const int factor = [] {
        const char* const text = std::getenv("VXQUILAN_TEST_PATIENCE");
        return text != nullptr ? std::max(std::atoi(text), 1) : 1;
    }();
    return factor;
}

} // namespace

milliseconds patience() {
    return std::chrono::seconds(20) * patience_factor();
}

int repetitions(int ordinary) {
    return (ordinary + patience_factor() - 1) / patience_factor();
}

bool wait_until(const std::function<bool()>& condition) {
    const auto deadline = Clock::now() + patience();
    while (!condition()) {
        if (Clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(milliseconds(1));
    }
    return true;
}

milliseconds duration_of(const std::function<void()>& action) {
    const auto begin = Clock::now();
    action();
    return std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
}

} // namespace transport
