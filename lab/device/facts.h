// SPDX-License-Identifier: MIT
#pragma once

/// The single facts of the gateway: operation, member of the state file and, for texts, the size
/// of the caller's buffer. These lists make both the operations and the check of the file's types.

#define VXDEVICE_TEXT_GETTERS(X)                                                                   \
    X(port_areacode_get, "/identity/area_code", 32)                                                \
    X(port_device_mac_get, "/identity/mac", 32)                                                    \
    X(port_device_cuei_get, "/identity/cuei", 256)                                                 \
    X(port_device_vendor_get, "/identity/vendor", 32)                                              \
    X(port_device_model_get, "/identity/model", 16)                                                \
    X(port_device_devtype_get, "/identity/device_type", 16)                                        \
    X(port_device_manu_get, "/identity/manufacturer", 16)                                          \
    X(port_device_prodid_get, "/identity/product_id", 128)                                         \
    X(port_device_sn_get, "/device_information/serial_number", 128)                                \
    X(port_device_hdversion_get, "/device_information/hardware_version", 64)                       \
    X(port_device_swversion_get, "/device_information/software_version", 64)                       \
    X(port_device_id_get, "/credentials/device_id", 128)                                           \
    X(port_device_secret_get, "/credentials/device_secret", 128)                                   \
    X(port_device_code_get, "/credentials/code", 32)                                               \
    X(port_device_accesstoken_get, "/credentials/access_token", 128)                               \
    X(port_device_refreshtoken_get, "/credentials/refresh_token", 128)                             \
    X(port_device_gwip_get, "/platform_channel/gateway_ip", 64)                                    \
    X(port_device_wanmac_get, "/platform_channel/wan_mac", 32)                                     \
    X(port_device_version_get, "/platform_channel/version", 128)                                   \
    X(port_device_url_get, "/platform_channel/url", 256)

#define VXDEVICE_TEXT_SETTERS(X)                                                                   \
    X(port_device_id_set, "/credentials/device_id")                                                \
    X(port_device_secret_set, "/credentials/device_secret")                                        \
    X(port_device_code_set, "/credentials/code")                                                   \
    X(port_device_accesstoken_set, "/credentials/access_token")                                    \
    X(port_device_refreshtoken_set, "/credentials/refresh_token")

#define VXDEVICE_NUMBER_GETTERS(X)                                                                 \
    X(port_device_timeout_get, "/credentials/token_expiry", number)                                \
    X(port_device_prottype_get, "/identity/protocol_type", number)                                 \
    X(port_device_coap_type, "/app_platform/tls", flag)                                            \
    X(port_device_coap_debug, "/app_platform/coap_debug", number)                                  \
    X(port_device_uplinktype_get, "/platform_channel/uplink_type", number)                         \
    X(port_device_syncswitch_get, "/platform_channel/sync_switch", flag)

#define VXDEVICE_NUMBER_SETTERS(X)                                                                 \
    X(port_device_mode_set, "/settings/mode")                                                      \
    X(port_device_firstguide_set, "/settings/first_guide")

#define VXDEVICE_RECORD_GETTERS(X)                                                                 \
    X(vx_device_stainfo_get, vx_station_list, "", stations)                                        \
    X(vx_device_wandiagnose, vx_wan_diagnosis, "/wan_diagnosis", wan_diagnosis)                    \
    X(vx_device_hostinfo, vx_host_table, "", hosts)                                                \
    X(vx_device_lanhost, vx_lan_host, "/lan_host", lan_host)                                       \
    X(vx_device_wan, vx_wan, "/wan", wan)                                                          \
    X(vx_device_wlanfilterenhance_get, vx_mac_filter, "", mac_filter)                              \
    X(vx_device_wlantimeswitch_get, vx_time_switch, "", schedules)
