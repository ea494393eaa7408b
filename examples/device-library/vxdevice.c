/* SPDX-License-Identifier: MIT */
/*
 * A device library that gets a gateway online, and no more: libvxdevice.so in plain C99.
 *
 * Facts are constants, credentials live in memory. These variables are looked at:
 *
 * - EXAMPLE_PLATFORM_HOST: name or address of the platform; 127.0.0.1 when unset.
 * - EXAMPLE_PLATFORM_PORT: its CoAP port; 5683 when unset.
 * - EXAMPLE_CODE_PIPE: a FIFO to read registration codes from, one a line, in place of the page on
 *   which a visitor would enter the code; none when unset.
 * - EXAMPLE_PLATFORM_CHANNEL: address of the platform channel's server, dotted quad; when unset,
 *   the channel is not started.
 */
#define _POSIX_C_SOURCE 200809L

#include <vxquilan/device.h>
#include <vxquilan/entry_points.h>

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

enum { FAILED = 1, STACK_SIZE = 512 * 1024 };

/* ---- what the gateway remembers ------------------------------------------------------- */

/* A real library keeps this in flash. The daemon calls from several threads: everything that
 * changes stands behind the one lock. */
static struct {
    pthread_mutex_t lock;
    char id[128], secret[128], code[32], access_token[128], refresh_token[128];
    unsigned char key[128];
    int expiry, mode, first_guide, sequence, mode_questions;
} memory = {.lock = PTHREAD_MUTEX_INITIALIZER, .sequence = 1};

static int copy(void* target, const void* source, size_t size) {
    pthread_mutex_lock(&memory.lock);
    memcpy(target, source, size);
    pthread_mutex_unlock(&memory.lock);
    return 0;
}

/* The daemon's texts may have any length; what doesn't fit is refused, not cut. */
static int set_text(char* place, size_t size, const char* text) {
    const size_t length = strlen(text);
    if (length >= size)
        return FAILED;
    return copy(place, text, length + 1);
}

static int get_text(char* buffer, size_t size, const char* text) {
    return snprintf(buffer, size, "%s", text) < (int)size ? 0 : FAILED;
}

static const char* setting(const char* name, const char* otherwise) {
    const char* const value = getenv(name);
    return value != NULL && *value != '\0' ? value : otherwise;
}

/* The forms that most operations have. */
#define TEXT(what, size, value)                                                                    \
    int port_device_##what##_get(char* buffer) {                                                   \
        return get_text(buffer, size, value);                                                      \
    }
#define STORED_TEXT(what, place)                                                                   \
    int port_device_##what##_get(char* buffer) {                                                   \
        return copy(buffer, memory.place, sizeof memory.place);                                    \
    }                                                                                              \
    int port_device_##what##_set(const char* text) {                                               \
        return set_text(memory.place, sizeof memory.place, text);                                  \
    }
#define NUMBER(name, value)                                                                        \
    int name(int* number) {                                                                        \
        *number = value;                                                                           \
        return 0;                                                                                  \
    }
/* What this gateway doesn't have. A getter then leaves its buffer alone. */
#define NOTHING(name, type)                                                                        \
    int name(type argument) {                                                                      \
        (void)argument;                                                                            \
        return FAILED;                                                                             \
    }
#define DO(name, action)                                                                           \
    int name(void) {                                                                               \
        fputs("gateway: " action "\n", stderr);                                                    \
        return 0;                                                                                  \
    }

/* ---- threads of our own --------------------------------------------------------------- */

static int start_thread(void* (*entry)(void*), void* argument) {
    pthread_attr_t attributes;
    pthread_t thread;
    int error;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, STACK_SIZE);
    error = pthread_create(&thread, &attributes, entry, argument);
    pthread_attr_destroy(&attributes);
    return error;
}

/* Hands each registration code to the daemon, which activates the gateway with it. The daemon
 * stores the code through port_device_code_set(), called from in there, so no lock is held here. */
static void* read_codes(void* pipe_name) {
    FILE* const pipe = fopen(pipe_name, "r+"); /* "+": there is always a writer, so no end */
    char line[64];
    while (pipe != NULL && fgets(line, sizeof line, pipe) != NULL) {
        line[strcspn(line, "\r\n")] = '\0';
        if (*line != '\0')
            profession_sys_register_code(line);
    }
    return NULL;
}

static void* run_platform_channel(void* argument) {
    frame_vxquilan_net(); /* never comes back */
    return argument;
}

/* ---- start-up, settings --------------------------------------------------------------- */

int port_device_init(void) {
    char* const pipe_name = getenv("EXAMPLE_CODE_PIPE");
    return pipe_name != NULL ? start_thread(read_codes, pipe_name) : 0;
}

int port_device_init_net(void) {
    return 0;
}

/* The daemon's first question comes before its loop sets its own first state; a platform channel
 * that has begun by then would be put out of step. The second question is early enough. */
int port_device_mode_get(int* mode) {
    int questions;
    pthread_mutex_lock(&memory.lock);
    *mode = memory.mode;
    questions = memory.mode_questions < 2 ? ++memory.mode_questions : 0;
    pthread_mutex_unlock(&memory.lock);
    if (questions == 2 && getenv("EXAMPLE_PLATFORM_CHANNEL") != NULL)
        return start_thread(run_platform_channel, NULL);
    return 0;
}

int port_device_mode_set(int mode) {
    return copy(&memory.mode, &mode, sizeof mode);
}

int port_device_firstguide_set(int flag) {
    return copy(&memory.first_guide, &flag, sizeof flag);
}

/* ---- identity and credentials --------------------------------------------------------- */

TEXT(mac, 32, "02:00:5E:10:20:30")
TEXT(sn, 128, "EX0000000001")
TEXT(cuei, 256, "EXAMPLE-EX0000000001")
TEXT(vendor, 32, "Example")
TEXT(model, 16, "EX-1")
TEXT(devtype, 16, "gateway")
TEXT(manu, 16, "Example Ltd")
TEXT(prodid, 128, "example-gateway")
TEXT(hdversion, 64, "1.0")
TEXT(swversion, 64, "1.0.0")
NUMBER(port_device_prottype_get, 0)
NOTHING(port_areacode_get, char*)

STORED_TEXT(id, id)
STORED_TEXT(secret, secret)
STORED_TEXT(code, code)
STORED_TEXT(accesstoken, access_token)
STORED_TEXT(refreshtoken, refresh_token)

int port_device_timeout_get(int* expiry) {
    return copy(expiry, &memory.expiry, sizeof *expiry);
}

/* The platform says how long the token is good for; the daemon wants to know until when. */
int port_device_timeout_set(int timeout) {
    const int expiry = (int)time(NULL) + timeout;
    return copy(&memory.expiry, &expiry, sizeof expiry);
}

/* ---- app channel ---------------------------------------------------------------------- */

NUMBER(port_device_coap_type, 0) /* plain TCP */
NUMBER(port_device_coap_debug, 3)

int port_device_app_ip(char* host, int* port) {
    *port = atoi(setting("EXAMPLE_PLATFORM_PORT", "5683"));
    return get_text(host, 64, setting("EXAMPLE_PLATFORM_HOST", "127.0.0.1"));
}

int vx_device_stainfo_get(struct vx_station_list* stations) {
    struct vx_station* const station = &stations->entries[stations->count++];
    get_text(station->mac, sizeof station->mac, "02:00:5E:10:20:31");
    get_text(station->name, sizeof station->name, "desktop");
    station->type = 1;
    return 0;
}

int vx_device_stainfo_byget(struct vx_station_list* stations, int selector) {
    return selector == 0 ? vx_device_stainfo_get(stations) : 0;
}

int vx_device_info(struct vx_device_information* record) {
    port_device_sn_get(record->serial_number);
    port_device_hdversion_get(record->hardware_version);
    port_device_swversion_get(record->software_version);
    get_text(record->device_name, sizeof record->device_name, "Example gateway");
    return 0;
}

int vx_device_deldevice(void) {
    return port_device_id_set("");
}

DO(vx_device_reboot, "would reboot now")
DO(vx_device_restoredefcfg, "would restore its factory settings now")

NOTHING(vx_device_wandiagnose, struct vx_wan_diagnosis*)
NOTHING(vx_device_hostinfo, struct vx_host_table*)
NOTHING(vx_device_lanhost, struct vx_lan_host*)
NOTHING(vx_device_wan, struct vx_wan*)
NOTHING(vx_device_wlanbasic, struct vx_wlan_status*)
NOTHING(vx_device_sendsetting, const struct vx_wlan_status*)
NOTHING(vx_device_wlanbasic_set, const struct vx_radio_switch*)
NOTHING(vx_device_ssidsetting, const struct vx_ssid_settings*)
NOTHING(vx_device_wifi_check, const struct vx_guide*)
NOTHING(vx_device_wlanguidebasic, const struct vx_guide*)
NOTHING(vx_device_guest_network_get, struct vx_guest_network*)
NOTHING(vx_device_guest_check, const struct vx_guest_network*)
NOTHING(vx_device_guest_network_set, const struct vx_guest_network*)
NOTHING(vx_device_wlanfilterenhance_get, struct vx_mac_filter*)
NOTHING(vx_device_wlanfilterenhance_set, const struct vx_mac_filter*)
NOTHING(vx_device_wlantimeswitch_get, struct vx_time_switch*)
NOTHING(vx_device_wlantimeswitch_set, const struct vx_time_switch_entry*)
NOTHING(vx_device_qosclasshost, const struct vx_qos_host*)

/* ---- platform channel ----------------------------------------------------------------- */

TEXT(ip, 16, "192.0.2.10")
TEXT(gwip, 64, setting("EXAMPLE_PLATFORM_CHANNEL", ""))
TEXT(wanmac, 32, "02:00:5E:10:20:2F")
TEXT(version, 128, "1.0")
TEXT(url, 256, "http://192.168.1.1/")
NUMBER(port_device_uplinktype_get, 0)
NUMBER(port_device_syncswitch_get, 0) /* Wi-Fi settings of the platform are not taken */

int port_device_encryptkey_get(unsigned char* key) {
    return copy(key, memory.key, sizeof memory.key);
}

int port_device_encryptkey_set(const unsigned char* key) {
    return copy(memory.key, key, sizeof memory.key);
}

int port_device_sequence_get(void) {
    int sequence;
    copy(&sequence, &memory.sequence, sizeof sequence);
    return sequence;
}

int port_device_sequence_set(void) {
    pthread_mutex_lock(&memory.lock);
    memory.sequence = memory.sequence < 0x7FFFFFFF ? memory.sequence + 1 : 1;
    pthread_mutex_unlock(&memory.lock);
    return 0;
}

NOTHING(vx_device_wifi, const struct wifi_cfg*)
NOTHING(vx_device_wifi_get, struct wifi_cfg*)
NOTHING(vx_device_wifitimer, const struct wifitimer_cfg*)
NOTHING(vx_device_wpsswitch, int)

int vx_device_wifitimer_get(struct wifitimer_cfg* config, const struct status_req* request) {
    (void)config;
    (void)request;
    return FAILED;
}

void* vx_device_upgrade(void* upgrade) {
    const struct vx_upgrade* const order = upgrade;
    fprintf(stderr, "gateway: would install %s now\n", order->downurl);
    return NULL;
}
