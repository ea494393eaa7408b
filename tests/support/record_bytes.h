// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <bit>
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
    /** Most significant byte first on the gateway, last on the developer's machine. */
    RecordBytes& number(std::size_t offset, std::int32_t number) {
        const auto value = static_cast<std::uint32_t>(number);
        std::array<unsigned char, 4> bytes{};
        for (std::size_t place = 0; place < bytes.size(); ++place)
            bytes[place] = static_cast<unsigned char>(value >> (8 * (bytes.size() - 1 - place)));
        if (std::endian::native == std::endian::little)
            std::reverse(bytes.begin(), bytes.end());
        return put(offset, bytes.data(), bytes.size());
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
