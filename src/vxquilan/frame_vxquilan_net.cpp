// SPDX-License-Identifier: MIT
#include "vxquilan/frame_vxquilan_net.h"

#include <unistd.h>

#include "log/log.h"
#include "os/clock.h"
#include "os/process.h"
#include "protocol/platform_session.h"
#include "state/state.h"
#include "text/text.h"
#include "tnjsonapi/tn_session.h"
#include "vx_socket/frame_socket.h"
#include "vxquilan/frame_tcp_recv.h"
#include "vxquilan/net_heartbeat.h"
#include "vxquilan/reconnect_pause.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

constexpr unsigned kAddressPauseSeconds = 2;
constexpr unsigned kConnectPauseSeconds = 10;
constexpr unsigned kIdleSeconds = 10;
// The platform needs a moment between the keys and the registration, and the receive thread one to
// be listening when the first heartbeat is answered.
constexpr unsigned kRegistrationPauseSeconds = 1;

void announce(const char* state_name) {
    QUILAN_LOG(VX_LOG_PROGRESS, "%s %d:%s\n", "frame_vxquilan_net", __LINE__, state_name);
}

void stop_threads() {
    while (g_heartbeat_thread == 1 || g_tcp_thread == 1) {
        sleep_seconds(1);
        g_tcp_flag = 0;
    }
}

void report_thread(bool started) {
    if (!started)
        QUILAN_LOG(VX_LOG_ERROR, "%s:creat_thread_wait_info error!\n", "frame_vxquilan_net");
}

} // namespace

struct NetLoop::State {
    int state;
    int (NetLoop::*act)();
};

const NetLoop::State NetLoop::kStates[] = {
    {kNetGetIpAddress, &NetLoop::get_ip_address},
    {kNetTcpConnect, &NetLoop::connect},
    {kNetTcpClose, &NetLoop::disconnect},
    {kNetPublicKey, &NetLoop::exchange_key_mode},
    {kNetEcdhPublicKey, &NetLoop::stay_in_ecdh},
    {kNetDhPublicKey, &NetLoop::exchange_dh_keys},
    {kNetHeartbeat, &NetLoop::start_heartbeat},
    {kNetDeviceReg, &NetLoop::register_device},
    {kNetIdle, &NetLoop::idle},
};

NetLoop::~NetLoop() {
    stop_threads();
    close_connection();
}

void NetLoop::start() {
    survive_broken_pipes();
    g_quilan_status = kNetGetIpAddress;
    port_device_init_net();
}

void NetLoop::pass() {
    int mode = 0;
    port_device_mode_get(&mode);
    if (mode != previous_mode_)
        change_mode(mode);
    act();
}

void NetLoop::change_mode(int mode) {
    stop_threads();
    // The new mode gets a connection of its own; the old one would stay open for ever.
    close_connection();
    previous_mode_ = mode;
    g_quilan_status = kNetGetIpAddress;
}

void NetLoop::act() {
    const int state = g_quilan_status;
    for (const State& entry : kStates) {
        if (entry.state != state)
            continue;
        const int next = (this->*entry.act)();
        if (next != state)
            quilan_state_advance(state, next);
        return;
    }
    sleep_seconds(kIdleSeconds);
}

void NetLoop::close_connection() {
    if (sock_ != 0)
        close(sock_);
    sock_ = 0;
}

int NetLoop::get_ip_address() {
    announce("QUILAN_GET_IPADDRESS");
    TextBuffer<16> address;
    if (port_device_ip_get(address.data()) != 0) {
        sleep_seconds(kAddressPauseSeconds);
        return kNetGetIpAddress;
    }
    QUILAN_LOG(VX_LOG_PROGRESS, "ip:%s\n", address.text());
    return kNetTcpConnect;
}

int NetLoop::connect() {
    announce("QUILAN_TCP_CONNECT");
    stop_threads();
    if (frame_socket_connect_tcp(&sock_) == 0)
        return kNetPublicKey;
    pause_before_retry(kConnectPauseSeconds);
    return kNetGetIpAddress;
}

int NetLoop::disconnect() {
    stop_threads();
    announce("QUILAN_TCP_CLOSE");
    close_connection();
    pause_before_replacement(kConnectPauseSeconds);
    return kNetGetIpAddress;
}

int NetLoop::exchange_key_mode() {
    announce("QUILAN_PUBLIC_KEY");
    int key_mode = 0;
    const int error = profession_public_key(sock_, &key_mode);
    QUILAN_LOG(VX_LOG_PROGRESS, "%s %d %d\n", "frame_vxquilan_net", __LINE__, key_mode);
    if (error != 0)
        return kNetTcpClose;
    return key_mode == kKeyModeDh ? kNetDhPublicKey : kNetEcdhPublicKey;
}

int NetLoop::stay_in_ecdh() {
    announce("QUILAN_ECDH_PUBLIC_KEY");
    return kNetEcdhPublicKey;
}

int NetLoop::exchange_dh_keys() {
    announce("QUILAN_DH_PUBLIC_KEY");
    return profession_dh_public_key(sock_) == 0 ? kNetDeviceReg : kNetTcpClose;
}

int NetLoop::start_heartbeat() {
    announce("QUILAN_HEARTBEAT");
    heartbeat_missing_ = !start_net_heartbeat(sock_);
    report_thread(!heartbeat_missing_);
    return kNetIdle;
}

int NetLoop::register_device() {
    announce("QUILAN_DEVICE_REG");
    sleep_seconds(kRegistrationPauseSeconds);
    if (profession_device_reg(sock_) != 0)
        return kNetTcpClose;
    g_tcp_flag = 1;
    report_thread(start_tcp_recv(sock_));
    sleep_seconds(kRegistrationPauseSeconds);
    return kNetHeartbeat;
}

int NetLoop::idle() {
    sleep_seconds(kIdleSeconds);
    // Nobody else would notice the end of the connection.
    if (heartbeat_missing_)
        heartbeat_missing_ = !start_net_heartbeat(sock_);
    return kNetIdle;
}

} // namespace vxq

int frame_vxquilan_net() {
    vxq::NetLoop loop;
    loop.start();
    for (;;)
        loop.pass();
}
