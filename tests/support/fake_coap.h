// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <coap3/coap.h>

#include "support/fake_os.h"
#include "vx_coap/frame_coap.h"

/**
 * @file
 * Stands in the place of src/vx_coap. It keeps the transport's flags and handles as the transport
 * does, notes what was asked of it, and has no connection: a test hands in replies, requests and
 * events by calling the daemon's handlers.
 */
namespace fake {

struct SentRequest {
    std::uint8_t type;
    std::uint8_t code;
    std::string path;
    std::string body;
    Microseconds at; ///< elapsed time
};

struct ServedResource {
    std::string path;
    coap_method_handler_t get;
    coap_method_handler_t post;
};

struct SentAnswer {
    const coap_pdu_t* request;
    std::uint8_t type;
    std::uint8_t code;
    std::string body;
};

/** For one thread at a time. */
class Coap {
public:
    /** No session, none ever made, all flags 0. */
    void reset();
    /** Puts a session in place as if it had been connected and its thread were running. */
    void open_session();
    /** Ends the receive thread, as the transport does some time after a close. */
    void end_receive_thread();
    /** A close no longer ends the receive thread at once. */
    void keep_receive_thread();

    /** What each further connect returns. */
    void set_connect_result(int result);
    /** There is no room for that resource; for none with an empty path. */
    void refuse_resource(const std::string& path);

    /** These run inside the call, after it was noted. */
    void on_connect(std::function<void()> action);
    void on_send(std::function<void(const SentRequest&)> action);
    void on_response(std::function<void()> action);
    void on_close(std::function<void()> action);

    /** Requests that went out; those without a running session didn't. */
    [[nodiscard]] const std::vector<SentRequest>& sent() const;
    [[nodiscard]] const std::vector<SentAnswer>& answers() const;
    /** Resources of the current session. */
    [[nodiscard]] const std::vector<ServedResource>& served() const;
    [[nodiscard]] int connects() const;
    [[nodiscard]] CoapCallbacks callbacks() const;
};

Coap& coap();

} // namespace fake
