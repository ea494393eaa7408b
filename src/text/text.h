// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

#include <vxquilan/log.h>

/**
 * @file
 * Texts in fixed-size buffers. Every such buffer of the daemon is written through these routines:
 * they never write past the size given and always terminate.
 */
namespace vxq {

/** A heap text that ends with free(). */
struct FreeText {
    void operator()(char* text) const { std::free(text); }
};
using OwnedText = std::unique_ptr<char, FreeText>;

/**
 * Copies a text into a buffer of `size` bytes, cut to size - 1 bytes. A null text copies as the
 * empty text.
 */
void copy_text(char* buffer, std::size_t size, const char* text);

/** printf into a buffer of `size` bytes, cut to size - 1 bytes. */
void format_text(char* buffer, std::size_t size, const char* format, ...) VX_PRINTF(3, 4);

/** The decimal number at a text's beginning, within the limits of int; 0 when there is none. */
int decimal_value(const char* text);

/** A NUL-terminated copy of `size` bytes; null when there is no memory for it. */
OwnedText copy_bytes(const void* bytes, std::size_t size);

template <std::size_t Size>
void copy_text(char (&buffer)[Size], const char* text) {
    copy_text(buffer, Size, text);
}

/**
 * A buffer that a device-library getter fills: `Size` bytes of the contract, zeroed, and one more
 * that stays zero, so that even a getter that forgets the NUL leaves a text.
 */
template <std::size_t Size>
class TextBuffer {
public:
    char* data() { return bytes_; }
    const char* text() const { return bytes_; }
    bool empty() const { return bytes_[0] == '\0'; }

private:
    char bytes_[Size + 1] = {};
};

} // namespace vxq
