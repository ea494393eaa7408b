// SPDX-License-Identifier: MIT
#include "support/fake_device.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <vector>

#include "support/journal.h"

namespace fake {

namespace {

constexpr Operation kOperations[] = {
#define TEXT_GET(name, size) {#name, Shape::text, size},
#define TEXT_SET(name) {#name, Shape::nothing, 0},
#define NUMBER_GET(name) {#name, Shape::number, 0},
#define NUMBER_SET(name) {#name, Shape::nothing, 0},
#define RECORD_GET(name, type) {#name, Shape::record, sizeof(type)},
#define RECORD_SET(name, type) {#name, Shape::nothing, sizeof(type)},
#define ACTION(name) {#name, Shape::nothing, 0},
#define OTHER(name, shape, size) {#name, Shape::shape, size},
#include "support/device_operations.inc"
};

const Operation& find(const std::string& name) {
    const auto* const found =
        std::find_if(std::begin(kOperations), std::end(kOperations),
                     [&name](const Operation& operation) { return operation.name == name; });
    if (found == std::end(kOperations))
        throw std::invalid_argument("the device library has no " + name);
    return *found;
}

struct Program {
    int result = 0;
    std::optional<std::string> bytes; ///< of a text or record
    std::optional<int> number;
    std::function<void()> action;
};

struct Content {
    std::mutex mutex;
    std::map<std::string, Program> programs;
    bool all_allowed = false;
};

Content& content() {
    static Content instance;
    return instance;
}

void change(const std::string& name, const std::function<void(const Operation&, Program&)>& how) {
    const Operation& operation = find(name);
    const std::lock_guard guard(content().mutex);
    how(operation, content().programs[name]);
}

void require(bool possible, const Operation& operation, const char* what) {
    if (!possible)
        throw std::invalid_argument(std::string(operation.name) + " gives no such " + what);
}

/** Notes a call and gives its program; a call without one is complained about. */
Program begin(Source source, const char* name, const std::string& arguments,
              std::vector<unsigned char> record = {}) {
    const std::string call = std::string(name) + '(' + arguments + ')';
    journal().note(source, call, std::move(record));
    const std::lock_guard guard(content().mutex);
    const auto found = content().programs.find(name);
    if (found != content().programs.end())
        return found->second;
    if (!content().all_allowed)
        journal().complain("unexpected call of the device library: " + call);
    return {};
}

int finish(const Program& program) {
    if (program.action)
        program.action();
    return program.result;
}

std::vector<unsigned char> copy(const void* bytes, std::size_t size) {
    const auto* const first = static_cast<const unsigned char*>(bytes);
    return {first, first + size};
}

void check_zeroed(const char* name, const void* buffer, std::size_t size) {
    const std::vector<unsigned char> bytes = copy(buffer, size);
    if (std::any_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte != 0; }))
        journal().complain(std::string(name) + " was given a buffer that isn't zeroed");
}

void fill(const Program& program, void* buffer) {
    if (program.bytes)
        std::memcpy(buffer, program.bytes->data(), program.bytes->size());
}

int get_bytes(const char* name, void* buffer, const std::string& arguments) {
    check_zeroed(name, buffer, find(name).size);
    const Program program = begin(Source::query, name, arguments);
    fill(program, buffer);
    return finish(program);
}

int get_number(const char* name, int* number) {
    const Program program = begin(Source::query, name, std::to_string(*number));
    *number = program.number.value_or(*number);
    return finish(program);
}

int set_record(const char* name, const void* record, const std::string& arguments) {
    return finish(begin(Source::device, name, arguments, copy(record, find(name).size)));
}

int act(const char* name, const std::string& arguments) {
    return finish(begin(Source::device, name, arguments));
}

} // namespace

void Device::reset() {
    const std::lock_guard guard(content().mutex);
    content().programs.clear();
    content().all_allowed = false;
}

void Device::allow(std::initializer_list<const char*> operations) {
    for (const char* const operation : operations)
        change(operation, [](const Operation&, Program&) {});
}

void Device::allow_all() {
    const std::lock_guard guard(content().mutex);
    content().all_allowed = true;
}

void Device::forbid(const char* operation) {
    find(operation);
    const std::lock_guard guard(content().mutex);
    content().programs.erase(operation);
}

void Device::set_result(const char* operation, int result) {
    change(operation, [result](const Operation&, Program& program) { program.result = result; });
}

void Device::set_text(const char* operation, const std::string& text) {
    set_bytes(operation, text + '\0');
}

void Device::set_bytes(const char* operation, const std::string& bytes) {
    change(operation, [&bytes](const Operation& found, Program& program) {
        const bool gives_text = found.shape == Shape::text || found.shape == Shape::text_and_number;
        require(gives_text && bytes.size() <= found.size, found, "text");
        program.bytes = bytes;
    });
}

void Device::set_number(const char* operation, int number) {
    change(operation, [number](const Operation& found, Program& program) {
        require(found.shape == Shape::number || found.shape == Shape::text_and_number, found,
                "number");
        program.number = number;
    });
}

void Device::set_record_bytes(const char* operation, const void* bytes, std::size_t size) {
    change(operation, [bytes, size](const Operation& found, Program& program) {
        require(found.shape == Shape::record && size == found.size, found, "record");
        program.bytes = std::string(static_cast<const char*>(bytes), size);
    });
}

void Device::on_call(const char* operation, std::function<void()> action) {
    change(operation,
           [&action](const Operation&, Program& program) { program.action = std::move(action); });
}

std::span<const Operation> operations() {
    return kOperations;
}

Device& device() {
    static Device instance;
    return instance;
}

} // namespace fake

using namespace fake;

#define TEXT_GET(name, size)                                                                       \
    int name(char* buffer) {                                                                       \
        return get_bytes(#name, buffer, "");                                                       \
    }
#define TEXT_SET(name)                                                                             \
    int name(const char* text) {                                                                   \
        return act(#name, quoted(text));                                                           \
    }
#define NUMBER_GET(name)                                                                           \
    int name(int* number) {                                                                        \
        return get_number(#name, number);                                                          \
    }
#define NUMBER_SET(name)                                                                           \
    int name(int number) {                                                                         \
        return act(#name, std::to_string(number));                                                 \
    }
#define RECORD_GET(name, type)                                                                     \
    int name(type* record) {                                                                       \
        return get_bytes(#name, record, "record");                                                 \
    }
#define RECORD_SET(name, type)                                                                     \
    int name(const type* record) {                                                                 \
        return set_record(#name, record, "record");                                                \
    }
#define ACTION(name)                                                                               \
    int name(void) {                                                                               \
        return act(#name, "");                                                                     \
    }
#define OTHER(name, shape, size)
#include "support/device_operations.inc"

int port_device_app_ip(char* host, int* port) {
    static constexpr char kName[] = "port_device_app_ip";
    check_zeroed(kName, host, find(kName).size);
    const Program program = begin(Source::query, kName, std::to_string(*port));
    fill(program, host);
    *port = program.number.value_or(*port);
    return finish(program);
}

int vx_device_stainfo_byget(vx_station_list* stations, int selector) {
    return get_bytes("vx_device_stainfo_byget", stations, "record, " + std::to_string(selector));
}

int port_device_encryptkey_get(unsigned char* key) {
    return get_bytes("port_device_encryptkey_get", key, "");
}

int port_device_encryptkey_set(const unsigned char* key) {
    return set_record("port_device_encryptkey_set", key, "key");
}

int port_device_sequence_get(void) {
    return finish(begin(Source::query, "port_device_sequence_get", ""));
}

int vx_device_wifitimer_get(wifitimer_cfg* config, const status_req* request) {
    static constexpr char kName[] = "vx_device_wifitimer_get";
    check_zeroed(kName, config, sizeof *config);
    const Program program =
        begin(Source::query, kName, "record, request", copy(request, sizeof *request));
    fill(program, config);
    return finish(program);
}

void* vx_device_upgrade(void* upgrade) {
    set_record("vx_device_upgrade", upgrade, "record");
    return nullptr;
}
