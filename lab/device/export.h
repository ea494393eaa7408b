// SPDX-License-Identifier: MIT
#pragma once

// Everything in the library is hidden but the functions that this header declares.
#pragma GCC visibility push(default)
#include <vxquilan/device.h>
#pragma GCC visibility pop
