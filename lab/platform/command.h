// SPDX-License-Identifier: MIT
#pragma once

#include "arguments.h"
#include "timers.h"

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vxp {

class Platform;

/// What a command still waits for, while everything else goes on.
struct Waiting {
    /// @return whether the wait is over; throws StepFailed when it can't succeed any more
    std::function<bool(Platform&)> done;
    Clock::time_point deadline;
    std::string failure; ///< the reason when the deadline passes; empty when it may
};

/// A command that was understood. Running it either completes it or gives what it waits for.
using Step = std::function<std::optional<Waiting>(Platform&)>;

/// One row of a table of commands. Every module of the platform brings a table of its own.
struct CommandRow {
    std::string_view name;
    std::string_view arguments;
    std::string_view help;
    /// @throws UsageError when the arguments can't be understood
    Step (*parse)(const Arguments& arguments);
};

struct CommandTable {
    std::string_view title;
    std::span<const CommandRow> rows;
};

/// All tables, in the order in which the help text shows them.
std::span<const CommandTable> commandTables();

/**
 * Understands a line; the line holds a command.
 *
 * @throws UsageError with the reason
 */
Step parseCommand(const Arguments& arguments);

/// The help text of all commands, or of one.
/// @throws UsageError when there is no such command
std::string commandHelp(std::string_view name);

} // namespace vxp
