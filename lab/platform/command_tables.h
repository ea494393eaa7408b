// SPDX-License-Identifier: MIT
#pragma once

#include "command.h"

namespace vxp {

// The modules' tables; a new module adds a line here and one to commandTables().
std::span<const CommandRow> scriptCommands();
std::span<const CommandRow> platformCommands();
std::span<const CommandRow> requestCommands();
std::span<const CommandRow> faultCommands();
std::span<const CommandRow> netCommands();

} // namespace vxp
