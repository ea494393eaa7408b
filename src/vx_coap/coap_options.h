// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <iterator>
#include <memory>

#include <coap3/coap.h>

/** @file The options that messages of the app channel carry. */
namespace vxq {

inline constexpr std::uint16_t kOptionBlock2 = 23;
/** The gateway's access token. */
inline constexpr std::uint16_t kOptionAccessToken = 2049;
inline constexpr std::uint16_t kOptionEcho2 = 2051;
/** Identify the platform's request; the answer carries them back. */
inline constexpr std::uint16_t kIdentifyingOptions[] = {2050, kOptionEcho2, 2052};

/** The value of an option. */
struct OptionValue {
    const std::uint8_t* bytes;
    std::size_t length;
};

/** What identifies a request, in the order of kIdentifyingOptions; empty where it has none. */
struct Identity {
    OptionValue values[std::size(kIdentifyingOptions)];
};

/** Looks through a request's options once. What is found lives as long as the request. */
Identity identity_of(const coap_pdu_t* request);

/** Adds these options to a message; false when they do not fit. */
bool add_identity(coap_pdu_t* message, const Identity& identity);

/** The options of one message, gathered in any order; libcoap sorts them when they are attached. */
class OptionList {
public:
    void add(std::uint16_t number, const void* value, std::size_t length);
    void add_text(std::uint16_t number, const char* text);

    /** False when an option was lost for lack of memory, or does not fit into the message. */
    bool attach(coap_pdu_t* message);

private:
    struct Delete {
        void operator()(coap_optlist_t* chain) const { coap_delete_optlist(chain); }
    };
    std::unique_ptr<coap_optlist_t, Delete> chain_;
    int count_ = 0;
    bool complete_ = true;
};

/**
 * Splits a CoAP URI into Uri-Port, Uri-Path and Uri-Query options; Uri-Port only when the port is
 * not the scheme's default. What cannot be parsed is logged and adds nothing.
 */
void cmdline_uri(const char* uri, OptionList& options);

/** Adds the access token as the device library gives it, even when it is empty. */
void add_access_token(OptionList& options);

/**
 * Adds the options of an answer: the access token and what identifies the request, with the
 * request's own values, empty where it has none.
 * @return false when they do not fit into the message
 */
bool add_answer_options(const coap_pdu_t* request, coap_pdu_t* answer);

} // namespace vxq
