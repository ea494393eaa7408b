// SPDX-License-Identifier: MIT
#pragma once

#include "record_rules.h"

#include <cstddef>
#include <span>

/// The operations of a device library, as rows of one table.
namespace device_check {

enum class Kind {
    start,         ///< prepares the library; called before anything else of its channel
    text,          ///< fills a text
    number,        ///< fills an int
    binary,        ///< fills bytes
    record,        ///< fills a record
    address,       ///< fills an Address
    value,         ///< returns a number
    check,         ///< judges a record and changes nothing
    set_text,      ///< takes back the text that its getter gave
    set_number,    ///< takes back the number that its getter gave
    set_binary,    ///< takes back the bytes that its getter gave
    set_record,    ///< takes back the record that its getter gave
    set_entry,     ///< takes back the first entry of the list that its getter gave
    set_timeout,   ///< takes seconds from now, of which its getter makes a time
    advance,       ///< adds one to its getter's value
    set_nothing,   ///< takes a record that has nothing in it
    action,        ///< takes nothing, or a record that has nothing in it
    action_number, ///< takes an int
    never          ///< can't be tried without harm
};

/// When each channel's operations may be called.
enum class Channel { app, platform };

/// What port_device_app_ip() fills. The text comes last: what overruns it lands in the guard.
struct Address {
    int port;
    char host[64];
};

struct Operation {
    const char* name;
    /// Calls the symbol with the buffer as its argument; the result, or 0 when it has none.
    int (*call)(void* symbol, void* buffer);
    Kind kind;
    Channel channel;
    std::size_t size = 0;         ///< bytes of the buffer
    const char* getter = nullptr; ///< setters: where their value comes from
    const RecordRules* rules = nullptr;
    int preset = 0; ///< numbers: what the daemon puts there before; actions: what it passes
};

std::span<const Operation> operations();

/// The operation of that name, or null.
const Operation* find_operation(const char* name);

/// The operation that prepares a channel.
const Operation& start_of(Channel channel);

bool is_getter(Kind kind);
bool is_setter(Kind kind);
bool is_action(Kind kind);

} // namespace device_check
