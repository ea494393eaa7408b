// SPDX-License-Identifier: MIT
// Feeds the files of a corpus to a fuzz target without libFuzzer, so that a corpus can be replayed
// under any compiler and under valgrind:  fuzz_NAME FILE-OR-FOLDER...
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> files_of(const fs::path& path) {
    if (!fs::is_directory(path))
        return {path};
    const fs::directory_iterator entries(path);
    return {fs::begin(entries), fs::end(entries)};
}

bool replay(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    // Without a byte of room behind the input, so that a sanitizer or valgrind sees each overrun.
    const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
    std::fprintf(stderr, "%s\n", path.c_str());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return true;
}

} // namespace

int main(int count, char** arguments) {
    LLVMFuzzerInitialize(&count, &arguments);
    LLVMFuzzerTestOneInput(nullptr, 0);
    int replayed = 0;
    for (int index = 1; index < count; ++index) {
        for (const fs::path& file : files_of(arguments[index])) {
            if (!replay(file))
                return 1;
            ++replayed;
        }
    }
    std::fprintf(stderr, "%d inputs\n", replayed);
    return replayed != 0 ? 0 : 1;
}
