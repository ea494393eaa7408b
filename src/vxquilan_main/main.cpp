// SPDX-License-Identifier: MIT
#include "vxquilan/frame_vxquilan.h"

#include "os/process.h"

int main() {
    vxq::share_one_heap();
    frame_vxquilan();
}
