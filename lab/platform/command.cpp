// SPDX-License-Identifier: MIT
#include "command.h"

#include "command_tables.h"
#include "text.h"

#include <fmt/format.h>

#include <algorithm>

namespace vxp {

namespace {

const CommandRow* findCommand(std::string_view name) {
    for (const CommandTable& table : commandTables()) {
        for (const CommandRow& row : table.rows) {
            if (row.name == name) {
                return &row;
            }
        }
    }
    return nullptr;
}

constexpr std::size_t helpColumn = 8;
constexpr std::size_t helpWidth = 96;

/// Fills lines with the words of a text.
std::string wrapped(std::string_view text) {
    std::string result;
    std::size_t used = helpWidth;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        if (used + 1 + end > helpWidth) {
            result += fmt::format("\n{:{}}", "", helpColumn);
            used = helpColumn;
        } else {
            result += ' ';
            ++used;
        }
        result += text.substr(0, end);
        used += end;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return result + "\n";
}

std::string rowHelp(const CommandRow& row) {
    return fmt::format("    {} {}{}", row.name, row.arguments, wrapped(row.help));
}

} // namespace

std::span<const CommandTable> commandTables() {
    static const CommandTable tables[] = {
        {"Scripts and the prompt", scriptCommands()},
        {"What the platform answers", platformCommands()},
        {"Requests to the gateway", requestCommands()},
        {"Faults on the wire", faultCommands()},
        {"The platform channel", netCommands()},
    };
    return tables;
}

Step parseCommand(const Arguments& arguments) {
    const CommandRow* row = findCommand(arguments.name());
    if (row == nullptr) {
        throw UsageError(
            fmt::format("no such command: {} (help lists them)", quoteText(arguments.name())));
    }
    try {
        return row->parse(arguments);
    } catch (const UsageError& error) {
        throw UsageError(fmt::format("{}; usage: {} {}", error.what(), row->name, row->arguments));
    }
}

std::string commandHelp(std::string_view name) {
    if (!name.empty()) {
        const CommandRow* row = findCommand(name);
        if (row == nullptr) {
            throw UsageError(fmt::format("no such command: {}", quoteText(name)));
        }
        return rowHelp(*row);
    }
    std::string text;
    for (const CommandTable& table : commandTables()) {
        text += fmt::format("{}\n", table.title);
        for (const CommandRow& row : table.rows) {
            text += rowHelp(row);
        }
    }
    return text;
}

} // namespace vxp
