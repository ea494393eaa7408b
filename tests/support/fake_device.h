// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <initializer_list>
#include <span>
#include <string>

#include <vxquilan/device.h>

/**
 * @file
 * Stands in the device library's place: gives what it was programmed to give, notes every call in
 * the journal, and complains about each one that it wasn't programmed for or that breaks the
 * interface's contract (a buffer that isn't zeroed).
 */
namespace fake {

/** What an operation can be programmed with beside its result. */
enum class Shape { nothing, text, number, record, text_and_number };

struct Operation {
    const char* name;
    Shape shape;
    std::size_t size; ///< of the buffer or record
};

/** All of the device library's. */
std::span<const Operation> operations();

/**
 * Operations are named as in the header; a name that doesn't exist, or that cannot give what is
 * programmed, throws std::invalid_argument. Thread-safe.
 */
class Device {
public:
    /** Forgets what was programmed. */
    void reset();

    /** The operations may be called: they succeed, a getter leaves its buffer alone. */
    void allow(std::initializer_list<const char*> operations);
    /** As allow(), for all of them; none can be forbidden then. */
    void allow_all();
    /** A call is unexpected again. */
    void forbid(const char* operation);
    /** What the operation returns; 0 otherwise. */
    void set_result(const char* operation, int result);
    /** What a getter of a text fills in: the text and its NUL. */
    void set_text(const char* operation, const std::string& text);
    /** What a getter of a text fills in, byte by byte; may fill the buffer without a NUL. */
    void set_bytes(const char* operation, const std::string& bytes);
    void set_number(const char* operation, int number);
    template <class Record>
    void set_record(const char* operation, const Record& record) {
        set_record_bytes(operation, &record, sizeof record);
    }
    /** Is run inside each call, after it was noted and before it returns. */
    void on_call(const char* operation, std::function<void()> action);

private:
    void set_record_bytes(const char* operation, const void* bytes, std::size_t size);
};

Device& device();

} // namespace fake
