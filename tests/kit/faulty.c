/* SPDX-License-Identifier: MIT */
/* The example library with one operation replaced by one that has a defect. */
#define _POSIX_C_SOURCE 200809L

#include <vxquilan/device.h>

#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

/* The example's own operation gets another name, so that this file's takes its place. */
#if defined(DEFECT_overrun)
#define port_device_model_get replaced
#elif defined(DEFECT_overrun_of_record)
#define vx_device_stainfo_get replaced
#elif defined(DEFECT_underrun)
#define port_areacode_get replaced
#elif defined(DEFECT_missing_nul)
#define port_device_mac_get replaced
#elif defined(DEFECT_missing_nul_in_entry)
#define vx_device_wlanfilterenhance_get replaced
#elif defined(DEFECT_count)
#define vx_device_hostinfo replaced
#elif defined(DEFECT_negative_count)
#define vx_device_guest_network_get replaced
#elif defined(DEFECT_count_in_entry)
#define vx_device_wifi_get replaced
#elif defined(DEFECT_missing_symbol)
#define vx_device_wan replaced
#elif defined(DEFECT_crash)
#define port_device_sn_get replaced
#elif defined(DEFECT_ends_process)
#define port_device_cuei_get replaced
#elif defined(DEFECT_hang)
#define port_device_url_get replaced
#elif defined(DEFECT_relies_on_zeros)
#define port_device_vendor_get replaced
#elif defined(DEFECT_other_value)
#define port_device_id_set replaced
#elif defined(DEFECT_relative_time)
#define port_device_timeout_set replaced
#elif defined(DEFECT_writes_argument)
#define vx_device_wifi replaced
#elif defined(DEFECT_reads_beyond_argument)
#define port_device_encryptkey_set replaced
#elif defined(DEFECT_calls_back) || defined(DEFECT_hanging_start)
#define port_device_init replaced
#endif

#include "vxdevice.c"

#undef port_device_model_get
#undef vx_device_stainfo_get
#undef port_areacode_get
#undef port_device_mac_get
#undef vx_device_wlanfilterenhance_get
#undef vx_device_hostinfo
#undef vx_device_guest_network_get
#undef vx_device_wifi_get
#undef port_device_sn_get
#undef port_device_cuei_get
#undef port_device_url_get
#undef port_device_vendor_get
#undef port_device_id_set
#undef port_device_timeout_set
#undef vx_device_wifi
#undef port_device_encryptkey_set
#undef port_device_init

#if defined(DEFECT_overrun)
int port_device_model_get(char* model) {
    memcpy(model, "sixteen letters!", 17); /* the NUL is one too many */
    return 0;
}
#elif defined(DEFECT_overrun_of_record)
int vx_device_stainfo_get(struct vx_station_list* stations) {
    memset(stations, 0, sizeof *stations + 4);
    return 0;
}
#elif defined(DEFECT_underrun)
int port_areacode_get(char* area) {
    area[-1] = 0;
    return 0;
}
#elif defined(DEFECT_missing_nul)
int port_device_mac_get(char* mac) {
    memset(mac, 'x', 32);
    return 0;
}
#elif defined(DEFECT_missing_nul_in_entry)
int vx_device_wlanfilterenhance_get(struct vx_mac_filter* record) {
    record->count = 2;
    record->entries[1].filter_count = 3;
    memset(record->entries[1].filters[2].host_name, 'x', 64);
    return 0;
}
#elif defined(DEFECT_count)
int vx_device_hostinfo(struct vx_host_table* record) {
    record->count = VX_HOST_CAPACITY + 1;
    return 0;
}
#elif defined(DEFECT_negative_count)
int vx_device_guest_network_get(struct vx_guest_network* record) {
    record->count = -1;
    return 0;
}
#elif defined(DEFECT_count_in_entry)
int vx_device_wifi_get(struct wifi_cfg* config) {
    config->radio_num = 1;
    config->radio[0].ap_num = VX_WIFI_AP_CAPACITY + 1;
    return 0;
}
#elif defined(DEFECT_crash)
int port_device_sn_get(char* sn) {
    (void)sn;
    return raise(SIGSEGV);
}
#elif defined(DEFECT_ends_process)
int port_device_cuei_get(char* cuei) {
    (void)cuei;
    _exit(3);
}
#elif defined(DEFECT_hang)
int port_device_url_get(char* url) {
    (void)url;
    for (;;)
        pause();
}
#elif defined(DEFECT_relies_on_zeros)
int port_device_vendor_get(char* vendor) {
    strcat(vendor, "Example");
    return 0;
}
#elif defined(DEFECT_other_value)
int port_device_id_set(const char* id) {
    (void)id;
    return set_text(memory.id, sizeof memory.id, "another");
}
#elif defined(DEFECT_relative_time)
int port_device_timeout_set(int timeout) {
    memory.expiry = timeout;
    return 0;
}
#elif defined(DEFECT_writes_argument)
int vx_device_wifi(const struct wifi_cfg* config) {
    ((struct wifi_cfg*)(size_t)config)->radio_num = 0;
    return 0;
}
#elif defined(DEFECT_reads_beyond_argument)
int port_device_encryptkey_set(const unsigned char* key) {
    static volatile unsigned char last;
    last = key[sizeof memory.key];
    return last;
}
#elif defined(DEFECT_calls_back)
int port_device_init(void) {
    return profession_sys_register_code("4711");
}
#elif defined(DEFECT_hanging_start)
int port_device_init(void) {
    for (;;)
        pause();
}
#elif defined(DEFECT_crashing_load)
__attribute__((constructor)) static void crash(void) {
    raise(SIGSEGV);
}
#elif defined(DEFECT_undefined_symbol)
int no_such_function(void);
int calls_it(void) {
    return no_such_function();
}
#endif
