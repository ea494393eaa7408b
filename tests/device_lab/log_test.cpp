// SPDX-License-Identifier: MIT
#include "support.h"

#include <regex>
#include <set>
#include <sstream>

namespace {

using lab::call;

const std::string line_start = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} quilan )";

lab::Outcome log(const std::string& level, const std::string& text, const std::string& threshold) {
    return call({"log", level, text}, {{"VX_LOG_LEVEL", threshold}});
}

TEST(Log, LineHasTimeModuleLevelAndText) {
    const auto outcome = log("3", "something failed\n", "");
    EXPECT_TRUE(std::regex_match(outcome.errors, std::regex(line_start + "3 something failed\n")))
        << outcome.errors;
    EXPECT_EQ(outcome.output, "");
}

TEST(Log, MissingLineEndIsAdded) {
    EXPECT_TRUE(std::regex_match(log("3", "text", "").errors, std::regex(line_start + "3 text\n")));
    EXPECT_TRUE(std::regex_match(log("3", "", "").errors, std::regex(line_start + "3 \n")));
}

TEST(Log, LineEndsInsideStay) {
    EXPECT_TRUE(std::regex_match(log("3", "{\n\t\"errcode\":\t0\n}\n", "").errors,
                                 std::regex(line_start + "3 \\{\n\t\"errcode\":\t0\n\\}\n")));
}

TEST(Log, ThresholdIsSixWithoutTheVariable) {
    EXPECT_NE(log("6", "progress", "").errors, "");
    EXPECT_EQ(log("7", "payload", "").errors, "");
}

TEST(Log, ThresholdComesFromTheEnvironment) {
    EXPECT_NE(log("7", "payload", "7").errors, "");
    EXPECT_NE(log("3", "error", "3").errors, "");
    EXPECT_EQ(log("4", "unusual", "3").errors, "");
    EXPECT_EQ(log("3", "error", "0").errors, "");
}

TEST(Log, BadThresholdIsToldOnceAndTheDefaultHolds) {
    for (const char* bad : {"8", "-1", "six", "6x", " 6"}) {
        const auto outcome = call({"log-threads", "2", "3"}, {{"VX_LOG_LEVEL", bad}});
        EXPECT_EQ(lab::count(outcome.errors, "vxlog: VX_LOG_LEVEL: \"" + std::string(bad) + "\""),
                  1U);
        EXPECT_EQ(lab::count(outcome.errors, " end\n"), 6U);
        EXPECT_EQ(lab::count(log("7", "payload", bad).errors, "payload"), 0U);
    }
}

TEST(Log, LinesOfThreadsDoNotMix) {
    const auto outcome = call({"log-threads", "4", "50"});
    std::istringstream lines(outcome.errors);
    const std::regex whole(line_start + R"(3 (\d/\d+) (x+) end)");
    std::set<std::string> seen;
    for (std::string line; std::getline(lines, line);) {
        // The filler would be too much for the regular expression's recursion.
        const auto filler = line.find(std::string(6000, 'x'));
        ASSERT_NE(filler, std::string::npos) << line.substr(0, 80);
        const std::string shortened = line.substr(0, filler + 1) + line.substr(filler + 6000);
        std::smatch match;
        ASSERT_TRUE(std::regex_match(shortened, match, whole)) << shortened.substr(0, 80);
        seen.insert(match[1]);
    }
    EXPECT_EQ(seen.size(), 200U);
}

} // namespace
