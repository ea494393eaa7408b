// SPDX-License-Identifier: MIT
#include "vxquilan/reconnect_pause.h"

#include "os/clock.h"
#include "os/random.h"

namespace vxq {

void pause_before_retry(unsigned seconds) {
    sleep_seconds(seconds);
    pause_before_replacement(seconds);
}

void pause_before_replacement(unsigned seconds) {
    constexpr unsigned kMilliseconds = 1000;
    sleep_milliseconds(random_up_to(seconds * kMilliseconds));
}

} // namespace vxq
