// SPDX-License-Identifier: MIT
#include "support.h"

#include <cstdlib>

// The library takes its paths from the environment once per process; all tests share them.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    setenv("VX_DEVICE_STATE", lab::state_path().c_str(), 1);
    setenv("VX_DEVICE_JOURNAL", lab::journal_path().c_str(), 1);
    lab::write_file(lab::state_path(), lab::sample().dump(2));
    return RUN_ALL_TESTS();
}
