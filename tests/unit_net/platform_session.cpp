// SPDX-License-Identifier: MIT
#include "unit_net/platform_session.h"

#include <memory>
#include <stdexcept>

#include <cJSON.h>

#include "unit_net/peer_codec.h"
#include "unit_net/peer_key.h"

namespace peer {

namespace {

struct FreeJson {
    void operator()(cJSON* tree) const { cJSON_Delete(tree); }
};
using Tree = std::unique_ptr<cJSON, FreeJson>;

const cJSON* find(const Tree& tree, std::initializer_list<const char*> path) {
    const cJSON* item = tree.get();
    for (const char* const key : path)
        item = cJSON_GetObjectItem(item, key);
    return item;
}

/** Passes a message on when it is of that type. */
std::string expected(const std::string& type, std::string message) {
    if (member(message, {"type"}) != type)
        throw std::runtime_error("expected '" + type + "', the gateway sent: '" + message + "'");
    return message;
}

} // namespace

std::string member(const std::string& text, std::initializer_list<const char*> path) {
    const Tree tree(cJSON_Parse(text.c_str()));
    const cJSON* const item = find(tree, path);
    return cJSON_IsString(item) != 0 ? item->valuestring : "";
}

int number_member(const std::string& text, std::initializer_list<const char*> path) {
    const Tree tree(cJSON_Parse(text.c_str()));
    const cJSON* const item = find(tree, path);
    return cJSON_IsNumber(item) != 0 ? item->valueint : 0;
}

void Session::send_plain(const std::string& text) const {
    write_all(socket(), frame(text));
}

void Session::send(const std::string& text) const {
    write_all(socket(), encrypted_frame(key_, text));
}

std::string Session::receive_plain() const {
    const std::string frame = read_frame(socket());
    return frame.size() < kFrameHeader ? "" : frame.substr(kFrameHeader);
}

std::string Session::receive() const {
    const std::string frame = read_frame(socket());
    return frame.size() < kFrameHeader ? "" : text_of_frame(key_, frame);
}

std::string Session::receive_reply() const {
    for (;;) {
        std::string text = receive();
        if (member(text, {"type"}) != "keepalive")
            return text;
        send(R"({"type":"ack","sequence":1})");
    }
}

void Session::open() {
    choose_key_mode();
    agree_on_key();
    let_register();
}

void Session::choose_key_mode() {
    expected("keyngreq", receive_plain());
    send_plain(R"({"type":"keyngack","sequence":1,"keymode":"dh"})");
}

void Session::agree_on_key() {
    const std::string offer = expected("dh", receive_plain());
    const KeyPeer keys(member(offer, {"data", "dh_p"}), member(offer, {"data", "dh_g"}),
                       member(offer, {"data", "dh_key"}));
    key_ = keys.key();
    send_plain(R"({"type":"dh","sequence":2,"data":{"dh_key":")" + keys.public_key() + "\"}}");
}

void Session::let_register() {
    expected("dev_reg", receive());
    send(R"({"type":"ack","sequence":3})");
}

} // namespace peer
