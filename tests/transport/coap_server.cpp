// SPDX-License-Identifier: MIT
#include "coap_server.h"

#include <cstring>
#include <stdexcept>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "waiting.h"

namespace transport {

namespace {

constexpr int kTimerMilliseconds = 1000;

const std::uint8_t* bytes_of(const std::string& text) {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

std::string text_of(const std::uint8_t* bytes, std::size_t length) {
    return {reinterpret_cast<const char*>(bytes), length};
}

Message read_message(const coap_pdu_t* pdu) {
    Message message;
    message.code = static_cast<std::uint8_t>(coap_pdu_get_code(pdu));
    const coap_bin_const_t token = coap_pdu_get_token(pdu);
    message.token = text_of(token.s, token.length);
    coap_opt_iterator_t iterator;
    coap_option_iterator_init(pdu, &iterator, COAP_OPT_ALL);
    while (const coap_opt_t* const option = coap_option_next(&iterator))
        message.options.push_back(
            {iterator.number, text_of(coap_opt_value(option), coap_opt_length(option))});
    std::size_t length = 0;
    const std::uint8_t* data = nullptr;
    if (coap_get_data(pdu, &length, &data) != 0)
        message.body = text_of(data, length);
    return message;
}

void fill(coap_pdu_t* pdu, const Message& message) {
    for (const Option& option : message.options)
        coap_add_option(pdu, option.number, option.value.size(), bytes_of(option.value));
    if (!message.body.empty())
        coap_add_data(pdu, message.body.size(), bytes_of(message.body));
}

/** The port at the end of "127.0.0.1:43210 TCP". */
std::uint16_t port_of(const coap_endpoint_t* endpoint) {
    const std::string text = coap_endpoint_str(endpoint);
    return static_cast<std::uint16_t>(std::stoi(text.substr(text.find(':') + 1)));
}

} // namespace

CoapServer::CoapServer(Responder responder, const Certificate* certificate)
    : responder_(std::move(responder)), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    prepare(certificate);
    thread_ = std::thread([this] { run(); });
}

CoapServer::~CoapServer() {
    stop_ = true;
    eventfd_write(wake_.get(), 1);
    thread_.join();
    coap_register_event_handler(context_, nullptr);
    coap_free_context(context_);
}

void CoapServer::prepare(const Certificate* certificate) {
    coap_startup();
    context_ = coap_new_context(nullptr);
    coap_set_app_data(context_, this);
    coap_proto_t protocol = COAP_PROTO_TCP;
    if (certificate != nullptr) {
        protocol = COAP_PROTO_TLS;
        certificate_ = *certificate;
        coap_dtls_pki_t pki{};
        pki.version = COAP_DTLS_PKI_SETUP_VERSION;
        pki.pki_key.key_type = COAP_PKI_KEY_PEM_BUF;
        pki.pki_key.key.pem_buf.public_cert = bytes_of(certificate_.certificate);
        pki.pki_key.key.pem_buf.public_cert_len = certificate_.certificate.size() + 1;
        pki.pki_key.key.pem_buf.private_key = bytes_of(certificate_.key);
        pki.pki_key.key.pem_buf.private_key_len = certificate_.key.size() + 1;
        pki.validate_sni_call_back = on_name;
        pki.sni_call_back_arg = this;
        key_ = pki.pki_key;
        if (coap_context_set_pki(context_, &pki) == 0)
            throw std::runtime_error("libcoap takes no certificate");
    }
    coap_address_t address;
    coap_address_init(&address);
    address.size = sizeof address.addr.sin;
    address.addr.sin.sin_family = AF_INET;
    address.addr.sin.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    coap_endpoint_t* const endpoint = coap_new_endpoint(context_, &address, protocol);
    if (endpoint == nullptr)
        throw std::runtime_error("libcoap cannot listen");
    port_ = port_of(endpoint);

    for (const std::uint16_t known : {kAccessToken, kEcho2})
        coap_register_option(context_, known);
    coap_resource_t* const every_path = coap_resource_unknown_init(on_request);
    coap_register_request_handler(every_path, COAP_REQUEST_POST, on_request);
    coap_register_request_handler(every_path, COAP_REQUEST_GET, on_request);
    coap_add_resource(context_, every_path);
    coap_register_response_handler(context_, on_answer);
    coap_register_event_handler(context_, on_event);
}

void CoapServer::run() {
    while (!stop_) {
        coap_tick_t now;
        coap_ticks(&now);
        coap_io_prepare_epoll(context_, now);
        pollfd watched[] = {{coap_context_get_coap_fd(context_), POLLIN, 0},
                            {wake_.get(), POLLIN, 0}};
        poll(watched, 2, kTimerMilliseconds);
        coap_io_process(context_, COAP_IO_NO_WAIT);
        do_tasks();
    }
}

void CoapServer::do_tasks() {
    eventfd_t count;
    eventfd_read(wake_.get(), &count);
    std::vector<Message> requests;
    {
        const std::lock_guard guard(mutex_);
        requests.swap(to_send_);
    }
    for (const Message& request : requests)
        deliver(request);
}

void CoapServer::deliver(const Message& request) {
    if (session_ == nullptr)
        return;
    coap_pdu_t* const pdu =
        coap_new_pdu(COAP_MESSAGE_CON, static_cast<coap_pdu_code_t>(request.code), session_);
    coap_add_token(pdu, request.token.size(), bytes_of(request.token));
    fill(pdu, request);
    coap_send(session_, pdu);
}

void CoapServer::send(const Message& request) {
    {
        const std::lock_guard guard(mutex_);
        to_send_.push_back(request);
    }
    eventfd_write(wake_.get(), 1);
}

void CoapServer::on_request(coap_resource_t*, coap_session_t* session, const coap_pdu_t* request,
                            const coap_string_t*, coap_pdu_t* response) {
    auto* const self =
        static_cast<CoapServer*>(coap_get_app_data(coap_session_get_context(session)));
    const Message message = read_message(request);
    const std::optional<Message> reply = self->responder_(message);
    if (reply) {
        coap_pdu_set_code(response, static_cast<coap_pdu_code_t>(reply->code));
        fill(response, *reply);
    }
    const std::lock_guard guard(self->mutex_);
    self->requests_.push_back(message);
}

coap_response_t CoapServer::on_answer(coap_session_t* session, const coap_pdu_t*,
                                      const coap_pdu_t* received, coap_mid_t) {
    auto* const self =
        static_cast<CoapServer*>(coap_get_app_data(coap_session_get_context(session)));
    const std::lock_guard guard(self->mutex_);
    self->answers_.push_back(read_message(received));
    return COAP_RESPONSE_OK;
}

int CoapServer::on_event(coap_session_t* session, coap_event_t event) {
    auto* const self =
        static_cast<CoapServer*>(coap_get_app_data(coap_session_get_context(session)));
    if (event == COAP_EVENT_SESSION_CONNECTED)
        self->session_ = session;
    if (event == COAP_EVENT_SERVER_SESSION_NEW)
        ++self->open_sessions_;
    if (event == COAP_EVENT_SERVER_SESSION_DEL) {
        --self->open_sessions_;
        if (self->session_ == session)
            self->session_ = nullptr;
    }
    return 0;
}

coap_dtls_key_t* CoapServer::on_name(const char* name, void* server) {
    auto* const self = static_cast<CoapServer*>(server);
    const std::lock_guard guard(self->mutex_);
    self->names_.emplace_back(name);
    return &self->key_;
}

std::vector<Message> CoapServer::requests() const {
    const std::lock_guard guard(mutex_);
    return requests_;
}

std::vector<Message> CoapServer::answers() const {
    const std::lock_guard guard(mutex_);
    return answers_;
}

std::vector<std::string> CoapServer::names_asked_for() const {
    const std::lock_guard guard(mutex_);
    return names_;
}

bool CoapServer::wait_for_requests(std::size_t count) const {
    return wait_until([&] { return requests().size() >= count; });
}

bool CoapServer::wait_for_answers(std::size_t count) const {
    return wait_until([&] { return answers().size() >= count; });
}

Message content(const std::string& body) {
    return {kContent, {}, {}, body};
}

} // namespace transport
