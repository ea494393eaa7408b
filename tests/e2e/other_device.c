/* SPDX-License-Identifier: MIT */
/* A device library by another maker, in plain C99: knows its MAC address and its platform, and
 * leaves everything else to the daemon's zeroed buffers. */
#include <vxquilan/device.h>

#include <stdio.h>
#include <stdlib.h>

#if defined(__GNUC__)
#pragma GCC diagnostic ignored "-Wunused-parameter"
#define PUBLIC __attribute__((visibility("default")))
#endif

PUBLIC int port_device_mac_get(char* mac) {
    snprintf(mac, 32, "%s", "02:0T:HE:R0:00:01");
    return 0;
}

PUBLIC int port_device_app_ip(char* host, int* port) {
    const char* const number = getenv("OTHER_DEVICE_PORT");
    snprintf(host, 64, "%s", "127.0.0.1");
    *port = number != NULL ? atoi(number) : -1;
    return 0;
}

#define NOTHING(name, arguments)                                                                   \
    PUBLIC int name arguments {                                                                    \
        return 0;                                                                                  \
    }

NOTHING(port_device_init, (void))
NOTHING(port_areacode_get, (char* area))
NOTHING(port_device_mode_get, (int* mode))
NOTHING(port_device_id_get, (char* id))
NOTHING(port_device_id_set, (const char* id))
NOTHING(port_device_secret_get, (char* secret))
NOTHING(port_device_secret_set, (const char* secret))
NOTHING(port_device_code_get, (char* code))
NOTHING(port_device_code_set, (const char* code))
NOTHING(port_device_accesstoken_get, (char* token))
NOTHING(port_device_accesstoken_set, (const char* token))
NOTHING(port_device_refreshtoken_get, (char* token))
NOTHING(port_device_refreshtoken_set, (const char* token))
NOTHING(port_device_timeout_get, (int* expiry))
NOTHING(port_device_timeout_set, (int timeout))
NOTHING(port_device_firstguide_set, (int flag))
NOTHING(port_device_sn_get, (char* sn))
NOTHING(port_device_cuei_get, (char* cuei))
NOTHING(port_device_vendor_get, (char* vendor))
NOTHING(port_device_model_get, (char* model))
NOTHING(port_device_devtype_get, (char* type))
NOTHING(port_device_manu_get, (char* manu))
NOTHING(port_device_prodid_get, (char* prodid))
NOTHING(port_device_hdversion_get, (char* version))
NOTHING(port_device_swversion_get, (char* version))
NOTHING(port_device_prottype_get, (int* type))
NOTHING(port_device_coap_type, (int* type))
NOTHING(port_device_coap_debug, (int* level))
NOTHING(vx_device_stainfo_get, (struct vx_station_list * stations))
NOTHING(vx_device_stainfo_byget, (struct vx_station_list * stations, int selector))
NOTHING(vx_device_deldevice, (void))
NOTHING(vx_device_reboot, (void))
NOTHING(vx_device_restoredefcfg, (void))
NOTHING(vx_device_wandiagnose, (struct vx_wan_diagnosis * record))
NOTHING(vx_device_hostinfo, (struct vx_host_table * record))
NOTHING(vx_device_info, (struct vx_device_information * record))
NOTHING(vx_device_lanhost, (struct vx_lan_host * record))
NOTHING(vx_device_wan, (struct vx_wan * record))
NOTHING(vx_device_wlanbasic, (struct vx_wlan_status * record))
NOTHING(vx_device_sendsetting, (const struct vx_wlan_status* record))
NOTHING(vx_device_wlanbasic_set, (const struct vx_radio_switch* record))
NOTHING(vx_device_ssidsetting, (const struct vx_ssid_settings* record))
NOTHING(vx_device_wifi_check, (const struct vx_guide* record))
NOTHING(vx_device_wlanguidebasic, (const struct vx_guide* record))
NOTHING(vx_device_guest_network_get, (struct vx_guest_network * record))
NOTHING(vx_device_guest_check, (const struct vx_guest_network* record))
NOTHING(vx_device_guest_network_set, (const struct vx_guest_network* record))
NOTHING(vx_device_wlanfilterenhance_get, (struct vx_mac_filter * record))
NOTHING(vx_device_wlanfilterenhance_set, (const struct vx_mac_filter* record))
NOTHING(vx_device_wlantimeswitch_get, (struct vx_time_switch * record))
NOTHING(vx_device_wlantimeswitch_set, (const struct vx_time_switch_entry* entry))
NOTHING(vx_device_qosclasshost, (const struct vx_qos_host* record))
NOTHING(port_device_init_net, (void))
NOTHING(port_device_mode_set, (int mode))
NOTHING(port_device_ip_get, (char* ip))
NOTHING(port_device_gwip_get, (char* address))
NOTHING(port_device_encryptkey_get, (unsigned char* key))
NOTHING(port_device_encryptkey_set, (const unsigned char* key))
NOTHING(port_device_sequence_get, (void))
NOTHING(port_device_sequence_set, (void))
NOTHING(port_device_wanmac_get, (char* mac))
NOTHING(port_device_version_get, (char* version))
NOTHING(port_device_url_get, (char* url))
NOTHING(port_device_uplinktype_get, (int* type))
NOTHING(port_device_syncswitch_get, (int* flag))
NOTHING(vx_device_wifi, (const struct wifi_cfg* config))
NOTHING(vx_device_wifi_get, (struct wifi_cfg * config))
NOTHING(vx_device_wifitimer, (const struct wifitimer_cfg* config))
NOTHING(vx_device_wifitimer_get, (struct wifitimer_cfg * config, const struct status_req* request))
NOTHING(vx_device_wpsswitch, (int on))

PUBLIC void* vx_device_upgrade(void* upgrade) {
    return NULL;
}
