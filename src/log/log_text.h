// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "text/text.h"

/**
 * @file
 * Messages in the log. They are logged whole, or, in a build with VXQUILAN_LOG_REDACT, with their
 * secrets masked; this header has one implementation for each.
 */
namespace vxq {

/** The text of a message as the log may have it. Refers to the text that it is made of. */
class LogText {
public:
    /** For "%s". @param text  NUL-terminated, not null */
    explicit LogText(const char* text);
    /**
     * For "%.*s": the first `length` bytes at `text`; what follows a NUL among them is not logged.
     */
    LogText(const char* text, std::size_t length);

    const char* text() const { return text_; }
    /** Of a text that was given with its length. */
    int length() const { return length_; }

private:
    OwnedText masked_; ///< null where the text itself is logged
    const char* text_;
    int length_;
};

/** False when what tells a key must not be shown by other means than LogText, either. */
bool log_shows_secrets();

} // namespace vxq
