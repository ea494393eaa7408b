// SPDX-License-Identifier: MIT
#include "vx_coap/coap_options.h"

#include <algorithm>
#include <cstring>

#include "text/text.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

constexpr std::size_t kSegmentBuffer = 120;
constexpr coap_log_t kLogEmergency = static_cast<coap_log_t>(0);
constexpr coap_log_t kLogError = static_cast<coap_log_t>(3);

constexpr std::uint8_t kNothing[1] = {};
constexpr OptionValue kEmpty{kNothing, 0};

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

/** The gateway's access token, as the device library has it now. */
class AccessToken {
public:
    AccessToken() { port_device_accesstoken_get(token_.data()); }
    const char* text() const { return token_.text(); }

private:
    TextBuffer<128> token_;
};

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
    options.add_text(kOptionAccessToken, AccessToken().text());
}

Identity identity_of(const coap_pdu_t* request) {
    Identity identity{{kEmpty, kEmpty, kEmpty}};
    coap_opt_iterator_t iterator;
    coap_option_iterator_init(request, &iterator, COAP_OPT_ALL);
    while (const coap_opt_t* const option = coap_option_next(&iterator)) {
        const auto* const number = std::find(std::begin(kIdentifyingOptions),
                                             std::end(kIdentifyingOptions), iterator.number);
        if (number == std::end(kIdentifyingOptions))
            continue;
        OptionValue& value = identity.values[number - kIdentifyingOptions];
        if (value.bytes == kEmpty.bytes) // of several the first counts
            value = {coap_opt_value(option), coap_opt_length(option)};
    }
    return identity;
}

bool add_identity(coap_pdu_t* message, const Identity& identity) {
    bool whole = true;
    for (std::size_t index = 0; whole && index < std::size(identity.values); ++index) {
        const OptionValue& value = identity.values[index];
        whole =
            coap_add_option(message, kIdentifyingOptions[index], value.length, value.bytes) != 0;
    }
    return whole;
}

bool add_answer_options(const coap_pdu_t* request, coap_pdu_t* answer) {
    const AccessToken token;
    return coap_add_option(answer, kOptionAccessToken, std::strlen(token.text()),
                           reinterpret_cast<const std::uint8_t*>(token.text())) != 0 &&
           add_identity(answer, identity_of(request));
}

} // namespace vxq
