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

/**
 * Has all threads share one heap, where the C library would give each its own: the daemon's threads
 * hardly ever allocate at once, and a gateway is short of memory. To be called before there are
 * threads.
 */
void share_one_heap();

} // namespace vxq
