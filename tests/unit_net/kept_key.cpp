// SPDX-License-Identifier: MIT
#include "unit_net/kept_key.h"

#include <array>
#include <cstring>

#include "support/fake_device.h"
#include "support/journal.h"

void keep_key() {
    std::array<unsigned char, 128> key{};
    for (const fake::Entry& entry : fake::journal().entries()) {
        if (entry.call == "port_device_encryptkey_set(key)")
            std::memcpy(key.data(), entry.record.data(), key.size());
    }
    fake::device().set_record("port_device_encryptkey_get", key);
}
