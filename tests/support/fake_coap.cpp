// SPDX-License-Identifier: MIT
#include "support/fake_coap.h"

#include "state/state.h"
#include "support/journal.h"

coap_context_t* g_coap_ctx = nullptr;
coap_session_t* g_coap_session = nullptr;

namespace fake {

namespace {

struct Content {
    int connect_result = 0;
    int connects = 0;
    int session_number = 0;
    bool thread_outlives_close = false;
    std::vector<SentRequest> sent;
    std::vector<SentAnswer> answers;
    std::vector<ServedResource> served;
    std::string refused_resource;
    CoapCallbacks callbacks{nullptr, nullptr};
    std::function<void()> on_connect;
    std::function<void(const SentRequest&)> on_send;
    std::function<void()> on_response;
    std::function<void()> on_close;
};

Content& content() {
    static Content instance;
    return instance;
}

// Only their addresses are of use: the daemon's upper layers never look inside.
char s_sessions[16];
char s_context;

void drop_handles() {
    g_coap_ctx = nullptr;
    g_coap_session = nullptr;
    content().served.clear();
}

void make_handles() {
    drop_handles();
    const auto number = static_cast<std::size_t>(++content().session_number);
    g_coap_session = reinterpret_cast<coap_session_t*>(&s_sessions[number % sizeof s_sessions]);
    g_coap_ctx = reinterpret_cast<coap_context_t*>(&s_context);
}

void note(const std::string& call) {
    journal().note(Source::coap, call);
}

void run(const std::function<void()>& action) {
    if (action)
        action();
}

std::string text(const char* data, std::size_t length) {
    return length == 0 ? std::string() : std::string(data, length);
}

} // namespace

void Coap::reset() {
    drop_handles();
    content() = Content{};
    g_run_flag = 0;
    g_coap_recv_thread = 0;
    g_coap_refused = 0;
}

void Coap::open_session() {
    make_handles();
    g_run_flag = 1;
    g_coap_recv_thread = 1;
}

void Coap::end_receive_thread() {
    g_coap_recv_thread = 0;
}

void Coap::keep_receive_thread() {
    content().thread_outlives_close = true;
}

void Coap::set_connect_result(int result) {
    content().connect_result = result;
}

void Coap::on_connect(std::function<void()> action) {
    content().on_connect = std::move(action);
}

void Coap::on_send(std::function<void(const SentRequest&)> action) {
    content().on_send = std::move(action);
}

void Coap::on_response(std::function<void()> action) {
    content().on_response = std::move(action);
}

void Coap::on_close(std::function<void()> action) {
    content().on_close = std::move(action);
}

const std::vector<SentRequest>& Coap::sent() const {
    return content().sent;
}

const std::vector<SentAnswer>& Coap::answers() const {
    return content().answers;
}

void Coap::refuse_resource(const std::string& path) {
    content().refused_resource = path;
}

const std::vector<ServedResource>& Coap::served() const {
    return content().served;
}

int Coap::connects() const {
    return content().connects;
}

CoapCallbacks Coap::callbacks() const {
    return content().callbacks;
}

Coap& coap() {
    static Coap instance;
    return instance;
}

} // namespace fake

using namespace fake;

void frame_coap_set_callbacks(const CoapCallbacks& callbacks) {
    note("frame_coap_set_callbacks()");
    content().callbacks = callbacks;
}

int frame_coap_connect() {
    note("frame_coap_connect()");
    ++content().connects;
    g_coap_refused = 0;
    run(content().on_connect);
    if (content().connect_result == 0)
        make_handles();
    return content().connect_result;
}

bool frame_coap_serve(const char* path, coap_method_handler_t get, coap_method_handler_t post) {
    journal().note(Source::serve, "frame_coap_serve(" + quoted(path) + ")");
    if (path == content().refused_resource)
        return false;
    if (g_coap_session != nullptr)
        content().served.push_back({path, get, post});
    return true;
}

void frame_coap_recv_prepare() {
    g_run_flag = 1;
    g_coap_recv_thread = 1;
}

void frame_coap_recv_abandon() {
    g_run_flag = 0;
    g_coap_recv_thread = 0;
}

void* frame_coap_recv(void*) {
    journal().complain("frame_coap_recv was called instead of started");
    return nullptr;
}

int frame_coap_send(std::uint8_t type, std::uint8_t code, const char* data, std::size_t length,
                    const char* path) {
    if (g_run_flag == 0) {
        note("frame_coap_send(" + quoted(path) + ") without a session");
        return 0;
    }
    note("frame_coap_send(" + quoted(path) + ")");
    const SentRequest request{type, code, path, text(data, length), os().elapsed()};
    content().sent.push_back(request);
    if (content().on_send)
        content().on_send(request);
    return 0;
}

int frame_coap_response(const coap_pdu_t* request, std::uint8_t type, std::uint8_t code,
                        const char* data, std::size_t length) {
    note("frame_coap_response()");
    content().answers.push_back({request, type, code, text(data, length)});
    run(content().on_response);
    return 0;
}

void frame_coap_close() {
    note("frame_coap_close()");
    run(content().on_close);
    g_run_flag = 0;
    drop_handles();
    if (!content().thread_outlives_close)
        g_coap_recv_thread = 0;
}

int frame_coap_state() {
    return g_coap_recv_thread;
}

int frame_coap_serves(const coap_session_t* session) {
    return session != nullptr && session == g_coap_session ? 1 : 0;
}

int frame_coap_session_number() {
    return content().session_number;
}
