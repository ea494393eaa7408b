/* SPDX-License-Identifier: MIT */
#ifndef VXQUILAN_DEVICE_H
#define VXQUILAN_DEVICE_H

/**
 * @file
 * The device library of the gateway's maker (`libvxdevice.so`). The daemon calls these functions
 * and implements none of them; it finds them in shared libraries when it is loaded, so any library
 * that has them all can stand in its place.
 *
 * Unless said otherwise
 * - a function returns 0 for success and anything else for failure;
 * - a getter fills a buffer of the caller that was filled with zeros before; the size stated is the
 *   whole buffer, NUL included, and is not passed; a getter that fails leaves the buffer as it was;
 * - a setter's text is NUL-terminated and belongs to the caller; copy what you keep;
 * - a record belongs to the caller and is only valid during the call (records.h);
 * - a function may be called from any thread, also from two at once. The functions of the app
 *   channel run on the daemon's main loop, its receive thread or its heartbeat thread; whatever a
 *   call takes, that thread serves nobody meanwhile. The entry points of entry_points.h may be
 *   called from the library's own threads, but not from inside one of these functions.
 */

#include <vxquilan/records.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- start-up ----------------------------------------------------------------------------- */

/** Prepares the library for the app channel. Called once, at start-up, before anything else. */
int port_device_init(void);

/** Prepares the library for the platform channel. Called once when that channel starts. */
int port_device_init_net(void);

/* ---- identity, credentials, settings ------------------------------------------------------ */

/** Area code, 32 bytes. "Hebei" and "Tianjin" make the daemon start their sibling daemons. */
int port_areacode_get(char* area);

/**
 * Device mode. 1 has the daemon start the status-push daemon; the others are the library's. Any
 * change makes the app channel connect anew. Asked for on every turn of the main loop, up to a
 * hundred times a second: answer quickly.
 */
int port_device_mode_get(int* mode);
/** Sets the device mode; the daemon sets 0 after applying platform Wi-Fi settings in mode 1. */
int port_device_mode_set(int mode);

/** Device ID on the platform, 128 bytes; empty while the gateway has none. */
int port_device_id_get(char* id);
/** Stores the device ID; the empty text forgets it. */
int port_device_id_set(const char* id);

/** Device secret, 128 bytes. */
int port_device_secret_get(char* secret);
/** Stores the device secret. */
int port_device_secret_set(const char* secret);

/** Registration code that an activation presents, 32 bytes. */
int port_device_code_get(char* code);
/** Stores the registration code. */
int port_device_code_set(const char* code);

/** Access token, 128 bytes. */
int port_device_accesstoken_get(char* token);
/** Stores the access token. */
int port_device_accesstoken_set(const char* token);

/** Refresh token, 128 bytes. */
int port_device_refreshtoken_get(char* token);
/** Stores the refresh token. */
int port_device_refreshtoken_set(const char* token);

/**
 * When the access token expires: absolute, in seconds of the clock of time(). The daemon refreshes
 * the tokens once this time has passed.
 */
int port_device_timeout_get(int* expiry);
/**
 * Stores how long the access token is good for.
 *
 * @param timeout  the "timeOut" of the platform's reply, unchanged; the library turns it into the
 *                 absolute time that port_device_timeout_get() gives back
 */
int port_device_timeout_set(int timeout);

/** Sets the first-guide flag; the daemon sets 1 after an activation. */
int port_device_firstguide_set(int flag);

/** MAC address, 32 bytes. */
int port_device_mac_get(char* mac);
/** Serial number, 128 bytes. */
int port_device_sn_get(char* sn);
/** CUEI, 256 bytes. */
int port_device_cuei_get(char* cuei);
/** Vendor, 32 bytes. */
int port_device_vendor_get(char* vendor);
/** Model, 16 bytes. */
int port_device_model_get(char* model);
/** Device type, 16 bytes. */
int port_device_devtype_get(char* type);
/** Manufacturer, 16 bytes. */
int port_device_manu_get(char* manu);
/** Product ID, 128 bytes. */
int port_device_prodid_get(char* prodid);
/** Hardware version, 64 bytes. */
int port_device_hdversion_get(char* version);
/** Software version, 64 bytes. */
int port_device_swversion_get(char* version);
/** Protocol type; the caller presets it to -1, which is reported when the library leaves it. */
int port_device_prottype_get(int* type);

/* ---- app channel -------------------------------------------------------------------------- */

/** How to reach the platform: 1 CoAP over TLS, any other value CoAP over plain TCP. */
int port_device_coap_type(int* type);
/** The level of libcoap's own log, 0 to 7. */
int port_device_coap_debug(int* level);
/**
 * The platform's CoAP address. Asked for on every connect and every request.
 *
 * @param host  64 bytes; name or dotted quad
 * @param port  preset to -1 by the caller
 */
int port_device_app_ip(char* host, int* port);

/** All attached stations. */
int vx_device_stainfo_get(struct vx_station_list* stations);
/**
 * Some of the attached stations.
 *
 * @param selector  what the library passed to profession_sys_data_report()
 */
int vx_device_stainfo_byget(struct vx_station_list* stations, int selector);

/** Forgets the binding to the platform, where the device has been deleted. Result not used. */
int vx_device_deldevice(void);
/** Reboots the gateway; the platform has been answered already. Result not used. */
int vx_device_reboot(void);
/** Restores the factory configuration; the platform has been answered already. Result not used. */
int vx_device_restoredefcfg(void);

/** WAN diagnosis. */
int vx_device_wandiagnose(struct vx_wan_diagnosis* record);
/** Hosts of the local network. */
int vx_device_hostinfo(struct vx_host_table* record);
/** The gateway itself. */
int vx_device_info(struct vx_device_information* record);
/** The gateway's address in the local network. */
int vx_device_lanhost(struct vx_lan_host* record);
/** WAN connection. */
int vx_device_wan(struct vx_wan* record);

/** Wireless networks with their radios' settings. */
int vx_device_wlanbasic(struct vx_wlan_status* record);
/** The platform asks for the current settings to be sent again; the record is all zero. */
int vx_device_sendsetting(const struct vx_wlan_status* record);
/** Switches radios on or off. A failure's value is reported to the platform. */
int vx_device_wlanbasic_set(const struct vx_radio_switch* record);
/** Changes names and security of networks. A failure's value is reported to the platform. */
int vx_device_ssidsetting(const struct vx_ssid_settings* record);

/**
 * Checks the first-time set-up before it is applied.
 *
 * @return 0 when nothing clashes; 1 the 2.4 GHz name, 2 the 5 GHz name is the guest network's; 3
 *         the key is that of the 2.4 GHz, 4 of the 5 GHz guest network; 5 both bands have the same
 *         name; any other value is a clash without a message
 */
int vx_device_wifi_check(const struct vx_guide* record);
/** Applies the first-time set-up. A failure's value is reported to the platform. */
int vx_device_wlanguidebasic(const struct vx_guide* record);

/** Guest networks. */
int vx_device_guest_network_get(struct vx_guest_network* record);
/**
 * Checks guest networks before they are applied.
 *
 * @return 0 when nothing clashes; 1 the name is the 2.4 GHz, 2 the 5 GHz network's; 3 the key is
 *         that of the 2.4 GHz, 4 of the 5 GHz network; any other value is a clash without a message
 */
int vx_device_guest_check(const struct vx_guest_network* record);
/** Applies guest networks. A failure's value is reported to the platform. */
int vx_device_guest_network_set(const struct vx_guest_network* record);

/** MAC filters. */
int vx_device_wlanfilterenhance_get(struct vx_mac_filter* record);
/** Applies MAC filters. A failure's value is reported to the platform. */
int vx_device_wlanfilterenhance_set(const struct vx_mac_filter* record);

/** All schedules of the Wi-Fi. */
int vx_device_wlantimeswitch_get(struct vx_time_switch* record);
/** Applies one schedule. A failure's value is reported to the platform. */
int vx_device_wlantimeswitch_set(const struct vx_time_switch_entry* entry);

/** Applies rate limits to one host. A failure's value is reported to the platform. */
int vx_device_qosclasshost(const struct vx_qos_host* record);

/* ---- platform channel --------------------------------------------------------------------- */

/** The gateway's IP address, 16 bytes. Asked every 2 s until it succeeds. */
int port_device_ip_get(char* ip);
/** The platform's IPv4 address, 64 bytes, dotted quad. */
int port_device_gwip_get(char* address);
/** The session key, 128 bytes, binary: the key's 16 bytes and zeros. Asked for every frame. */
int port_device_encryptkey_get(unsigned char* key);
/** Stores the session key, 128 bytes, binary. */
int port_device_encryptkey_set(const unsigned char* key);
/** @return the current sequence number */
int port_device_sequence_get(void);
/** Advances the sequence number by one. */
int port_device_sequence_set(void);
/** MAC address of the WAN side, 32 bytes. */
int port_device_wanmac_get(char* mac);
/** Version that the key request carries, 128 bytes. */
int port_device_version_get(char* version);
/** URL that the registration carries, 256 bytes. */
int port_device_url_get(char* url);
/** Kind of uplink: 1 is wireless. */
int port_device_uplinktype_get(int* type);
/** Whether platform Wi-Fi settings are applied: 0 no. */
int port_device_syncswitch_get(int* flag);

/** Applies radios and access points. */
int vx_device_wifi(const struct wifi_cfg* config);
/** Radios and access points as they are. */
int vx_device_wifi_get(struct wifi_cfg* config);
/** Applies the switches whose set flag is 1, and the timers. */
int vx_device_wifitimer(const struct wifitimer_cfg* config);
/** Switches and timers as they are; the request says which of them are wanted. */
int vx_device_wifitimer_get(struct wifitimer_cfg* config, const struct status_req* request);
/** Switches WPS on (1) or off (0). */
int vx_device_wpsswitch(int on);

/**
 * Downloads and installs a firmware image. The entry of a detached thread of its own, so it may
 * take as long as it needs; an order that comes meanwhile is run beside it.
 *
 * @param upgrade  a struct vx_upgrade of this call's own, valid until it returns
 * @return not looked at
 */
void* vx_device_upgrade(void* upgrade);

#ifdef __cplusplus
}
#endif

#endif
