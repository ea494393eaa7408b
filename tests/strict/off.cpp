// SPDX-License-Identifier: MIT
#include "strict/strictness.h"

const bool kStrict = false;
