// SPDX-License-Identifier: MIT
#include "arguments.h"
#include "command.h"
#include "message.h"
#include "requests.h"
#include "script.h"
#include "text.h"

#include "platform_process.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace vxp {
namespace {

using namespace std::chrono_literals;

TEST(Text, Durations) {
    EXPECT_EQ(parseDuration("300ms"), 300ms);
    EXPECT_EQ(parseDuration("20s"), 20s);
    EXPECT_EQ(parseDuration("2m"), 2min);
    EXPECT_EQ(parseDuration("0.5"), 500ms);
    for (const char* bad : {"", "s", "ms", "-1s", "1h", "1e3", "inf", "nan", "20 s", "99999999"}) {
        EXPECT_EQ(parseDuration(bad), std::nullopt) << bad;
    }
}

TEST(Text, Hexadecimal) {
    EXPECT_EQ(parseHex("00 e3FF"), std::string("\x00\xe3\xff", 3));
    for (const char* bad : {"", "0", "0 0", "0g", "000"}) {
        EXPECT_EQ(parseHex(bad), std::nullopt) << bad;
    }
    EXPECT_EQ(hexText(std::string("\x00\xe3", 2)), "00e3");
}

TEST(Text, Utf8) {
    EXPECT_TRUE(isUtf8("gr\xc3\xbc\xc3\x9f"));
    EXPECT_FALSE(isUtf8("\xc3"));
    EXPECT_FALSE(isUtf8("\xff"));
    EXPECT_FALSE(isUtf8("\xc3("));
    EXPECT_EQ(quoteText("a\"\n\xff"), "\"a\\\"\\x0a\\xff\"");
}

TEST(Json, DepthAndMembers) {
    EXPECT_FALSE(parseJson(""));
    EXPECT_FALSE(parseJson("{"));
    EXPECT_FALSE(parseJson("{} x"));
    const std::string deep(100000, '[');
    EXPECT_FALSE(parseJson(deep));
    EXPECT_FALSE(parseJson(std::string(1000, '[') + std::string(1000, ']')));
    const auto document = parseJson(R"({"a":{"b":[1,{"c ":"[[{{\"["}]}})");
    ASSERT_TRUE(document);
    EXPECT_EQ(*findMember(*document, "a.b.1.c "), "[[{{\"[");
    EXPECT_EQ(findMember(*document, "a.b.2"), nullptr);
    EXPECT_EQ(findMember(*document, "a.b.-1"), nullptr);
    EXPECT_EQ(findMember(*document, "a.b.0.c"), nullptr);
    EXPECT_EQ(*findMember(*document, ""), *document);
}

TEST(Message, Codes) {
    EXPECT_EQ(codeText(codePost), "POST");
    EXPECT_EQ(codeText(codeContent), "2.05");
    EXPECT_EQ(parseCode("get"), codeGet);
    EXPECT_EQ(parseCode("4.04"), codeNotFound);
    for (const char* bad : {"", "2", "2.5", "8.00", "2.32", "x.05", "-.05", "2.-5"}) {
        EXPECT_EQ(parseCode(bad), -1) << bad;
    }
}

TEST(Arguments, WordsAndRest) {
    const Arguments arguments(R"(  post .sys/x "a b"c request-id="q \" \\ \n" {"k": 1}  )", "dir");
    EXPECT_EQ(arguments.name(), "post");
    EXPECT_EQ(arguments.rest(4), R"({"k": 1})");
    const auto words = arguments.words();
    ASSERT_EQ(words.size(), 5U);
    EXPECT_EQ(words[1], "a bc");
    EXPECT_EQ(words[2], "request-id=q \" \\ \n");
    EXPECT_EQ(arguments.resolve("f"), "dir/f");
    EXPECT_EQ(arguments.resolve("/f"), "/f");
    EXPECT_THROW((void)Arguments("echo \"x", "").words(), UsageError);
    EXPECT_EQ(Arguments("echo it's \"x", "").rest(1), "it's \"x");
}

std::string reasonOf(const std::string& line) {
    try {
        parseCommand(Arguments(line, ""));
    } catch (const UsageError& error) {
        return error.what();
    }
    return "";
}

class BadCommand : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(BadCommand, IsRefusedWithItsReason) {
    const auto& [line, reason] = GetParam();
    EXPECT_NE(reasonOf(line).find(reason), std::string::npos) << line << ": " << reasonOf(line);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, BadCommand,
    testing::Values(
        std::pair{"bogus", "no such command: \"bogus\""},
        std::pair{"WAIT login", "no such command"},
        std::pair{"wait", "something is missing; usage: wait [new] EVENT [TIMEOUT]"},
        std::pair{"wait new", "an event"}, std::pair{"wait lgin 2s", "no such event: \"lgin\""},
        std::pair{"wait login soon", "no time such as"}, std::pair{"wait login 1s 2s", "an event"},
        std::pair{"wait new login 1s 2s", "too much"}, std::pair{"never login", "missing"},
        std::pair{"sleep", "missing"}, std::pair{"sleep -1", "no time"},
        std::pair{"set", "missing"}, std::pair{"set login", "missing"},
        std::pair{"set lgin silence", "no such request: \"lgin\""},
        std::pair{"set login errcode", "needs a value: \"errcode\""},
        std::pair{"set login errcode=", "errcode is a number"},
        std::pair{"set login errcode=5000000000", "errcode is a number"},
        std::pair{"set login silence=1", "takes no value"},
        std::pair{"set login times=0", "times is a number from 1"},
        std::pair{"set login delay=fast", "delay is a time"},
        std::pair{"set login drop=never", "drop is before or after"},
        std::pair{"set login code=1.00", "code is a response code"},
        std::pair{"set login rawhex=0", "rawhex is pairs"},
        std::pair{"set login raw=@no-such-file", "no-such-file: No such file"},
        std::pair{"set login errorcode=5", "unknown word: \"errorcode=5\""},
        std::pair{"set login member.=5", "unknown word"},
        std::pair{"set login raw=\"x", "a quote is not closed"},
        std::pair{"assert", "no comparison"}, std::pair{"assert answer.errcode", "no comparison"},
        std::pair{"assert == 0", "no comparison"},
        std::pair{"assert answer.errcode ==", "no value"},
        std::pair{"assert answer.errcode == 0 0", "more than one"},
        std::pair{"assert answer.errcode exists 0", "more than one"},
        std::pair{"assert anser.errcode == 0", "no such event: \"anser\""},
        std::pair{"assert count.lgin == 0", "no such event"}, std::pair{"code", "missing"},
        std::pair{"code add", "add CODE"}, std::pair{"code clear all", "add CODE"},
        std::pair{"gateway", "add mac=MAC"}, std::pair{"gateway add", "add mac=MAC"},
        std::pair{"gateway add devId=x", "mac=MAC is missing"},
        std::pair{"gateway add mac=x colour=red", "unknown word"},
        std::pair{"policy check-token maybe", "on or off"},
        std::pair{"policy nice on", "no such policy"}, std::pair{"timeout soon", "no number"},
        std::pair{"expire now", "too much"}, std::pair{"show all", "nothing to show"},
        std::pair{"select first", "no connection"}, std::pair{"drop 1", "too much"},
        std::pair{"send", "no method and no request"},
        std::pair{"send tidings x", "no method and no request: \"tidings\""},
        std::pair{"send 2.05 x", "no method"}, std::pair{"get", "a path"},
        std::pair{"get /x", "without a leading slash"},
        std::pair{"post x hex:0", "pairs of hexadecimal"}, std::pair{"fault", "missing"},
        std::pair{"fault tolerance", "no such fault"}, std::pair{"fault cut x", "no offset"},
        std::pair{"fault cut 1025", "no offset"}, std::pair{"fault mute 1", "no offset"},
        std::pair{"fault raw", "pairs of hexadecimal"}, std::pair{"fault raw zz", "pairs"},
        std::pair{"net-select x", "no connection"}, std::pair{"net-drop 1", "too much"},
        std::pair{"net-send", "something is missing"},
        std::pair{"net-wifi hex:0", "pairs of hexadecimal"}, std::pair{"net-fault", "missing"},
        std::pair{"net-fault tolerance", "no such fault"},
        std::pair{"net-fault off 1", "no such fault"},
        std::pair{"net-fault magic 4", "no number from 0 to 3"},
        std::pair{"net-fault magic -1", "no number from 0 to 3"},
        std::pair{"net-fault wrong-key 1", "too much"},
        std::pair{"net-fault over-long 10239", "no number from 10240 to 65535"},
        std::pair{"net-fault merge 1", "no number from 2 to 64"},
        std::pair{"net-fault split 0", "no number from 1 to 10240"},
        std::pair{"net-fault split 5 soon", "no time such as"},
        std::pair{"net-fault silence login", "no such request: \"login\""},
        std::pair{"net-fault raw zz", "pairs"}, std::pair{"set keymode", "missing"},
        std::pair{"set keymode a b", "too much"}, std::pair{"exit 256", "no exit status"},
        std::pair{"run", "missing"}));

TEST(Command, IdentifierIsAtMost255Bytes) {
    EXPECT_EQ(reasonOf("wan trace-id=" + std::string(255, 'x')), "");
    EXPECT_NE(reasonOf("wan trace-id=" + std::string(256, 'x')).find("longer than 255"),
              std::string::npos);
}

TEST(Command, GoodLines) {
    for (const char* line : {"help",
                             "help wait",
                             "echo it's \"fine",
                             "wait login",
                             "wait new login 2s",
                             "wait devInfoSync 1m",
                             "wait .sys/login",
                             "wait closed",
                             "wait closed:net",
                             "wait keymode",
                             "wait net-register 2s",
                             "wait answer:net-status",
                             "wait malformed",
                             "assert dh@prime-bits == 128",
                             "set keymode ecdh",
                             "net-wifi",
                             "net-status {\"get\": []}",
                             "net-send {\"type\": \"x y\"}",
                             "net-select latest",
                             "net-drop",
                             "net-fault silence dh",
                             "net-fault split 1 20ms",
                             "net-fault dh-garbage AA==",
                             "net-fault raw 3f72",
                             "wait answer:wan",
                             "forget",
                             "forget login",
                             "set all default",
                             "set login errcode=5 times=2",
                             "set login delay=300ms",
                             "set refresh silence",
                             "set login member.x=\"a b\"",
                             "assert answer errcode == 0",
                             "assert answer.errcode == 0",
                             "assert answer@code == 2.05",
                             "assert answer.a exists",
                             "assert count.login >= 2",
                             "select latest",
                             "select 3",
                             "send wan",
                             "send get .sys/x",
                             "send post .sys/x {\"a\": \"b c",
                             "post .sys/x {\"a",
                             "wlan-set wlan-ssid-set.json",
                             "fault cut",
                             "fault split-header 3",
                             "fault raw 00e3",
                             "exit",
                             "exit 3"}) {
        EXPECT_EQ(reasonOf(line), "") << line;
    }
}

TEST(Command, HelpNamesEveryCommandOnceAndOnlyKnownOnes) {
    const std::string help = commandHelp("");
    for (const CommandTable& table : commandTables()) {
        for (const CommandRow& row : table.rows) {
            const std::string start = "\n    " + std::string(row.name) + " ";
            const std::size_t first = help.find(start);
            EXPECT_NE(first, std::string::npos) << row.name;
            EXPECT_EQ(help.find(start, first + 1), std::string::npos) << row.name;
        }
    }
    EXPECT_THROW(commandHelp("bogus"), UsageError);
}

TEST(Script, ErrorsNameFileAndLine) {
    try {
        parseScript("course.vxp", "# comment\n\n  echo a\nsleep x\nbogus\n", "");
        FAIL() << "the script was taken";
    } catch (const UsageError& error) {
        EXPECT_TRUE(std::string(error.what()).starts_with("course.vxp:4: no time such as"))
            << error.what();
    }
}

TEST(Script, LinesKeepTheirNumbers) {
    const auto lines = parseScript("s", "# c\r\necho a\r\n\n\techo b", "");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].place(), "s:2");
    EXPECT_EQ(lines[1].place(), "s:4");
    EXPECT_EQ(lines[1].text, "echo b");
}

TEST(Script, MissingFileIsNamed) {
    try {
        loadScript("no-such.vxp");
        FAIL() << "the script was taken";
    } catch (const UsageError& error) {
        EXPECT_STREQ(error.what(), "no-such.vxp: No such file or directory");
    }
}

TEST(Script, ShippedScriptsAreUnderstood) {
    std::size_t count = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(VXPLATFORM_SOURCE_DIR "/scripts")) {
        EXPECT_NO_THROW(loadScript(entry.path().string())) << entry.path();
        ++count;
    }
    EXPECT_GE(count, 8U);
}

TEST(Requests, EveryPostHasABodyOfJson) {
    std::size_t posts = 0;
    for (const NamedRequest& request : namedRequests()) {
        EXPECT_EQ(request.body.empty(), request.method == codeGet) << request.name;
        if (!request.body.empty()) {
            const std::string text =
                readFile(VXPLATFORM_SOURCE_DIR "/bodies/" + std::string(request.body));
            EXPECT_TRUE(parseJson(text)) << request.name;
            ++posts;
        }
    }
    EXPECT_EQ(posts, 10U);
    EXPECT_EQ(namedRequests().size(), 19U);
}

} // namespace
} // namespace vxp
