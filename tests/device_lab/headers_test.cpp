// SPDX-License-Identifier: MIT
// The public headers are plain C99 that newer C and C++ take as well, each by itself.

#include "support.h"

#include <tuple>

namespace {

using lab::run;

using Case = std::tuple<std::string, std::string, std::string>; // compiler, standard, header

class Headers : public ::testing::TestWithParam<Case> {
protected:
    static lab::Outcome compile(const std::string& text) {
        const auto& [compiler, standard, header] = GetParam();
        const std::string source = lab::folder() + "/source";
        lab::write_file(source, text + "int main(void) { return 0; }\n");
        return run({compiler, "-x", standard.find("++") == std::string::npos ? "c" : "c++",
                    "-std=" + standard, "-pedantic", "-Wall", "-Wextra", "-Wshadow", "-Wconversion",
                    "-Werror", "-fsyntax-only", "-I", INCLUDE_FOLDER, source});
    }
    void SetUp() override {
        const std::string& compiler = std::get<0>(GetParam());
        if (run({compiler, "--version"}).status != 0) {
            GTEST_SKIP() << compiler << " is not installed";
        }
    }
};

TEST_P(Headers, CompilesByItselfAndTwice) {
    const std::string include = "#include <vxquilan/" + std::get<2>(GetParam()) + ">\n";
    const auto outcome = compile(include + include);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
}

class Layout : public Headers {};

TEST_P(Layout, WrongOffsetIsRefused) {
    std::string text = lab::read_file(INCLUDE_FOLDER "/vxquilan/records.h");
    const std::string wan = "struct vx_wan {\n    char id[256];";
    const auto place = text.find(wan);
    ASSERT_NE(place, std::string::npos);
    text.replace(place, wan.size(), "struct vx_wan {\n    char id[260];");
    const auto outcome = compile(text);
    EXPECT_NE(outcome.status, 0);
    EXPECT_GE(lab::count(outcome.errors, "vx_offset_of_vx_wan_username"), 1U) << outcome.errors;
    EXPECT_EQ(lab::count(outcome.errors, "vx_offset_of_vx_host"), 0U) << outcome.errors;
}

std::string name_of(const ::testing::TestParamInfo<Case>& test) {
    const auto& [compiler, standard, header] = test.param;
    std::string name = compiler + "_" + standard + "_" + header;
    for (char& character : name) {
        character = character == '+' ? 'x' : character;
        character = isalnum(static_cast<unsigned char>(character)) != 0 ? character : '_';
    }
    return name;
}

const auto compilers = ::testing::Values("gcc", "clang");
const auto standards = ::testing::Values("c99", "c11", "c17", "c++11", "c++17", "c++20");

INSTANTIATE_TEST_SUITE_P(All, Headers,
                         ::testing::Combine(compilers, standards,
                                            ::testing::Values("records.h", "device.h",
                                                              "entry_points.h", "log.h")),
                         name_of);
INSTANTIATE_TEST_SUITE_P(All, Layout,
                         ::testing::Combine(compilers, standards, ::testing::Values("records.h")),
                         name_of);

} // namespace
