// SPDX-License-Identifier: MIT
#include "vxquilan/frame_vxquilan.h"

int main() {
    frame_vxquilan();
}
