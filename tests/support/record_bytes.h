// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

/**
 * A record of the device library as bytes. Everything is placed by its offset: the definitions of
 * the records are part of what is tested.
 */
class RecordBytes {
public:
    explicit RecordBytes(std::size_t size) : bytes_(size, 0) {}

    RecordBytes& text(std::size_t offset, const std::string& text) {
        return put(offset, text.data(), text.size());
    }
    RecordBytes& number(std::size_t offset, std::int32_t number) {
        return put(offset, &number, sizeof number);
    }
    RecordBytes& clear(std::size_t offset, std::size_t size) {
        return put(offset, std::vector<unsigned char>(size, 0).data(), size);
    }
    /** Fills with a byte that is in no text. */
    RecordBytes& soil(std::size_t offset, std::size_t size) {
        return put(offset, std::vector<unsigned char>(size, 0x7f).data(), size);
    }

    [[nodiscard]] const std::vector<unsigned char>& bytes() const { return bytes_; }

private:
    RecordBytes& put(std::size_t offset, const void* source, std::size_t size) {
        if (offset + size > bytes_.size())
            throw std::out_of_range("outside the record");
        if (size != 0)
            std::memcpy(bytes_.data() + offset, source, size);
        return *this;
    }

    std::vector<unsigned char> bytes_;
};
