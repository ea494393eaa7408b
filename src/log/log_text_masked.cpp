// SPDX-License-Identifier: MIT
#include "log/log_text.h"

#include <cstring>
#include <strings.h>

namespace vxq {

namespace {

/** Members whose values are not for the log, whatever message they stand in. */
constexpr const char* kSecrets[] = {
    // who the gateway is to the platform
    "secret",
    "accessToken",
    "refreshToken",
    "code",
    // Wi-Fi
    "WpaPreSharedKey",
    "wpakey",
    "CurrentWepKey",
    "rakey",
    "key",
    // access line and user interface
    "Password",
    "upassword",
    // the agreement's public numbers: with a prime of 128 bits they give the key away
    "dh_key",
};

constexpr char kMask[] = "\"***\"";
constexpr std::size_t kMaskLength = sizeof kMask - 1;
constexpr char kNoMemory[] = "(no memory to mask this)";

/** A piece of the message. */
struct Piece {
    const char* begin;
    const char* end;
    std::size_t size() const { return static_cast<std::size_t>(end - begin); }
};

/** What the parser takes for a space: more than JSON does. */
bool is_space(char character) {
    return static_cast<unsigned char>(character) <= ' ';
}

const char* skip_spaces(const char* at, const char* end) {
    while (at < end && is_space(*at))
        ++at;
    return at;
}

/** From a quote to behind its counterpart, or to the end of a message that was cut. */
const char* skip_string(const char* at, const char* end) {
    for (++at; at < end && *at != '"'; ++at) {
        if (*at == '\\' && at + 1 < end)
            ++at;
    }
    return at < end ? at + 1 : end;
}

/** Over one value: a string, an object or an array with all that is in it, or a word. */
const char* skip_value(const char* at, const char* end) {
    int depth = 0;
    for (; at < end; ++at) {
        const bool opens = *at == '{' || *at == '[';
        const bool closes = *at == '}' || *at == ']';
        if (depth == 0 && (closes || *at == ','))
            return at;
        if (*at == '"') {
            at = skip_string(at, end) - 1;
            if (depth == 0)
                return at + 1;
        }
        depth += opens ? 1 : 0;
        depth -= closes ? 1 : 0;
        if (depth == 0 && closes)
            return at + 1;
    }
    return end;
}

/**
 * Parsers find members without regard to case, so a secret is one in any spelling. A key with an
 * escape in it could be any, and none of ours has one.
 */
bool is_secret(const Piece& key) {
    if (std::memchr(key.begin, '\\', key.size()) != nullptr)
        return true;
    for (const char* const secret : kSecrets) {
        if (std::strlen(secret) == key.size() && strncasecmp(secret, key.begin, key.size()) == 0)
            return true;
    }
    return false;
}

/** Writes a message once more, without its secrets. There is room for twice its length. */
class Masking {
public:
    explicit Masking(char* out) : out_(out) {}

    void mask(const char* at, const char* end) {
        while (at < end)
            at = *at == '"' ? take_string(at, end) : take({at, at + 1});
        *out_ = '\0';
    }

private:
    const char* take(const Piece& piece) {
        std::memcpy(out_, piece.begin, piece.size());
        out_ += piece.size();
        return piece.end;
    }

    /** A string, and behind a secret's key its value. */
    const char* take_string(const char* at, const char* end) {
        const char* const behind = take({at, skip_string(at, end)});
        const char* const colon = skip_spaces(behind, end);
        if (colon == end || *colon != ':' || !is_secret({at + 1, behind - 1}))
            return behind;
        const char* const value = take({behind, skip_spaces(colon + 1, end)});
        const char* const next = skip_value(value, end);
        if (next != value) // a key, a colon and a value are never shorter than the mask
            take({kMask, kMask + kMaskLength});
        return next;
    }

    char* out_;
};

OwnedText masked(const char* text, std::size_t length) {
    OwnedText copy(static_cast<char*>(std::malloc(2 * length + 1)));
    if (copy)
        Masking(copy.get()).mask(text, text + length);
    return copy;
}

} // namespace

LogText::LogText(const char* text) : LogText(text, std::strlen(text)) {}

LogText::LogText(const char* text, std::size_t length)
    : masked_(masked(text, strnlen(text, length))), text_(masked_ ? masked_.get() : kNoMemory),
      length_(static_cast<int>(std::strlen(text_))) {}

bool log_shows_secrets() {
    return false;
}

} // namespace vxq
