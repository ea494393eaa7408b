// SPDX-License-Identifier: MIT
#include "unit_net/fake_frame.h"

#include <algorithm>
#include <cstring>
#include <deque>

#include "support/journal.h"

namespace fake {

namespace {

struct Reply {
    int result;
    std::string text;
};

struct Content {
    int connect_result = 0;
    int send_result = 0;
    int sockets = 100;
    std::deque<Reply> replies;
    std::vector<SentFrame> sent;
    std::vector<Wait> waits;
    std::function<void()> on_connect;
    std::function<void()> on_send;
    std::function<void()> on_wait;
};

Content& content() {
    static Content instance;
    return instance;
}

void run(const std::function<void()>& action) {
    if (action)
        action();
}

void check_zeroed(const char* buffer) {
    if (std::any_of(buffer, buffer + kFrameBuffer, [](char byte) { return byte != 0; }))
        journal().complain("a wait was given a buffer that isn't zeroed");
}

} // namespace

void Frame::reset() {
    content() = Content{};
}
void Frame::set_connect_result(int result) {
    content().connect_result = result;
}
void Frame::set_send_result(int result) {
    content().send_result = result;
}
void Frame::add_reply(const std::string& text) {
    content().replies.push_back({0, text});
}
void Frame::add_result(int result) {
    content().replies.push_back({result, ""});
}
void Frame::on_connect(std::function<void()> action) {
    content().on_connect = std::move(action);
}
void Frame::on_send(std::function<void()> action) {
    content().on_send = std::move(action);
}
void Frame::on_wait(std::function<void()> action) {
    content().on_wait = std::move(action);
}
const std::vector<SentFrame>& Frame::sent() const {
    return content().sent;
}
const std::vector<Wait>& Frame::waits() const {
    return content().waits;
}

Frame& frame() {
    static Frame instance;
    return instance;
}

} // namespace fake

using namespace fake;

int frame_socket_connect_tcp(int* sock) {
    journal().note(Source::coap, "frame_socket_connect_tcp()");
    run(content().on_connect);
    *sock = content().connect_result == 0 ? ++content().sockets : 0;
    return content().connect_result;
}

int frame_socket_send_tcp(int sock, const char* text, std::size_t length, int mode) {
    if (text == nullptr) {
        journal().complain("nothing was to be sent");
        return -1;
    }
    if (std::strlen(text) != length)
        journal().complain("a text was to be sent with another length than its own");
    journal().note(Source::coap, "frame_socket_send_tcp(" + std::to_string(sock) + ", " +
                                     std::to_string(mode) + ")");
    content().sent.push_back({sock, text, mode, os().elapsed()});
    run(content().on_send);
    return content().send_result;
}

int frame_socket_waitrecv_tcp(int sock, char* buffer, std::size_t* length, int mode,
                              int timeout_s) {
    check_zeroed(buffer);
    journal().note(Source::coap, "frame_socket_waitrecv_tcp(" + std::to_string(sock) + ", " +
                                     std::to_string(mode) + ", " + std::to_string(timeout_s) + ")");
    content().waits.push_back({sock, mode, timeout_s});
    run(content().on_wait);
    if (content().replies.empty()) {
        os().sleep(std::chrono::seconds(timeout_s));
        return kFrameTimeout;
    }
    const Reply reply = content().replies.front();
    content().replies.pop_front();
    std::memcpy(buffer, reply.text.c_str(), reply.text.size() + 1);
    if (mode == kFrameEncrypted)
        *length = reply.text.size();
    return reply.result;
}
