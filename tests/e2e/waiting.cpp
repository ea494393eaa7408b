// SPDX-License-Identifier: MIT
#include "waiting.h"

#include <cstdlib>
#include <thread>

namespace e2e {

int patience() {
    const char* const factor = std::getenv("VXQUILAN_TEST_PATIENCE");
    return factor != nullptr && std::atoi(factor) > 0 ? std::atoi(factor) : 1;
}

bool wait_until(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit * patience();
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return condition();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace e2e
