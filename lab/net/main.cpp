// SPDX-License-Identifier: MIT
// The platform channel by itself, for a shell: the daemon's own entry leaves it to the gateway's
// device library to start it.
#include <vxquilan/entry_points.h>

int main() {
    return frame_vxquilan_net();
}
