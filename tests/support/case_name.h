// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include <gtest/gtest.h>

/** An entry for the name of a parameterised test: letters, digits and _ only. */
template <class Case>
std::string case_name(const testing::TestParamInfo<Case>& information) {
    return information.param.name;
}
