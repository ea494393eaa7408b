// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "instrumented.h"

/** What the daemon's file says to the loader. */
namespace {

std::vector<std::string> lines_of(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string text;
    std::array<char, 4096> buffer{};
    for (std::size_t size = 0; (size = fread(buffer.data(), 1, buffer.size(), pipe.get())) > 0;)
        text.append(buffer.data(), size);
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

TEST(Binary, ExportsItsEntryPointsAndNothingElse) {
    if (e2e::is_instrumented())
        GTEST_SKIP() << "sanitizers export symbols of their own";
    std::vector<std::string> expected;
    std::ifstream file(VXQUILAN_EXPORTS);
    for (std::string name; std::getline(file, name);)
        expected.push_back(name);

    std::vector<std::string> exported;
    for (const std::string& line :
         lines_of("nm -D --defined-only --format=posix " VXQUILAN_DAEMON)) {
        const std::string name = line.substr(0, line.find(' '));
        if (name.find('@') == std::string::npos) // copies of libc's own data carry its version
            exported.push_back(name);
    }
    EXPECT_THAT(exported, testing::UnorderedElementsAreArray(expected));
}

TEST(Binary, NeedsNoRunTimeLibraryOfCpp) {
    if (e2e::is_instrumented())
        GTEST_SKIP() << "sanitizers need it";
    std::vector<std::string> needed;
    for (const std::string& line : lines_of("readelf -d " VXQUILAN_DAEMON)) {
        const std::size_t start = line.find("Shared library: [");
        if (start != std::string::npos)
            needed.push_back(line.substr(start + 17, line.rfind(']') - start - 17));
    }
    EXPECT_THAT(needed, testing::Contains("libvxdevice.so"));
    EXPECT_THAT(needed, testing::Contains("libvxlog.so"));
    for (const std::string& library : needed) {
        EXPECT_THAT(
            library,
            testing::AnyOf(testing::StartsWith("libvx"), testing::StartsWith("libcoap-3-openssl"),
                           testing::StartsWith("libcjson"), testing::StartsWith("libcrypto"),
                           testing::StartsWith("libssl"), testing::StartsWith("libc.")));
    }
}

/** One program that is shipped, and what of it the loader is told. */
class Hardened : public testing::TestWithParam<std::pair<const char*, const char*>> {
protected:
    void SetUp() override {
        if (e2e::is_instrumented())
            GTEST_SKIP() << "sanitizers go without";
        if (!VXQUILAN_HARDENED)
            GTEST_SKIP() << "switched off";
    }
    /** The output of a tool on the program, as one text. */
    static std::string shown_by(const std::string& tool) {
        std::string text;
        for (const std::string& line : lines_of(tool + " " + GetParam().second))
            text += line + "\n";
        return text;
    }
};

TEST_P(Hardened, LiesAtAnyAddress) {
    EXPECT_THAT(shown_by("readelf -h"), testing::ContainsRegex("Type: +DYN"));
    EXPECT_THAT(shown_by("readelf -d"), testing::ContainsRegex("FLAGS_1.* PIE"));
}

TEST_P(Hardened, HasNoTableOfAddressesToWriteInto) {
    EXPECT_THAT(shown_by("readelf -lW"), testing::HasSubstr("GNU_RELRO"));
    EXPECT_THAT(shown_by("readelf -d"), testing::ContainsRegex("FLAGS_1.*NOW"));
}

TEST_P(Hardened, HasNoExecutableStackAndNothingToWriteAndExecute) {
    const std::string segments = shown_by("readelf -lW");
    EXPECT_THAT(segments, testing::ContainsRegex("GNU_STACK .* RW +0x"));
    EXPECT_THAT(segments, testing::Not(testing::ContainsRegex("LOAD .* RWE +0x")));
}

TEST_P(Hardened, WatchesOverItsStackAndItsBuffers) {
    const std::string symbols = shown_by("nm -D --undefined-only");
    EXPECT_THAT(symbols, testing::HasSubstr("__stack_chk_fail"));
    if (VXQUILAN_FORTIFIED) {
        EXPECT_THAT(symbols, testing::ContainsRegex("__[a-z]+_chk(@|\n)"));
    }
}

INSTANTIATE_TEST_SUITE_P(Shipped, Hardened,
                         testing::Values(std::pair("Daemon", VXQUILAN_DAEMON),
                                         std::pair("PlatformChannel", VXQUILAN_NET),
                                         std::pair("DeviceCheck", VXQUILAN_CHECK)),
                         [](const auto& program) { return program.param.first; });

} // namespace
