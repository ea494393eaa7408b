// SPDX-License-Identifier: MIT
#include "vx_coap/coap_events.h"

#include <fcntl.h>
#include <iterator>
#include <unistd.h>

namespace vxq {

CoapEventSource::~CoapEventSource() {
    if (descriptor_ >= 0)
        close(descriptor_);
}

void CoapEventSource::open(int descriptor) {
    if (descriptor_ >= 0)
        close(descriptor_);
    descriptor_ = descriptor < 0 ? -1 : fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
}

CoapEvents CoapEventSource::take(int milliseconds) const {
    CoapEvents events{};
    const int count = epoll_wait(descriptor_, events.list, std::size(events.list), milliseconds);
    events.count = count > 0 ? count : 0;
    return events;
}

} // namespace vxq
