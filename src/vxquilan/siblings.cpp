// SPDX-License-Identifier: MIT
#include "vxquilan/siblings.h"

#include <cstring>

#include "os/process.h"
#include "text/text.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

struct AreaSibling {
    const char* area;
    const char* end;
    const char* start;
};

constexpr AreaSibling kAreaSiblings[] = {
    {"Hebei", "killall -9 vxquilan_hebei", "/vxrom/bin/vxquilan_hebei &"},
    {"Tianjin", "killall -9 vxquilan_tianjin", "/vxrom/bin/vxquilan_tianjin &"},
};

} // namespace

void start_area_sibling() {
    TextBuffer<32> area;
    port_areacode_get(area.data());
    for (const AreaSibling& sibling : kAreaSiblings) {
        if (std::strcmp(area.text(), sibling.area) != 0)
            continue;
        run_command(sibling.end);
        run_command(sibling.start);
    }
}

void switch_statpush(int mode) {
    run_command("killall -9 statpush");
    if (mode == kModeWithStatpush)
        run_command("/vxrom/bin/statpush &");
}

} // namespace vxq
