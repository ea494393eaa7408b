// SPDX-License-Identifier: MIT
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "unit_net/frame_fixture.h"

using calls::Outcome;
using testing::ElementsAre;

namespace {

constexpr char kEnter[] = "7 enter frame_socket_connect_tcp\n";
constexpr char kCreated[] = "6 creat socket type is  succeed! socket = # \n";

class FrameConnect : public FrameTest {
protected:
    FrameConnect() { fake::device().set_text("port_device_gwip_get", address); }

    std::string address_line() const { return address_line(address); }
    static std::string address_line(const std::string& text) {
        return "6 frame_socket_connect_tcp:# serveraddr is " + text +
               ",serverport is 32768!!!!!!\n";
    }
    static std::string failure_line(int error) {
        return std::string("3 frame_socket_connect_tcp:# connect to platform failed! errno = ") +
               std::strerror(error) + " \n";
    }

    const std::string address = peer::own_loopback_address();
    int sock = 4711;
};

} // namespace

TEST_F(FrameConnect, ConnectsToTheFixedPort) {
    const peer::Descriptor listener = peer::listen_on(address, 32'768);
    ASSERT_EQ(frame_socket_connect_tcp(&sock), 0);
    const peer::Descriptor connection(sock);
    const peer::Descriptor accepted = peer::accept_on(listener);
    peer::write_all(accepted.get(), "hello");
    EXPECT_EQ(peer::read_exactly(sock, 5), "hello");
    EXPECT_THAT(log_lines(),
                ElementsAre(kEnter, kCreated, address_line(),
                            "6 frame_socket_connect_tcp:# connect to platform type   succeed! "
                            "socket = # \n"));
    int reuse = 0;
    socklen_t size = sizeof reuse;
    getsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &reuse, &size);
    EXPECT_NE(reuse, 0);
    timeval limit{};
    size = sizeof limit;
    getsockopt(sock, SOL_SOCKET, SO_SNDTIMEO, &limit, &size);
    EXPECT_EQ(limit.tv_sec, 20) << "a platform that doesn't read must not hold a thread for ever";
    EXPECT_EQ(fcntl(sock, F_GETFL) & O_NONBLOCK, 0) << "the socket stays blocking";
    EXPECT_EQ(fcntl(sock, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(FrameConnect, ARefusedConnectionLeavesNoSocket) {
    const std::size_t before = peer::open_descriptors();
    EXPECT_EQ(frame_socket_connect_tcp(&sock), -1);
    EXPECT_EQ(sock, 0);
    EXPECT_EQ(peer::open_descriptors(), before);
    EXPECT_THAT(log_lines(),
                ElementsAre(kEnter, kCreated, address_line(), failure_line(ECONNREFUSED)));
}

TEST_F(FrameConnect, WithoutAnAddressTheLibrarysCodeIsReturned) {
    const std::size_t before = peer::open_descriptors();
    fake::device().set_result("port_device_gwip_get", 17);
    EXPECT_EQ(frame_socket_connect_tcp(&sock), 17);
    EXPECT_EQ(sock, 0);
    EXPECT_EQ(peer::open_descriptors(), before);
    EXPECT_THAT(log_lines(), ElementsAre(kEnter, kCreated));
}

TEST_F(FrameConnect, WhatIsNoAddressFailsLikeAConnect) {
    for (const char* const text : {"", "platform.example", "127.0.0.1.5", "300.1.1.1"}) {
        fake::log().reset();
        fake::device().set_text("port_device_gwip_get", text);
        const std::size_t before = peer::open_descriptors();
        EXPECT_EQ(frame_socket_connect_tcp(&sock), -1);
        EXPECT_EQ(sock, 0);
        EXPECT_EQ(peer::open_descriptors(), before);
        EXPECT_THAT(log_lines(),
                    ElementsAre(kEnter, kCreated, address_line(text), failure_line(EINVAL)));
    }
}

TEST_F(FrameConnect, AnAddressWithoutItsEnd) {
    fake::device().set_bytes("port_device_gwip_get", std::string(64, '1'));
    EXPECT_EQ(frame_socket_connect_tcp(&sock), -1);
    EXPECT_EQ(log_lines()[2], address_line(std::string(64, '1')));
}

TEST_F(FrameConnect, WithoutASocket) {
    calls::script().socket = Outcome{-1, EMFILE};
    EXPECT_EQ(frame_socket_connect_tcp(&sock), -1);
    EXPECT_EQ(sock, 0);
    EXPECT_THAT(log_lines(), ElementsAre(kEnter, "3 create quilanclient.tcpSock error! \n"));
}

TEST_F(FrameConnect, WithoutTheSocketOption) {
    const std::size_t before = peer::open_descriptors();
    calls::script().option = Outcome{-1, EPERM};
    EXPECT_EQ(frame_socket_connect_tcp(&sock), -1);
    EXPECT_EQ(sock, 0);
    EXPECT_EQ(peer::open_descriptors(), before);
    EXPECT_THAT(log_lines(),
                ElementsAre(kEnter, kCreated, address_line(), "3 frame_socket_connect_tcp:#\n"));
}

TEST_F(FrameConnect, DescriptorZeroIsNotUsed) {
    const peer::Descriptor listener = peer::listen_on(address, 32'768);
    const peer::Descriptor saved(dup(STDIN_FILENO));
    close(STDIN_FILENO);
    const std::size_t before = peer::open_descriptors();
    const int result = frame_socket_connect_tcp(&sock);
    const std::size_t after = peer::open_descriptors();
    dup2(saved.get(), STDIN_FILENO);
    const peer::Descriptor connection(sock);
    EXPECT_EQ(result, 0);
    EXPECT_GT(sock, 0);
    EXPECT_EQ(after, before + 1);
}
