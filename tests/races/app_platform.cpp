// SPDX-License-Identifier: MIT
#include "races/app_platform.h"

#include <deque>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "races/library_threads.h"
#include "races/race_clock.h"
#include "transport/waiting.h"
#include <vxquilan/entry_points.h>

using transport::Connection;
using transport::ConnectionEnded;
using transport::Message;
using transport::milliseconds;
using transport::request;

namespace races {

namespace {

constexpr char kCredentials[] =
    R"({"errcode": 0, "accessToken": "a", "refreshToken": "r", "timeOut": 7200})";
constexpr char kBinding[] = R"({"errcode": 0, "devId": "device", "secret": "secret"})";
constexpr char kSuccess[] = R"({"errcode": 0})";
constexpr char kDeletion[] = ".sys/delDevice";

/** What the platform may ask for; a code other than 2.05 is libcoap's own answer. */
struct Question {
    std::uint8_t method;
    const char* path;
    const char* body;
    std::uint8_t answer = transport::kContent;
};

constexpr Question kQuestions[] = {
    {transport::kGet, ".sys/gateway/ntwk/wandiagnose", ""},
    {transport::kGet, ".sys/gateway/system/HostInfo", ""},
    {transport::kGet, ".sys/gateway/system/deviceinfo", ""},
    {transport::kGet, ".sys/gateway/ntwk/lan_host", ""},
    {transport::kGet, ".sys/gateway/ntwk/WlanBasic", ""},
    {transport::kGet, ".sys/gateway/ntwk/wlanfilterenhance", ""},
    {transport::kGet, ".sys/gateway/ntwk/wlantimeswitch", ""},
    {transport::kGet, ".sys/gateway/ntwk/guest_network", ""},
    {transport::kGet, ".sys/gateway/ntwk/wan", ""},
    {transport::kPost, ".sys/gateway/system/changedevicename", R"({"name":"Attic"})"},
    {transport::kPost, ".sys/gateway/app/qosclass_host",
     R"({"data":{"QosclassID":"c","DeviceDownRateEnable":true,"ClassQueue":3,)"
     R"("DeviceMaxDownLoadRate":"20480","MACAddress":"02:5E:10:00:01:08",)"
     R"("HostName":"laptop","ActualName":"laptop","ID":"p","DeviceMaxUpLoadRate":"4096"}})"},
    {transport::kPost, ".sys/gateway/ntwk/WlanBasic",
     R"({"action":"BasicSettings","data":{"config2g":{"ID":1,"enable":false}}})"},
    {transport::kPost, ".sys/gateway/ntwk/WlanBasic", R"({"action":"SendSettings"})"},
    {transport::kPost, ".sys/gateway/ntwk/WlanGuideBasic", R"({"data":{"guide":false}})"},
    {transport::kPost, ".sys/gateway/ntwk/wlanfilterenhance", "no JSON"},
    {transport::kPost, ".sys/gateway/ntwk/wlantimeswitch", "{}"},
    {transport::kPost, ".sys/gateway/ntwk/guest_network", R"({"data":{}})"},
    {transport::kPost, ".sys/gateway/service/reboot.cgi", ""},
    {transport::kPost, ".sys/gateway/service/restoredefcfg.cgi", ""},
    {transport::kPost, ".sys/no/such", "", transport::kNotFound},
    {transport::kPut, ".sys/gateway/ntwk/wan", "", transport::kMethodNotAllowed},
    {transport::kPost, kDeletion, ""},
};
constexpr std::size_t kQuestionCount = std::size(kQuestions);
constexpr std::size_t kHarmless = kQuestionCount - 1; // all but the deletion

std::string reply_to(const std::string& path) {
    if (path == ".sys/activate")
        return kBinding;
    return path == ".sys/login" || path == ".sys/refresh" ? kCredentials : kSuccess;
}

std::string bad_reply(Random& random) {
    constexpr const char* kReplies[] = {R"({"errcode": 1})",
                                        R"({"errcode": 2})",
                                        R"({"errcode": 6})",
                                        R"({"errcode": 1002})",
                                        R"({"errcode": 1006})",
                                        R"({"errcode": 4996})",
                                        R"({"errcode": 4998})",
                                        R"({"errcode": 4999})",
                                        R"({"errcode": 77})",
                                        "[1, 2",
                                        ""};
    return kReplies[random.place(std::size(kReplies))];
}

Message reply(const std::string& body) {
    return {transport::kContent, {}, {}, body};
}

} // namespace

/** One connection, from accept to end. */
class AppPlatform::Visit {
public:
    Visit(AppPlatform& platform, Connection connection)
        : platform_(platform), random_(platform.random_), connection_(std::move(connection)),
          silent_to_heartbeats_(random_.chance(20)) {}

    void play() {
        begin();
        while (!look(platform_.stop_)) {
            if (look(platform_.behaves_) && !good_)
                drop();
            if (!good_ && !over_)
                misbehave();
            if (over_ || connection_.readable(milliseconds(random_.below(3))))
                take(connection_.next());
            if (good_)
                examine();
        }
    }

private:
    struct Asked {
        std::string id;
        std::uint8_t answer;
        bool deletion;
    };

    /** Both handshakes, or less. */
    void begin() {
        good_ = look(platform_.behaves_);
        platform_.last_heard_.clear();
        calm_ = !platform_.tried_ || !trials_left();
        if (good_)
            set_pace(calm_ ? kCalm : kBrisk);
        if (!good_ && random_.chance(5))
            drop();
        if (platform_.identity_)
            connection_.start_tls(*platform_.identity_);
        if (!good_ && random_.chance(5))
            drop();
        connection_.greet();
    }

    [[noreturn]] void drop() {
        ++platform_.tally_.drops;
        random_.chance(50) ? connection_.close() : connection_.reset();
        throw ConnectionEnded("by the platform");
    }

    /** One turn. */
    void misbehave() {
        platform_.take_turn();
        const int choice = random_.below(100);
        if (choice < 35)
            ask_some();
        else if (choice < 40)
            send(reply(random_.chance(50) ? kSuccess : bad_reply(random_)));
        else if (choice < 55)
            send_late_replies();
        else if (choice < 60)
            send(Message{transport::kPing, {}, {}, {}});
        else if (choice < 61)
            drop();
        else if (choice < 62)
            send(Message{random_.chance(50) ? transport::kRelease : transport::kAbort, {}, {}, {}});
    }

    void ask_some() {
        for (int count = 1 + random_.below(6); count > 0; --count)
            ask(kQuestions[random_.place(random_.chance(10) ? kQuestionCount : kHarmless)]);
    }

    void ask(const Question& question) {
        ++platform_.tally_.asked;
        const std::string id = std::to_string(++last_id_);
        std::deque<Asked>& asked =
            question.answer == transport::kContent ? asked_ : asked_of_libcoap_;
        asked.push_back({id, question.answer, question.path == std::string(kDeletion)});
        send(request(question.method, question.path, {{transport::kEcho1, id}}, question.body, id));
    }

    void send_late_replies() {
        for (const std::string& body : std::exchange(late_, {}))
            send(reply(body));
    }

    void send(const Message& message) {
        // What is unread stays small, so that libcoap finds no header at the edge of its buffer:
        // Debian's would lose its place in the stream.
        constexpr std::size_t kSafe = 1400;
        const std::string bytes = encode(message);
        if (unread_ + bytes.size() > kSafe) {
            connection_.wait_until_read();
            unread_ = 0;
        }
        unread_ += bytes.size();
        connection_.send(bytes);
    }

    void take(const Message& message) {
        if (message.code == transport::kEmpty || message.code >= transport::kCsm)
            return;
        if (message.code < transport::kContent)
            take_request(message.path());
        else
            take_answer(message);
    }

    /**
     * Every request has one answer. The gateway gives its own in the order of asking; libcoap gives
     * some by itself, also in their order but ahead of the others, and when the session is over.
     */
    void take_answer(const Message& message) {
        ++platform_.tally_.answers;
        const bool by_libcoap = message.code != transport::kContent;
        std::deque<Asked>& asked = by_libcoap ? asked_of_libcoap_ : asked_;
        const std::string id = message.option(transport::kEcho1).value_or(message.token);
        if (asked.empty() || asked.front().id != id || asked.front().answer != message.code ||
            (over_ && !by_libcoap)) {
            note_finding("an answer to request '" + id + "' with code " +
                         std::to_string(message.code) + (over_ ? " behind the end" : "") +
                         ", expected one to " + (asked.empty() ? "none" : asked.front().id));
            return;
        }
        over_ = over_ || asked.front().deletion;
        asked.pop_front();
    }

    bool all_answered() const { return asked_.empty() && asked_of_libcoap_.empty(); }

    void take_request(const std::string& path) {
        ++platform_.tally_.requests;
        seen_.insert(path);
        platform_.last_heard_ += ' ' + path;
        const bool heartbeat = path == ".sys/heartbeat";
        platform_.tally_.heartbeats += heartbeat ? 1 : 0;
        if (!good_ && heartbeat && silent_to_heartbeats_)
            return;
        if (path == ".sys/activate")
            platform_.activation_due_ = false;
        if (good_ || random_.chance(75))
            send(reply(reply_to(path)));
        else
            misanswer(path);
        if (platform_.tried_ && trials_left())
            try_it();
    }

    bool trials_left() const { return platform_.trials_left_ > 0 || platform_.activation_due_; }

    /** While the gateway deals with a reply: whatever comes of that, neither may get lost. */
    void try_it() {
        if (platform_.activation_due_ || !random_.chance(40))
            return;
        random_.linger(500);
        --platform_.trials_left_;
        if (random_.chance(25))
            drop();
        platform_.activation_due_ = true;
        frame_quilan_state_set(kActivation);
    }

    void misanswer(const std::string& path) {
        const int choice = random_.below(100);
        if (choice < 30)
            late_.push_back(reply_to(path));
        else if (choice < 60)
            send(reply(bad_reply(random_)));
        else if (choice < 80)
            send(reply(reply_to(path)));
        if (choice >= 60 && choice < 70)
            send(reply(reply_to(path)));
    }

    /** Once everything was said that makes a gateway online, whether it answers. */
    void examine() {
        if (!calm_)
            return examine_trials();
        const bool said = seen_.count(".sys/devInfoSync") > 0 && seen_.count(".sys/heartbeat") > 0;
        if (!said)
            return end_without_heartbeat();
        if (!examined_) {
            for (std::size_t index = 0; index < kHarmless; ++index)
                ask(kQuestions[index]);
            examined_ = true;
        }
        if (!all_answered() || over_)
            return;
        put(platform_.online_, platform_.tried_);
        if (platform_.tried_)
            return;
        platform_.tried_ = true;
        calm_ = false;
        set_pace(kBrisk);
    }

    /**
     * On a machine that is very busy a reply to the device information may come too late even so.
     * The gateway is online without a heartbeat then, until the next connect.
     */
    void end_without_heartbeat() {
        if (transport::Clock::now() - begun_ < transport::patience() / 8)
            return;
        if (++platform_.lost_heartbeats_ > 3)
            note_finding("no heartbeat in a calm session, again and again");
        drop();
    }

    /** What was hurried may have come too late: then, and at the end, there is a new session. */
    void examine_trials() {
        const bool stuck = !platform_.activation_due_ && random_.chance(1);
        if (stuck || !trials_left())
            drop();
    }

    AppPlatform& platform_;
    Random& random_;
    Connection connection_;
    const bool silent_to_heartbeats_;
    bool good_ = false;
    bool calm_ = true; ///< everything is in time in this session
    bool examined_ = false;
    bool over_ = false; ///< the gateway has ended the session, the connection's end must follow
    int last_id_ = 0;
    const transport::Clock::time_point begun_ = transport::Clock::now();
    std::size_t unread_ = 0;
    std::deque<Asked> asked_;
    std::deque<Asked> asked_of_libcoap_;
    std::vector<std::string> late_;
    std::set<std::string> seen_;
};

Tally& Tally::operator+=(const Tally& other) {
    connections += other.connections;
    requests += other.requests;
    heartbeats += other.heartbeats;
    asked += other.asked;
    answers += other.answers;
    drops += other.drops;
    return *this;
}

AppPlatform::AppPlatform(const Manner& manner, const Random& random)
    : manner_(manner), random_(random), turns_left_(manner.turns) {
    if (manner.tls) {
        static const transport::Certificate certificate = transport::make_certificate();
        identity_.emplace(certificate);
    }
    thread_ = std::thread([this] { run(); });
}

AppPlatform::~AppPlatform() {
    stop();
}

Tally AppPlatform::stop() {
    put(stop_, true);
    if (thread_.joinable())
        thread_.join();
    return tally_;
}

std::string AppPlatform::progress() const {
    return std::string(tried_ ? "trials left: " + std::to_string(trials_left_) : "no trial yet") +
           (activation_due_ ? ", an activation is lost" : "") +
           (lost_heartbeats_ > 0 ? ", without a heartbeat: " + std::to_string(lost_heartbeats_)
                                 : "") +
           ", heard last:" + last_heard_;
}

void AppPlatform::take_turn() {
    turns_left_.fetch_sub(1, std::memory_order_relaxed);
}

void AppPlatform::run() {
    while (!look(stop_)) {
        take_turn();
        const bool misbehaves = !look(behaves_);
        if (turns_away_ > 0) {
            turns_away_ = misbehaves ? turns_away_ - 1 : 0;
            if (turns_away_ == 0)
                listener_.resume();
        } else if (misbehaves && random_.chance(5)) {
            turns_away_ = 1 + random_.below(10);
            listener_.refuse();
        }
        if (turns_away_ > 0)
            std::this_thread::sleep_for(milliseconds(1));
        else if (listener_.has_connection(milliseconds(2)))
            serve(listener_.accept());
    }
}

void AppPlatform::serve(Connection connection) {
    ++tally_.connections;
    Visit visit(*this, std::move(connection));
    try {
        visit.play();
    } catch (const ConnectionEnded&) { // by either side, as it should be
    } catch (const std::runtime_error& error) {
        if (!manner_.strangers)
            note_finding(error.what());
    }
    put(online_, false);
}

} // namespace races
