// SPDX-License-Identifier: MIT
#include "fuzz/harness.h"

#include <cstdio>
#include <cstdlib>

namespace fuzz {

std::uint8_t Input::byte() {
    const std::string one = text(1);
    return one.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(one[0]);
}

std::string Input::text(std::size_t length) {
    const std::string_view taken = left_.substr(0, length);
    left_.remove_prefix(taken.size());
    return std::string(taken);
}

std::vector<std::string> Input::pieces() {
    std::vector<std::string> pieces;
    while (!left_.empty()) {
        pieces.push_back(text(left_.find('\0')));
        text(1);
    }
    return pieces;
}

void require(bool holds, const std::string& what) {
    if (holds)
        return;
    std::fprintf(stderr, "defect: %s\n", what.c_str());
    std::abort();
}

} // namespace fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The key agreement shows its numbers on standard output, as it has to; here they are noise.
    return std::freopen("/dev/null", "w", stdout) != nullptr ? 0 : -1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    fuzz::run(fuzz::Input(bytes, size));
    return 0;
}
