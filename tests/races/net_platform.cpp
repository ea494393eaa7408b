// SPDX-License-Identifier: MIT
#include "races/net_platform.h"

#include <iterator>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/socket.h>

#include "races/race_clock.h"
#include "races/race_device.h"
#include "unit_net/peer_codec.h"

namespace races {

namespace {

/** The connection has ended, by either side. */
struct Ended {};

/** What the platform sends with a sequence number, and what the gateway answers it with. */
struct Command {
    const char* text; ///< up to the number
    const char* rest;
    const char* answer;
};

constexpr Command kCommands[] = {
    {R"({"type":"cfg","sequence":)", R"(,"set":{"wpsswitch":{"status":"ON"}}})", "ack"},
    {R"({"type":"cfg","sequence":)",
     R"(,"set":{"wifi":[{"radio":{"mode":"2.4G","channel":6},"ap":[{"apidx":0,"enable":"yes",)"
     R"("ssid":"home","key":"pass phrase","auth":"wpapskwpa2psk","encrypt":"aestkip"}]}]}})",
     "ack"},
    {R"({"type":"cfg","sequence":)",
     R"(,"set":{"ledswitch":{"status":"OFF"},)"
     R"("Wi-Fitimer":[{"weekday":"1,2","time":"06:00","enable":"1"}]}})",
     "ack"},
    {R"({"type":"cfg","sequence":)",
     R"(,"set":{"upgrade":{"downurl":"http://example/fw","isreboot":"1"}}})", "ack"},
    {R"({"type":"get_status","sequence":)",
     R"(,"get":[{"name":"Wi-Fi"},{"name":"ledswitch"},{"name":"Wi-Fitimer"}]})", "status"},
    {R"({"type":"something","sequence":)", "}", "ack"},
};
constexpr char kSignOfLife[] = R"({"type":"ack","sequence":1})";

bool readable(int socket, int milliseconds) {
    pollfd watched{socket, POLLIN, 0};
    return poll(&watched, 1, milliseconds) > 0;
}

} // namespace

/** One connection, from accept to end. */
class NetPlatform::Visit {
public:
    Visit(NetPlatform& platform, peer::Session session)
        : platform_(platform), random_(platform.random_), session_(std::move(session)),
          good_(look(platform.behaves_)) {
        if (good_)
            set_pace(kCalm);
    }

    void play() {
        open();
        while (!look(platform_.stop_)) {
            if (look(platform_.behaves_) && !good_)
                drop();
            if (!good_)
                misbehave();
            while (readable(session_.socket(), random_.below(3)))
                take(session_.receive());
            if (good_)
                examine();
        }
        drop();
    }

private:
    struct Asked {
        int sequence;
        const char* answer;
    };

    void open() {
        maybe_break_off();
        session_.choose_key_mode();
        maybe_break_off();
        session_.agree_on_key();
        maybe_break_off();
        session_.let_register();
        ++platform_.tally_.registrations;
    }

    /** Now and then a platform has something else to say, or nothing. */
    void maybe_break_off() {
        random_.linger(1000);
        if (good_ || !random_.chance(6))
            return;
        constexpr const char* kWrong[] = {"", R"({"sequence":1,"keymode":"rsa"})",
                                          R"({"data":{"dh_key":"no"}})", "no JSON"};
        const std::string frame = peer::frame(kWrong[random_.place(std::size(kWrong))]);
        const std::size_t part = random_.place(frame.size());
        peer::write_all(session_.socket(), random_.chance(50) ? frame : frame.substr(0, part));
        drop();
    }

    [[noreturn]] void drop() {
        if (random_.chance(50)) {
            const linger at_once{1, 0};
            setsockopt(session_.socket(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
        }
        throw Ended();
    }

    void misbehave() {
        platform_.turns_left_.fetch_sub(1, std::memory_order_relaxed);
        const int choice = random_.below(100);
        if (choice < 40)
            for (int count = 1 + random_.below(4); count > 0; --count)
                ask(kCommands[random_.place(std::size(kCommands))]);
        else if (choice < 70)
            session_.send(kSignOfLife); // which also wakes the receive thread
        else if (choice < 73)
            session_.send("no JSON");
        else if (choice < 77)
            drop();
    }

    void ask(const Command& command) {
        ++platform_.tally_.commands;
        asked_.push_back({++last_sequence_, command.answer});
        session_.send(command.text + std::to_string(last_sequence_) + command.rest);
    }

    void take(const std::string& text) {
        const std::string type = peer::member(text, {"type"});
        if (text.empty())
            throw Ended();
        if (type == "keepalive")
            return take_heartbeat();
        ++platform_.tally_.answers;
        const int sequence = peer::number_member(text, {"sequence"});
        if (asked_.empty() || asked_.front().sequence != sequence ||
            asked_.front().answer != type) {
            note_finding("expected the answer to command " +
                         (asked_.empty() ? "none" : std::to_string(asked_.front().sequence)) +
                         ", the gateway sent: " + text);
            throw Ended();
        }
        asked_.pop_front();
    }

    void take_heartbeat() {
        alive_ = true;
        if (good_ || random_.chance(50))
            session_.send(kSignOfLife);
    }

    void examine() {
        session_.send(kSignOfLife);
        if (alive_ && !examined_)
            for (const Command& command : kCommands)
                ask(command);
        examined_ = examined_ || alive_;
        put(platform_.online_, examined_ && asked_.empty());
    }

    NetPlatform& platform_;
    Random& random_;
    peer::Session session_;
    const bool good_;
    bool alive_ = false;
    bool examined_ = false;
    int last_sequence_ = 0;
    std::deque<Asked> asked_;
};

NetPlatform::Tally& NetPlatform::Tally::operator+=(const Tally& other) {
    connections += other.connections;
    registrations += other.registrations;
    commands += other.commands;
    answers += other.answers;
    return *this;
}

NetPlatform::NetPlatform(const Random& random, int turns)
    : random_(random), listener_(peer::listen_on(platform_address(), peer::kPlatformPort)),
      turns_left_(turns), thread_([this] { run(); }) {}

NetPlatform::~NetPlatform() {
    stop();
}

NetPlatform::Tally NetPlatform::stop() {
    put(stop_, true);
    if (thread_.joinable())
        thread_.join();
    return tally_;
}

void NetPlatform::run() {
    while (!look(stop_)) {
        turns_left_.fetch_sub(1, std::memory_order_relaxed);
        if (readable(listener_.get(), 2))
            serve(peer::Session(peer::accept_on(listener_)));
    }
}

void NetPlatform::serve(peer::Session session) {
    ++tally_.connections;
    try {
        Visit(*this, std::move(session)).play();
    } catch (const Ended&) {
    } catch (const std::runtime_error&) { // the gateway ended it amid an exchange
    }
    put(online_, false);
}

} // namespace races
