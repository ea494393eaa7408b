// SPDX-License-Identifier: MIT
#include "protocol/platform_commands.h"

#include <cstdlib>
#include <memory>

#include "log/log.h"
#include "os/thread.h"
#include "protocol/platform_exchange.h"
#include "tnjsonapi/tn_upgrade.h"
#include <vxquilan/device.h>

namespace {

// The latest order. What one order leaves in it the next may still find.
vx_upgrade s_upgrade;

struct FreeOrder {
    void operator()(vx_upgrade* order) const { std::free(order); }
};
/** An upgrade's own copy of its order: the next order must not change the one that runs. */
using Order = std::unique_ptr<vx_upgrade, FreeOrder>;

Order copy_order() {
    Order order(static_cast<vx_upgrade*>(std::malloc(sizeof(vx_upgrade))));
    if (order)
        *order = s_upgrade;
    return order;
}

void* upgrade_thread(void* argument) {
    const Order order(static_cast<vx_upgrade*>(argument));
    vx_device_upgrade(order.get());
    return nullptr;
}

bool start_upgrade() {
    Order order = copy_order();
    if (!order || !vxq::start_detached_thread(upgrade_thread, order.get()))
        return false;
    static_cast<void>(order.release()); // the thread's now
    return true;
}

} // namespace

int profession_upgrade(int sock, const char* text, int sequence) {
    vxq::acknowledge(sock, sequence);
    if (tn_upgrade_parse(text, &s_upgrade) != 0)
        return 0;
    if (!start_upgrade())
        QUILAN_LOG(VX_LOG_PROGRESS, "%s:pthread_create error!\n", "profession_upgrade");
    return 0;
}
