// SPDX-License-Identifier: MIT
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <pthread.h>
#include <sys/socket.h>
#include <thread>

#include "unit_net/frame_fixture.h"

using calls::Outcome;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::size_t kUntouched = 4711;

std::string number(int value) {
    return std::to_string(value);
}

Lines with(std::initializer_list<Lines> parts) {
    Lines all = {"6 frame_socket_waitrecv_tcp:# socketid:#\n"};
    for (const Lines& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

Lines header_lines(const std::string& length_bytes, int length) {
    return {"6 frame_socket_waitrecv_tcp:# " + length_bytes + "\n",
            "6 frame_socket_waitrecv_tcp:# len:" + number(length) + "\n"};
}

Lines error_line(int error) {
    return {"3 frame_socket_waitrecv_tcp:# errno is: " + number(error) + "\n"};
}

Lines text_lines(const std::string& text) {
    return {"7 frame_socket_waitrecv_tcp:# decrypteddata:" + text + "\n",
            "6 frame_socket_waitrecv_tcp:# recvlen:" + number(static_cast<int>(text.size())) + "\n",
            "6 end\n"};
}

Lines end_line(int result) {
    return {"6 frame_socket_waitrecv_tcp:# ret :" + number(result) + "\n"};
}

class FrameReceive : public FrameTest {
protected:
    /** Waits for a frame; `buffer` must then be untouched behind the text. */
    int receive(int mode, int timeout_s = 5) {
        fake::log().reset();
        buffer.assign(kFrameBuffer, '\0');
        length = kUntouched;
        return frame_socket_waitrecv_tcp(daemon(), buffer.data(), &length, mode, timeout_s);
    }
    std::string text() const { return {buffer.c_str()}; }
    void arrive(const std::string& bytes) { peer::write_all(platform(), bytes); }
    /** What is still to be read. */
    std::string rest() { return peer::read_available(daemon()); }
    void close_platform() { pair.platform.reset(); }

    std::string buffer;
    std::size_t length = kUntouched;
};

} // namespace

TEST_F(FrameReceive, PlainFrame) {
    arrive(peer::frame("{\"a\":1}"));
    EXPECT_EQ(receive(kFramePlain), 0);
    EXPECT_EQ(text(), "{\"a\":1}");
    EXPECT_EQ(length, kUntouched) << "the length is not written in the plain mode";
    EXPECT_EQ(log_lines(), with({header_lines("0,0,0,7", 7), end_line(0)}));
}

TEST_F(FrameReceive, EncryptedFrame) {
    const std::string message = "{\"type\":\"ack\",\"sequence\":1}";
    arrive(peer::encrypted_frame(key, message));
    EXPECT_EQ(receive(kFrameEncrypted), 0);
    EXPECT_EQ(buffer, message + std::string(kFrameBuffer - message.size(), '\0'));
    EXPECT_EQ(length, message.size());
    EXPECT_EQ(log_lines(), with({header_lines("0,0,0,20", 32), text_lines(message), end_line(0)}));
}

TEST_F(FrameReceive, EncryptedTextsOfEveryLengthAroundABlock) {
    for (std::size_t size = 0; size <= 50; ++size) {
        const std::string message(size, 'm');
        arrive(peer::encrypted_frame(key, message));
        EXPECT_EQ(receive(kFrameEncrypted), 0);
        EXPECT_EQ(text(), message);
        EXPECT_EQ(length, size);
    }
}

TEST_F(FrameReceive, TheFirstZeroEndsAnEncryptedText) {
    arrive(peer::frame(peer::encrypt(key, FRAME_IV_FILL, std::string("abc\0defghijklmno", 16))));
    EXPECT_EQ(receive(kFrameEncrypted), 0);
    EXPECT_EQ(buffer, "abc" + std::string(kFrameBuffer - 3, '\0'));
    EXPECT_EQ(length, 3U);
}

TEST_F(FrameReceive, AnEmptyBody) {
    arrive(peer::frame(""));
    EXPECT_EQ(receive(kFramePlain), 0);
    EXPECT_EQ(text(), "");
    arrive(peer::frame(""));
    EXPECT_EQ(receive(kFrameEncrypted), 0);
    EXPECT_EQ(length, 0U);
}

TEST_F(FrameReceive, AnEncryptedBodyOfBrokenBlocksStaysWithinTheBuffer) {
    for (const std::size_t size : {1U, 15U, 17U, 10'239U}) {
        const std::string cipher = peer::random_bytes(size, 5);
        arrive(peer::frame(cipher));
        EXPECT_EQ(receive(kFrameEncrypted), 0);
        std::string whole = cipher;
        whole.resize((size + 15) / 16 * 16, '\0');
        const std::string plain = peer::decrypt(key, FRAME_IV_FILL, whole).substr(0, size);
        EXPECT_EQ(text(), std::string(plain.c_str())) << size;
        EXPECT_EQ(length, std::strlen(plain.c_str()));
    }
}

TEST_F(FrameReceive, AFrameSplitAtEveryByte) {
    const std::string message = "{\"type\":\"keepalive\"}";
    for (const int mode : {kFramePlain, kFrameEncrypted}) {
        const std::string frame =
            mode == kFramePlain ? peer::frame(message) : peer::encrypted_frame(key, message);
        for (std::size_t split = 1; split < frame.size(); ++split) {
            arrive(frame.substr(0, split));
            // The rest comes when the first part has been read.
            std::thread platform_side([this, &frame, split] {
                int unread = 1;
                while (unread != 0) {
                    char byte;
                    unread = recv(daemon(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) > 0 ? 1 : 0;
                    std::this_thread::yield();
                }
                arrive(frame.substr(split));
            });
            ASSERT_EQ(receive(mode), 0) << split;
            platform_side.join();
            ASSERT_EQ(text(), message) << split;
        }
    }
}

TEST_F(FrameReceive, AFrameOneByteAtATime) {
    const std::string message = "{\"type\":\"get_status\"}";
    const std::string frame = peer::encrypted_frame(key, message);
    std::thread platform_side([this, &frame] {
        for (const char byte : frame)
            arrive(std::string(1, byte));
    });
    EXPECT_EQ(receive(kFrameEncrypted), 0);
    platform_side.join();
    EXPECT_EQ(text(), message);
}

TEST_F(FrameReceive, SeveralFramesInOneSegment) {
    std::string segment;
    for (const char* const message : {"first", "second message, a longer one", "3"})
        segment += peer::encrypted_frame(key, message);
    arrive(segment);
    for (const char* const message : {"first", "second message, a longer one", "3"}) {
        EXPECT_EQ(receive(kFrameEncrypted), 0);
        EXPECT_EQ(text(), message);
    }
    EXPECT_EQ(receive(kFrameEncrypted, 0), 1);
}

TEST_F(FrameReceive, WrongMagicAtEachByteLeavesTheRestUnread) {
    const char* const shown[] = {"40,72,1f,b5", "3f,73,1f,b5", "3f,72,20,b5", "3f,72,1f,b6"};
    for (std::size_t wrong = 0; wrong < 4; ++wrong) {
        std::string frame = peer::frame("body");
        ++frame[wrong];
        arrive(frame);
        EXPECT_EQ(receive(kFramePlain), 11);
        EXPECT_EQ(rest(), "body");
        EXPECT_EQ(log_lines(),
                  with({{"4 frame_socket_waitrecv_tcp:# " + std::string(shown[wrong]) + "\n"},
                        end_line(11)}));
    }
}

TEST_F(FrameReceive, TheUpperHalfOfTheLengthIsIgnored) {
    for (const char* const upper : {"\x00\x01", "\x01\x00", "\xff\xff"}) {
        std::string frame = peer::frame("0123456789abcdef");
        frame.replace(4, 2, std::string(upper, 2));
        arrive(frame);
        EXPECT_EQ(receive(kFramePlain), 0);
        EXPECT_EQ(text(), "0123456789abcdef");
    }
    EXPECT_EQ(log_lines()[1], "6 frame_socket_waitrecv_tcp:# ff,ff,0,10\n");
}

TEST_F(FrameReceive, TheLargestBody) {
    const std::string body(10'239, 'b');
    std::thread platform_side([this, &body] { arrive(peer::frame(body)); });
    EXPECT_EQ(receive(kFramePlain), 0);
    platform_side.join();
    EXPECT_EQ(buffer, body + '\0');
}

TEST_F(FrameReceive, ALongerBodyIsLeftUnread) {
    for (const std::size_t size : {10'240U, 65'535U}) {
        arrive(peer::frame(std::string(size, '\0')).substr(0, 8) + "rest");
        EXPECT_EQ(receive(kFrameEncrypted), 8) << "the count of the last read";
        EXPECT_EQ(buffer, std::string(kFrameBuffer, '\0'));
        EXPECT_EQ(rest(), "rest");
        const std::string shown = size == 10'240 ? "0,0,28,0" : "0,0,ff,ff";
        EXPECT_EQ(log_lines(), with({header_lines(shown, static_cast<int>(size)), end_line(8)}));
    }
}

TEST_F(FrameReceive, ALongerBodyAfterASplitHeader) {
    calls::script().receive_limit = 5;
    arrive(peer::frame(std::string(10'240, '\0')).substr(0, 8));
    EXPECT_EQ(receive(kFramePlain), 3) << "the count of the last read";
    calls::script().receive_limit = 7;
    arrive(peer::frame(std::string(10'240, '\0')).substr(0, 8));
    EXPECT_EQ(receive(kFramePlain), 1);
}

TEST_F(FrameReceive, ThePeerClosesAtEachStep) {
    const std::string frame = peer::encrypted_frame(key, "a message of some length");
    for (std::size_t size = 0; size < frame.size(); ++size) {
        pair = peer::local_pair();
        arrive(frame.substr(0, size));
        close_platform();
        EXPECT_EQ(receive(kFrameEncrypted), 32) << size;
        const Lines expected =
            size < 8 ? with({error_line(0), end_line(32)})
                     : with({header_lines("0,0,0,20", 32), error_line(0), end_line(32)});
        EXPECT_EQ(log_lines(), expected) << size;
    }
}

TEST_F(FrameReceive, AnOldErrnoDoesNotMakeACloseLookLikeARetry) {
    for (const int stale : {EAGAIN, EINTR}) {
        pair = peer::local_pair();
        close_platform();
        errno = stale;
        EXPECT_EQ(receive(kFrameEncrypted), 32);
        pair = peer::local_pair();
        close_platform();
        calls::script().receive = [stale](std::size_t) {
            return Outcome{0, stale};
        };
        EXPECT_EQ(receive(kFrameEncrypted), 32);
        calls::reset();
    }
}

TEST_F(FrameReceive, ErrorsOfARead) {
    struct Case {
        int error;
        int result;
    };
    for (const Case& row : {Case{EINTR, 11}, Case{EAGAIN, 11}, Case{ECONNRESET, 32},
                            Case{ETIMEDOUT, 32}, Case{EIO, 32}}) {
        arrive("x");
        calls::script().receive = [&row](std::size_t) {
            return Outcome{-1, row.error};
        };
        EXPECT_EQ(receive(kFramePlain), row.result) << row.error;
        EXPECT_EQ(log_lines(), with({error_line(row.error), end_line(row.result)}));
    }
}

TEST_F(FrameReceive, ErrorsOfAReadOfTheBody) {
    for (const int error : {EINTR, ECONNRESET}) {
        pair = peer::local_pair();
        int reads = 0;
        calls::script().receive = [&](std::size_t) -> std::optional<Outcome> {
            if (reads++ == 0)
                return std::nullopt;
            return Outcome{-1, error};
        };
        arrive(peer::frame("body"));
        EXPECT_EQ(receive(kFramePlain), error == EINTR ? 11 : 32);
    }
}

TEST_F(FrameReceive, AResetConnection) {
    pair = peer::tcp_pair();
    const linger at_once{1, 0};
    setsockopt(platform(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    close_platform();
    EXPECT_EQ(receive(kFrameEncrypted), 32);
    EXPECT_EQ(log_lines(), with({error_line(ECONNRESET), end_line(32)}));
}

namespace {

void ignore(int) {}

/** Interrupts a receive again and again until it returns. */
class Interruption : public FrameReceive {
protected:
    Interruption() {
        struct sigaction action {};
        action.sa_handler = ignore; // without SA_RESTART
        sigaction(SIGUSR1, &action, nullptr);
    }
    ~Interruption() override { std::signal(SIGUSR1, SIG_DFL); }

    int interrupted_receive() {
        std::atomic<bool> ended{false};
        int result = 0;
        std::thread receiver([&] {
            result = receive(kFrameEncrypted, 60);
            ended = true;
        });
        while (!ended) {
            pthread_kill(receiver.native_handle(), SIGUSR1);
            std::this_thread::yield();
        }
        receiver.join();
        return result;
    }
};

} // namespace

TEST_F(Interruption, WhileWaitingForAFrame) {
    EXPECT_EQ(interrupted_receive(), -1);
    EXPECT_EQ(log_lines(), with({end_line(-1)}));
}

TEST_F(Interruption, InTheMiddleOfAHeader) {
    arrive(peer::frame("body").substr(0, 5));
    EXPECT_EQ(interrupted_receive(), 11);
    EXPECT_EQ(log_lines(), with({error_line(EINTR), end_line(11)}));
}

TEST_F(Interruption, InTheMiddleOfABody) {
    arrive(peer::frame("body").substr(0, 10));
    EXPECT_EQ(interrupted_receive(), 11);
    EXPECT_EQ(log_lines(), with({header_lines("0,0,0,4", 4), error_line(EINTR), end_line(11)}));
}

TEST_F(FrameReceive, TimeOutAfterTheSecondsGiven) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(receive(kFrameEncrypted, 1), 1);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(elapsed, std::chrono::milliseconds(999));
    EXPECT_LT(elapsed, std::chrono::seconds(10));
    EXPECT_EQ(log_lines(), with({end_line(1)}));
    EXPECT_THAT(calls::poll_timeouts(), ElementsAre(1'000));
    EXPECT_EQ(buffer, std::string(kFrameBuffer, '\0'));
}

TEST_F(FrameReceive, TheTimeOutIsInSeconds) {
    calls::script().poll = Outcome{0};
    EXPECT_EQ(receive(kFrameEncrypted, 20), 1);
    EXPECT_THAT(calls::poll_timeouts(), ElementsAre(20'000));
}

TEST_F(FrameReceive, AWaitThatFails) {
    calls::script().poll = Outcome{-1, ENOMEM};
    EXPECT_EQ(receive(kFrameEncrypted), -1);
    EXPECT_EQ(log_lines(), with({end_line(-1)}));
}

TEST_F(FrameReceive, ADescriptorThatIsNone) {
    const int closed = daemon();
    pair.daemon.reset();
    EXPECT_EQ(frame_socket_waitrecv_tcp(closed, buffer.data(), &length, kFramePlain, 5), -1);
}

TEST_F(FrameReceive, AFrameThatStopsInTheMiddleIsALostConnectionAfterTwentySeconds) {
    arrive(peer::frame("body").substr(0, 10));
    calls::script().poll = Outcome{0};
    calls::script().first_scripted_poll = 3; // the wait, the header and the body's first part
    EXPECT_EQ(receive(kFramePlain), 32);
    EXPECT_EQ(log_lines(), with({header_lines("0,0,0,4", 4), error_line(ETIMEDOUT), end_line(32)}));
    const int last = calls::poll_timeouts().back();
    EXPECT_LE(last, 20'000);
    EXPECT_GE(last, 10'000) << "less than half of the time was left on a loaded machine";
}

TEST_F(FrameReceive, NothingLeaks) {
    const std::size_t before = peer::open_descriptors();
    for (int count = 0; count < 50; ++count) {
        arrive(peer::encrypted_frame(key, "text") + "garbage!" + peer::frame("x").substr(0, 8));
        receive(kFrameEncrypted);
        receive(kFrameEncrypted);
        arrive("x");
        receive(kFramePlain);
    }
    EXPECT_EQ(peer::open_descriptors(), before);
}
