// SPDX-License-Identifier: MIT
#pragma once

/** Whether the test's program has the options on. The same tests are linked to both daemons. */
extern const bool kStrict;
