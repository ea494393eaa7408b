// SPDX-License-Identifier: MIT
#include "vxquilan/reconnect_pause.h"

#include "os/clock.h"

namespace vxq {

void pause_before_retry(unsigned seconds) {
    sleep_seconds(seconds);
}

void pause_before_replacement(unsigned) {}

} // namespace vxq
