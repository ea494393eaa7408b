// SPDX-License-Identifier: MIT
#pragma once

namespace vxq {

/** Runs a shell command line and waits for the shell; what became of it is not looked at. */
void run_command(const char* command_line);

/**
 * From now on writing to a connection that the peer has closed is an error like any other and no
 * longer ends the process. Programs that the daemon starts are not affected.
 */
void survive_broken_pipes();

} // namespace vxq
