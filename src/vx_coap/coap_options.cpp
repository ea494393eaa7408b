// SPDX-License-Identifier: MIT
#include "vx_coap/coap_options.h"

#include <cstring>

#include "text/text.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

constexpr std::size_t kSegmentBuffer = 120;
constexpr coap_log_t kLogEmergency = static_cast<coap_log_t>(0);
constexpr coap_log_t kLogError = static_cast<coap_log_t>(3);

coap_uri_t s_uri;

using Splitter = int (*)(const std::uint8_t*, std::size_t, unsigned char*, std::size_t*);

/** Adds one option for each segment that `split` finds in a part of the URI. */
void add_segments(std::uint16_t number, const coap_str_const_t& part, Splitter split,
                  OptionList& options) {
    if (part.length == 0)
        return;
    unsigned char buffer[kSegmentBuffer];
    std::size_t size = sizeof buffer;
    int segments = split(part.s, part.length, buffer, &size);
    for (const unsigned char* segment = buffer; segments > 0; --segments) {
        options.add(number, coap_opt_value(segment), coap_opt_length(segment));
        segment += coap_opt_size(segment);
    }
}

std::uint16_t default_port(const coap_uri_t& uri) {
    return coap_uri_scheme_is_secure(&uri) != 0 ? COAPS_DEFAULT_PORT : COAP_DEFAULT_PORT;
}

int count_options(const coap_pdu_t* message) {
    coap_opt_iterator_t iterator;
    coap_option_iterator_init(message, &iterator, COAP_OPT_ALL);
    int count = 0;
    while (coap_option_next(&iterator) != nullptr)
        ++count;
    return count;
}

bool scheme_supported(coap_uri_scheme_t scheme) {
    if (scheme == COAP_URI_SCHEME_COAPS && coap_dtls_is_supported() == 0) {
        coap_log(kLogEmergency, "coaps URI scheme not supported in this version of libcoap\n");
        return false;
    }
    if (scheme == COAP_URI_SCHEME_COAPS_TCP && coap_tls_is_supported() == 0) {
        coap_log(kLogEmergency, "coaps+tcp URI scheme not supported in this version of libcoap\n");
        return false;
    }
    return true;
}

} // namespace

void OptionList::add(std::uint16_t number, const void* value, std::size_t length) {
    coap_optlist_t* chain = chain_.release();
    complete_ = coap_insert_optlist(
                    &chain, coap_new_optlist(number, length,
                                             static_cast<const std::uint8_t*>(value))) != 0 &&
                complete_;
    chain_.reset(chain);
    ++count_;
}

void OptionList::add_text(std::uint16_t number, const char* text) {
    add(number, text, std::strlen(text));
}

bool OptionList::attach(coap_pdu_t* message) {
    coap_optlist_t* chain = chain_.release();
    if (chain != nullptr)
        complete_ = coap_add_optlist_pdu(message, &chain) != 0 && complete_;
    chain_.reset(chain);
    // libcoap leaves out what does not fit and does not say so.
    return complete_ && count_options(message) == count_;
}

void cmdline_uri(const char* uri, OptionList& options) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(uri);
    if (coap_split_uri(bytes, std::strlen(uri), &s_uri) < 0) {
        coap_log(kLogError, "invalid CoAP URI\n");
        return;
    }
    if (!scheme_supported(s_uri.scheme))
        return;
    if (s_uri.port != default_port(s_uri)) {
        std::uint8_t port[4];
        options.add(COAP_OPTION_URI_PORT, port,
                    coap_encode_var_safe(port, sizeof port, s_uri.port));
    }
    add_segments(COAP_OPTION_URI_PATH, s_uri.path, coap_split_path, options);
    add_segments(COAP_OPTION_URI_QUERY, s_uri.query, coap_split_query, options);
}

void add_access_token(OptionList& options) {
    TextBuffer<128> token;
    port_device_accesstoken_get(token.data());
    options.add_text(kOptionAccessToken, token.text());
}

void add_echoes(const coap_pdu_t* request, OptionList& options) {
    for (const std::uint16_t number : kIdentifyingOptions) {
        coap_opt_iterator_t iterator;
        const coap_opt_t* const option = coap_check_option(request, number, &iterator);
        if (option != nullptr)
            options.add(number, coap_opt_value(option), coap_opt_length(option));
        else
            options.add_text(number, "");
    }
}

} // namespace vxq
