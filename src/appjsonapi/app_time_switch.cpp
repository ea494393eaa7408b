// SPDX-License-Identifier: MIT
#include "appjsonapi/app_time_switch.h"

#include "appjsonapi/parameter_paths.h"
#include "appjsonapi/record_reader.h"
#include "appjsonapi/record_writer.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

constexpr ListPlace kSchedules =
    list_place(VXQ_AT(vx_time_switch, entries), VXQ_AT(vx_time_switch, count));

constexpr Member kSchedule[] = {
    text_member("RepeatDay", VXQ_AT(vx_time_switch_entry, repeat_day)),
    number_member("ID", VXQ_AT(vx_time_switch_entry, id)),
    text_member("StartTime", VXQ_AT(vx_time_switch_entry, start_time)),
    flag_member("Enable", VXQ_AT(vx_time_switch_entry, enable)),
    text_member("EndTime", VXQ_AT(vx_time_switch_entry, end_time)),
};

constexpr Member kStatus[] = {
    list_member("datelist", kSchedules, kSchedule),
};

constexpr Setting kScheduleSettings[] = {
    text_setting("RepeatDay", VXQ_AT(vx_time_switch_entry, repeat_day), ""),
    number_setting("ID", VXQ_AT(vx_time_switch_entry, id), ""),
    text_setting("StartTime", VXQ_AT(vx_time_switch_entry, start_time), ""),
    flag_setting("Enable", VXQ_AT(vx_time_switch_entry, enable), ""),
    text_setting("EndTime", VXQ_AT(vx_time_switch_entry, end_time), ""),
};
constexpr SettingGroup kScheduleGroup{kTimeSwitchPath, kScheduleSettings};

// A list in the status, but a single object here.
constexpr Setting kData[] = {
    object_setting("datelist", kScheduleGroup, ""),
};
constexpr SettingGroup kDataGroup{kTimeSwitchPath, kData};

constexpr Setting kBody[] = {
    text_setting("action", VXQ_AT(vx_time_switch_entry, action), ""),
    object_setting("data", kDataGroup, ""),
};
constexpr SettingsDocument kTimeSwitchDocument{{kTimeSwitchPath, kBody}, kTimeSwitchPath};

} // namespace

} // namespace vxq

using namespace vxq;

JsonText app_sys_gateway_ntwk_wlantimeswitch() {
    return write_status(vx_device_wlantimeswitch_get, object_document(kStatus));
}

int app_sys_gateway_ntwk_wlantimeswitch_parse(const RequestBody& body, vx_time_switch_entry& record,
                                              ParameterPath& path) {
    return read_settings({__func__, __LINE__}, body, kTimeSwitchDocument, &record, path);
}
