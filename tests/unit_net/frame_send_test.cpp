// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <thread>

#include "unit_net/frame_fixture.h"

using calls::Outcome;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class FrameSend : public FrameTest {
protected:
    int send_text(const std::string& text, int mode) {
        return frame_socket_send_tcp(daemon(), text.c_str(), text.size(), mode);
    }
};

const Lines kEncryptionLines = {"7 gwdencrypt_cbcaes_base64 start\n",
                                "7 gwdencrypt_cbcaes_base64 end\n"};

} // namespace

TEST_F(FrameSend, PlainFrameByteForByte) {
    EXPECT_EQ(send_text("{\"a\":1}", kFramePlain), 0);
    EXPECT_EQ(peer::read_available(platform()),
              std::string("\x3f\x72\x1f\xb5\x00\x00\x00\x07{\"a\":1}", 15));
    EXPECT_THAT(calls::send_flags(), ElementsAre(0));
    EXPECT_THAT(log_lines(), IsEmpty());
    EXPECT_THAT(fake::journal().entries(), IsEmpty()) << "the key is not needed";
}

TEST_F(FrameSend, EveryModeButOneIsPlain) {
    for (const int mode : {0, 2, -1}) {
        EXPECT_EQ(send_text("text", mode), 0);
        EXPECT_EQ(peer::read_available(platform()), peer::frame("text"));
    }
}

TEST_F(FrameSend, EncryptedFrameIsPaddedWithZerosToBlocks) {
    for (const std::size_t length : {0U, 1U, 15U, 16U, 17U, 32U, 1000U, 10224U}) {
        const std::string text(length, 'j');
        EXPECT_EQ(send_text(text, kFrameEncrypted), 0);
        const std::string frame = peer::read_frame(platform());
        EXPECT_EQ(frame.size(), 8 + (length + 15) / 16 * 16);
        EXPECT_EQ(frame, peer::encrypted_frame(key, text)) << length;
    }
}

TEST_F(FrameSend, EncryptionIsLogged) {
    send_text("text", kFrameEncrypted);
    EXPECT_EQ(log_lines(), kEncryptionLines);
}

TEST_F(FrameSend, TheKeyIsReadForEveryMessage) {
    send_text("text", kFrameEncrypted);
    const std::string first = peer::read_frame(platform());
    std::array<char, 128> other{};
    other.fill('k');
    fake::device().set_record("port_device_encryptkey_get", other);
    send_text("text", kFrameEncrypted);
    EXPECT_EQ(peer::read_frame(platform()), peer::encrypted_frame(std::string(16, 'k'), "text"));
    EXPECT_EQ(first, peer::encrypted_frame(key, "text"));
}

TEST_F(FrameSend, TheLengthGivenIsTheBodysLength) {
    EXPECT_EQ(frame_socket_send_tcp(daemon(), "abcdef", 3, kFramePlain), 0);
    EXPECT_EQ(peer::read_available(platform()), peer::frame("abc"));
    EXPECT_EQ(frame_socket_send_tcp(daemon(), "ab", 5, kFramePlain), 0);
    EXPECT_EQ(peer::read_available(platform()), peer::frame(std::string("ab\0\0\0", 5)));
}

TEST_F(FrameSend, NoTextIsRefused) {
    EXPECT_EQ(frame_socket_send_tcp(daemon(), nullptr, 4, kFramePlain), -1);
    EXPECT_EQ(frame_socket_send_tcp(daemon(), nullptr, 4, kFrameEncrypted), -1);
    EXPECT_EQ(peer::read_available(platform()), "");
}

TEST_F(FrameSend, TheLargestPlainBodyGoesOut) {
    const std::string text(10'232, 'p');
    EXPECT_EQ(send_text(text, kFramePlain), 0);
    EXPECT_EQ(peer::read_frame(platform()), peer::frame(text));
}

TEST_F(FrameSend, WhatDoesNotFitIsRefusedNotCut) {
    struct Case {
        std::size_t length;
        int mode;
    };
    for (const Case& row :
         {Case{10'233, kFramePlain}, Case{10'225, kFrameEncrypted}, Case{10'232, kFrameEncrypted},
          Case{10'233, kFrameEncrypted}, Case{1'000'000, kFrameEncrypted}}) {
        fake::log().reset();
        EXPECT_EQ(send_text(std::string(row.length, 'x'), row.mode), -1) << row.length;
        EXPECT_THAT(log_lines(),
                    ElementsAre("3 frame_socket_send_tcp:# " + std::to_string(row.length) +
                                " bytes do not fit into a frame, not sent\n"));
    }
    EXPECT_EQ(frame_socket_send_tcp(daemon(), "x", SIZE_MAX, kFrameEncrypted), -1);
    EXPECT_EQ(peer::read_available(platform()), "");
}

TEST_F(FrameSend, OneFrameOneCall) {
    send_text(std::string(5'000, 'x'), kFrameEncrypted);
    EXPECT_THAT(calls::send_flags(), ElementsAre(0));
}

TEST_F(FrameSend, AShortWriteIsCompleted) {
    calls::script().send_limit = 7;
    const std::string text(1'000, 's');
    EXPECT_EQ(send_text(text, kFramePlain), 0);
    EXPECT_EQ(peer::read_frame(platform()), peer::frame(text));
    EXPECT_THAT(calls::send_flags(), Each(0));
    EXPECT_EQ(calls::send_flags().size(), 144U);
}

TEST_F(FrameSend, FramesOfTwoThreadsNeverMix) {
    calls::script().send_limit = 11;
    constexpr std::size_t kFrames = 200;
    const auto send_many = [this](char letter) {
        for (std::size_t count = 0; count < kFrames; ++count)
            EXPECT_EQ(send_text(std::string(100 + count, letter), kFrameEncrypted), 0);
    };
    std::thread first(send_many, 'a');
    std::thread second(send_many, 'b');
    std::size_t next[2] = {0, 0};
    for (std::size_t count = 0; count < 2 * kFrames; ++count) {
        const std::string text = peer::text_of_frame(key, peer::read_frame(platform()));
        std::size_t& expected = next[text.at(0) == 'a' ? 0 : 1];
        EXPECT_EQ(text, std::string(100 + expected++, text.at(0)));
    }
    first.join();
    second.join();
    EXPECT_THAT(next, ElementsAre(kFrames, kFrames));
}

TEST_F(FrameSend, InterruptedOrBlockedBeforeAnythingWasSent) {
    for (const int error : {EINTR, EAGAIN}) {
        fake::log().reset();
        calls::script().send = [error](std::size_t) {
            return Outcome{-1, error};
        };
        EXPECT_EQ(send_text("text", kFramePlain), -1) << error;
        EXPECT_THAT(log_lines(), ElementsAre("3 errno is: " + std::to_string(error) + "\n"));
    }
}

TEST_F(FrameSend, AHardErrorIsALostConnection) {
    for (const int error : {EPIPE, ECONNRESET, EBADF, ETIMEDOUT}) {
        fake::log().reset();
        calls::script().send = [error](std::size_t) {
            return Outcome{-1, error};
        };
        EXPECT_EQ(send_text("text", kFramePlain), 32) << error;
        EXPECT_THAT(log_lines(), ElementsAre("3 errno is: " + std::to_string(error) + "\n"));
    }
}

TEST_F(FrameSend, ABegunFrameIsCompletedAfterAnInterruption) {
    int calls_made = 0;
    calls::script().send_limit = 10;
    calls::script().send = [&calls_made](std::size_t) -> std::optional<Outcome> {
        if (calls_made++ % 2 == 0)
            return std::nullopt;
        return Outcome{-1, EINTR};
    };
    const std::string text(50, 'i');
    EXPECT_EQ(send_text(text, kFramePlain), 0);
    EXPECT_EQ(peer::read_available(platform()), peer::frame(text));
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(FrameSend, ABegunFrameThatCannotBeCompletedIsALostConnection) {
    for (const int error : {EPIPE, EAGAIN}) {
        int calls_made = 0;
        calls::script().send_limit = 10;
        calls::script().send = [&](std::size_t) -> std::optional<Outcome> {
            if (calls_made++ == 0)
                return std::nullopt;
            return Outcome{-1, error};
        };
        EXPECT_EQ(send_text(std::string(50, 'i'), kFramePlain), 32) << error;
    }
}

TEST_F(FrameSend, AFullSocketThatDoesNotBlock) {
    fcntl(daemon(), F_SETFL, O_NONBLOCK);
    const std::string filling(4'096, 'f');
    while (write(daemon(), filling.data(), filling.size()) > 0) {
    }
    // What is left takes no byte more.
    while (write(daemon(), "f", 1) > 0) {
    }
    EXPECT_EQ(send_text("text", kFramePlain), -1);
    EXPECT_THAT(log_lines(), ElementsAre("3 errno is: 11\n"));
}

TEST_F(FrameSend, OnAClosedConnection) {
    std::signal(SIGPIPE, SIG_IGN);
    pair.platform.reset();
    EXPECT_EQ(send_text("text", kFrameEncrypted), 32);
    EXPECT_EQ(log_lines().back(), "3 errno is: " + std::to_string(EPIPE) + "\n");
    std::signal(SIGPIPE, SIG_DFL);
}

TEST_F(FrameSend, OnADescriptorThatIsNone) {
    EXPECT_EQ(frame_socket_send_tcp(-1, "text", 4, kFramePlain), 32);
}
