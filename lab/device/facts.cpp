// SPDX-License-Identifier: MIT
// Single facts: identity, credentials, settings, addresses.

#include "facts.h"

#include "control.h"
#include "export.h"
#include "layout.h"
#include "operation.h"
#include "records.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>
#include <limits>
#include <span>

namespace vxdevice {
namespace {

constexpr std::size_t kKeySize = 128;
constexpr std::size_t kHostSize = 64;
constexpr std::size_t kIpSize = 16;

int get_text_fact(const char* operation, const char* pointer, char* buffer, std::size_t size) {
    return look(operation, [&](const Json& state) {
        const Json* value = find(state, pointer);
        if (value == nullptr) {
            return kNotFound;
        }
        put_text(buffer, size, value->get_ref<const std::string&>());
        return kDone;
    });
}

int get_number_fact(const char* operation, const char* pointer, int* number) {
    return look(operation, [&](const Json& state) {
        const Json* value = find(state, pointer);
        if (value == nullptr) {
            return kNotFound;
        }
        *number = value->is_boolean() ? static_cast<int>(value->get<bool>()) : value->get<int>();
        return kDone;
    });
}

/// The member's own name, which is also the argument's name in the journal.
std::string last_token(const char* pointer) {
    return Pointer(pointer).back();
}

int set_text_fact(const char* operation, const char* pointer, const char* text) {
    const std::string value = get_text(text, std::strlen(text));
    return act(operation, {{last_token(pointer), value}}, [&](Json& state) {
        state[Pointer(pointer)] = value;
        return kDone;
    });
}

int set_number_fact(const char* operation, const char* pointer, int number) {
    return act(operation, {{last_token(pointer), number}}, [&](Json& state) {
        state[Pointer(pointer)] = number;
        return kDone;
    });
}

int get_record(const char* operation, const char* pointer, const Layout& layout, void* record) {
    return look(operation, [&](const Json& state) {
        const Json* value = find(state, pointer);
        if (value == nullptr) {
            return kNotFound;
        }
        fill(layout, *value, record);
        return kDone;
    });
}

/// Hexadecimal digits, without the zeros that fill the buffer up.
std::string to_hex(std::span<const unsigned char> key) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : key) {
        text += digits[byte >> 4U];
        text += digits[byte & 15U];
    }
    while (text.size() >= 2 && text.ends_with("00")) {
        text.resize(text.size() - 2);
    }
    return text;
}

void from_hex(const std::string& text, unsigned char* key) {
    std::memset(key, 0, kKeySize);
    for (std::size_t i = 0; i + 1 < text.size() && i / 2 < kKeySize; i += 2) {
        key[i / 2] = static_cast<unsigned char>(std::stoi(text.substr(i, 2), nullptr, 16));
    }
}

/// When something that is good for so many seconds from now expires; never beyond 32 bits.
int expiry_after(int seconds) {
    const auto expiry = static_cast<long long>(std::time(nullptr)) + seconds;
    return static_cast<int>(std::clamp<long long>(expiry, 0, std::numeric_limits<int>::max()));
}

} // namespace
} // namespace vxdevice

using namespace vxdevice;

#define TEXT_GETTER(operation, pointer, size)                                                      \
    int operation(char* text) {                                                                    \
        return get_text_fact(#operation, pointer, text, size);                                     \
    }
#define TEXT_SETTER(operation, pointer)                                                            \
    int operation(const char* text) {                                                              \
        return set_text_fact(#operation, pointer, text);                                           \
    }
#define NUMBER_GETTER(operation, pointer, kind)                                                    \
    int operation(int* number) {                                                                   \
        return get_number_fact(#operation, pointer, number);                                       \
    }
#define NUMBER_SETTER(operation, pointer)                                                          \
    int operation(int number) {                                                                    \
        return set_number_fact(#operation, pointer, number);                                       \
    }
#define RECORD_GETTER(operation, type, pointer, name)                                              \
    int operation(struct type* record) {                                                           \
        return get_record(#operation, pointer, layout::name, record);                              \
    }

VXDEVICE_TEXT_GETTERS(TEXT_GETTER)
VXDEVICE_TEXT_SETTERS(TEXT_SETTER)
VXDEVICE_NUMBER_GETTERS(NUMBER_GETTER)
VXDEVICE_NUMBER_SETTERS(NUMBER_SETTER)
VXDEVICE_RECORD_GETTERS(RECORD_GETTER)

int port_device_mode_get(int* mode) {
    mode_was_asked();
    return get_number_fact(__func__, "/settings/mode", mode);
}

int port_device_timeout_set(int timeout) {
    return act(__func__, {{"timeout", timeout}}, [&](Json& state) {
        state[Pointer("/credentials/token_expiry")] = expiry_after(timeout);
        return kDone;
    });
}

int port_device_app_ip(char* host, int* port) {
    return look(__func__, [&](const Json& state) {
        const Json* name = find(state, "/app_platform/host");
        const Json* number = find(state, "/app_platform/port");
        if (name == nullptr || number == nullptr) {
            return kNotFound;
        }
        put_text(host, kHostSize, name->get_ref<const std::string&>());
        *port = number->get<int>();
        return kDone;
    });
}

// A gateway without an address yet has no success to report.
int port_device_ip_get(char* ip) {
    return look(__func__, [&](const Json& state) {
        const Json* address = find(state, "/platform_channel/ip");
        if (address == nullptr || address->get_ref<const std::string&>().empty()) {
            return kNotFound;
        }
        put_text(ip, kIpSize, address->get_ref<const std::string&>());
        return kDone;
    });
}

int port_device_encryptkey_get(unsigned char* key) {
    return look(__func__, [&](const Json& state) {
        const Json* digits = find(state, "/platform_channel/key");
        if (digits == nullptr) {
            return kNotFound;
        }
        from_hex(digits->get_ref<const std::string&>(), key);
        return kDone;
    });
}

int port_device_encryptkey_set(const unsigned char* key) {
    const std::string digits = to_hex({key, kKeySize});
    return act(__func__, {{"key", digits}}, [&](Json& state) {
        state[Pointer("/platform_channel/key")] = digits;
        return kDone;
    });
}

// The result is the number itself.
int port_device_sequence_get(void) {
    return look(__func__, [](const Json& state) {
        const Json* sequence = find(state, "/platform_channel/sequence");
        return sequence == nullptr ? 0 : sequence->get<int>();
    });
}

int port_device_sequence_set(void) {
    return act(__func__, Json::object(), [](Json& state) {
        const Json* sequence = find(state, "/platform_channel/sequence");
        const int number = sequence == nullptr ? 0 : sequence->get<int>();
        state[Pointer("/platform_channel/sequence")] =
            number == std::numeric_limits<int>::max() ? 0 : number + 1;
        return kDone;
    });
}

int vx_device_stainfo_byget(struct vx_station_list* stations, int selector) {
    return look(__func__, [&](const Json& state) {
        Json chosen = Json::array();
        for (const Json& station : array_at(state, "/stations")) {
            if (selector == 0 || station.value("type", 0) == selector) {
                chosen.push_back(station);
            }
        }
        fill(layout::stations, {{"stations", std::move(chosen)}}, stations);
        return kDone;
    });
}

int vx_device_info(struct vx_device_information* record) {
    return look(__func__, [&](const Json& state) {
        const Json* information = find(state, "/device_information");
        if (information == nullptr) {
            return kNotFound;
        }
        fill(layout::device_information, *information, record);
        if (const Json* started = find(state, "/boot/time")) {
            const auto seconds = static_cast<long long>(std::time(nullptr)) - started->get<int>();
            record->up_time = static_cast<std::int32_t>(
                std::clamp<long long>(seconds, 0, std::numeric_limits<std::int32_t>::max()));
        }
        return kDone;
    });
}
