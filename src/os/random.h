// SPDX-License-Identifier: MIT
#pragma once

namespace vxq {

/**
 * A number from 0 to `limit`, all equally likely, and others in each process. Not for keys: without
 * the system's source of random numbers it is made of the clock and the process's number.
 *
 * @param limit  less than the largest unsigned number
 */
unsigned random_up_to(unsigned limit);

} // namespace vxq
