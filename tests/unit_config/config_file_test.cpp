// SPDX-License-Identifier: MIT
#include <csignal>
#include <functional>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base_skill/config_file.h"
#include "unit_config/config_folder.h"

namespace {

namespace fs = std::filesystem;

std::string lines(int count) {
    std::string text;
    for (int number = 1; number <= count; ++number)
        text += "key" + std::to_string(number) + ":" + std::to_string(number) + "\n";
    return text;
}

TEST_F(ConfigFile, ReadsBothSeparators) {
    put("a:1\nb 2\n");
    EXPECT_EQ(get("a"), "1");
    EXPECT_EQ(get("b"), "2");
    EXPECT_EQ(get("c"), "(none)");
}

TEST_F(ConfigFile, ReplacingKeepsTheSeparatorAndAppendingUsesAColon) {
    put("a:1\nb 2\n");
    EXPECT_EQ(set("b", "3"), 1);
    EXPECT_EQ(content(), "a:1\nb 3\n");
    EXPECT_EQ(set("c", "4"), 0);
    EXPECT_EQ(content(), "a:1\nb 3\nc:4\n");
    EXPECT_EQ(set("a", "5"), 1);
    EXPECT_EQ(content(), "a:5\nb 3\nc:4\n");
}

TEST_F(ConfigFile, CommentsAreNeverMatchedAndStay) {
    put("#a:1\n#b 1\n");
    EXPECT_EQ(get("a"), "(none)");
    EXPECT_EQ(get("#a"), "(none)");
    EXPECT_EQ(set("#a", "2"), 0);
    EXPECT_EQ(set("b", "2"), 0);
    EXPECT_EQ(content(), "#a:1\n#b 1\n#a:2\nb:2\n");
}

TEST_F(ConfigFile, ValueEndsAtTheNextSeparatorOfItsLine) {
    put("mac:00:11:22:33:44:55\nname my gateway\nnote two words:x\nurl:http://host/ path\nlast one "
        "two");
    EXPECT_EQ(get("mac"), "00");
    EXPECT_EQ(get("name"), "my");
    EXPECT_EQ(get("note"), "two"); // a blank only counts in front of the colon
    EXPECT_EQ(get("note two words"), "x");
    EXPECT_EQ(get("url"), "http");
    EXPECT_EQ(get("last"), "one");
}

TEST_F(ConfigFile, ColonWinsOverABlankOfTheSameLine) {
    put("a b:c d\n");
    EXPECT_EQ(get("a b"), "c d");
    EXPECT_EQ(get("a"), "b");
    EXPECT_EQ(set("a", "x"), 1);
    EXPECT_EQ(content(), "a x\n");
}

TEST_F(ConfigFile, LineEndsAreStrippedWhateverTheyAre) {
    put("a:1\r\nb 2\r\nc:3\rx\n\nd:4");
    EXPECT_EQ(get("a"), "1");
    EXPECT_EQ(get("b"), "2");
    EXPECT_EQ(get("c"), "3");
    EXPECT_EQ(get("d"), "4");
    EXPECT_EQ(set("a", "9"), 1);
    EXPECT_EQ(content(), "a:9\nb 2\r\nc:3\rx\n\nd:4");
}

TEST_F(ConfigFile, KeysAreComparedWholeAndWithCase) {
    put("ab:1\nA:2\n");
    EXPECT_EQ(get("a"), "(none)");
    EXPECT_EQ(get("ab:1"), "(none)");
    EXPECT_EQ(get("ab\n"), "(none)");
}

TEST_F(ConfigFile, ValueMayBeEmpty) {
    put("a:\nb \nd::1\nc:");
    std::array<char, 256> value{};
    for (const char* key : {"a", "b", "c", "d"}) {
        value[0] = '?';
        EXPECT_EQ(vx_getcfgx(path.c_str(), key, value.data()), 1) << key;
        EXPECT_STREQ(value.data(), "") << key;
        value[0] = '\0';
    }
    EXPECT_EQ(set("c", ""), 1);
    EXPECT_EQ(content(), "a:\nb \nd::1\nc:\n");
    put(":1\n");
    EXPECT_EQ(get(""), "1");
}

TEST_F(ConfigFile, LineWithoutSeparatorIsNoSetting) {
    put("a\nb");
    EXPECT_EQ(get("a"), "(none)");
    EXPECT_EQ(get("b"), "(none)");
    EXPECT_EQ(set("b", "1"), 0);
    EXPECT_EQ(content(), "a\nb\nb:1\n"); // a line of its own
}

TEST_F(ConfigFile, FirstOfSeveralLinesCounts) {
    put("a:1\na:2\na 3\n");
    EXPECT_EQ(get("a"), "1");
    EXPECT_EQ(set("a", "4"), 1);
    EXPECT_EQ(content(), "a:4\na:2\na 3\n");
    EXPECT_EQ(get("a"), "4");
}

TEST_F(ConfigFile, ShortLineIsNotComparedWithWhatALongerOneLeft) {
    put("long_key:" + std::string(200, 'v') + "\nb:1\nlong:2\n");
    EXPECT_EQ(set("long", "3"), 1);
    EXPECT_EQ(content(), "long_key:" + std::string(200, 'v') + "\nb:1\nlong:3\n");
}

TEST_F(ConfigFile, LinesOfTheLimitAreWhole) {
    // 255 characters with the line's end: the longest line.
    const std::string value(252, 'v');
    put("a:" + value + "\nb:1\n");
    EXPECT_EQ(get("a"), value);
    EXPECT_EQ(set("b", "2"), 1);
    EXPECT_EQ(content(), "a:" + value + "\nb:2\n");
}

TEST_F(ConfigFile, LongerLinesAreSeveral) {
    // 256 characters: the line's end is a line by itself.
    put("a:" + std::string(253, 'v') + "\nb:1\n");
    EXPECT_EQ(get("a"), std::string(253, 'v'));
    EXPECT_EQ(set("b", "2"), 1);
    EXPECT_EQ(content(), "a:" + std::string(253, 'v') + "\nb:2\n");

    // 600 characters: 255, 255 and 90.
    const std::string first = "a:" + std::string(253, 'x');
    const std::string second = "hid:" + std::string(251, 'y');
    const std::string third = "den " + std::string(85, 'z') + "\n";
    put(first + second + third);
    EXPECT_EQ(get("a"), std::string(253, 'x'));
    EXPECT_EQ(get("hid"), std::string(251, 'y'));
    EXPECT_EQ(get("den"), std::string(85, 'z'));
    EXPECT_EQ(set("hid", "1"), 1);
    EXPECT_EQ(content(), first + "hid:1\n" + third);
}

TEST_F(ConfigFile, FileThatEndsWithAFullLineGetsAnEndBeforeANewOne) {
    put("a:" + std::string(253, 'v'));
    EXPECT_EQ(set("b", "1"), 0);
    EXPECT_EQ(content(), "a:" + std::string(253, 'v') + "\nb:1\n");
}

TEST_F(ConfigFile, KeysAreLookedUpByTheirFirst126Characters) {
    const std::string key126(126, 'k');
    put(key126 + ":1\n" + key126 + "k:2\n");
    EXPECT_EQ(get(key126), "1");
    EXPECT_EQ(get(key126 + "k"), "1");
    EXPECT_EQ(get(std::string(125, 'k')), "(none)");
    // A key to be set is compared whole.
    EXPECT_EQ(set(key126 + "k", "3"), 1);
    EXPECT_EQ(content(), key126 + ":1\n" + key126 + "k:3\n");
}

TEST_F(ConfigFile, WrittenLineHas254CharactersAtMost) {
    put("a:1\nb:2\n");
    EXPECT_EQ(set("a", std::string(251, 'v')), 1);
    EXPECT_EQ(content(), "a:" + std::string(251, 'v') + "\nb:2\n");
    EXPECT_EQ(set("a", std::string(300, 'w')), 1);
    EXPECT_EQ(content(), "a:" + std::string(251, 'w') + "\nb:2\n");
    EXPECT_EQ(set(std::string(300, 'k'), "1"), 0);
    EXPECT_EQ(content(), "a:" + std::string(251, 'w') + "\nb:2\n" + std::string(253, 'k') + "\n");
}

TEST_F(ConfigFile, BytesBehindANulAreKept) {
    put(std::string("a:1\0rest\nb:2\n", 13));
    EXPECT_EQ(get("a"), "1");
    EXPECT_EQ(set("b", "3"), 1);
    EXPECT_EQ(content(), std::string("a:1\0rest\nb:3\n", 13));
}

TEST_F(ConfigFile, LinesOfTheCapacityAreAllThere) {
    put(lines(1024));
    EXPECT_EQ(get("key1024"), "1024");
    EXPECT_EQ(set("key1024", "x"), 1);
    EXPECT_EQ(get("key1024"), "x");
    EXPECT_EQ(get("key1"), "1");
}

TEST_F(ConfigFile, FileWithoutRoomForANewLineIsLeftAlone) {
    put(lines(1024));
    EXPECT_EQ(set("new", "1"), 0);
    EXPECT_EQ(content(), lines(1024));
    put(lines(1023));
    EXPECT_EQ(set("new", "1"), 0);
    EXPECT_EQ(content(), lines(1023) + "new:1\n");
}

TEST_F(ConfigFile, FileOfMoreLinesIsOnlyRead) {
    for (const std::string& text : {lines(1025), lines(1024) + "x", lines(3000)}) {
        put(text);
        EXPECT_EQ(get("key1024"), "1024");
        EXPECT_EQ(get("key1025"), "(none)");
        EXPECT_EQ(set("key1", "x"), 0);
        EXPECT_EQ(content(), text);
    }
}

TEST_F(ConfigFile, EmptyFileTakesASetting) {
    put("");
    EXPECT_EQ(get("a"), "(none)");
    EXPECT_EQ(set("a", "1"), 0);
    EXPECT_EQ(content(), "a:1\n");
}

TEST_F(ConfigFile, MissingFileIsNotCreated) {
    EXPECT_EQ(get("a"), "(none)");
    EXPECT_EQ(set("a", "1"), 0);
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(ConfigFile, FolderIsNoFile) {
    fs::create_directory(path);
    EXPECT_EQ(get("a"), "(none)");
    EXPECT_EQ(set("a", "1"), 0);
}

TEST_F(ConfigFile, NullArgumentsAreRefused) {
    put("a:1\n");
    char value[256] = {};
    EXPECT_EQ(vx_getcfgx(nullptr, "a", value), 0);
    EXPECT_EQ(vx_getcfgx(path.c_str(), nullptr, value), 0);
    EXPECT_EQ(vx_getcfgx(path.c_str(), "a", nullptr), 0);
    EXPECT_EQ(vx_setcfgx(nullptr, "a", "2"), 0);
    EXPECT_EQ(vx_setcfgx(path.c_str(), nullptr, "2"), 0);
    EXPECT_EQ(vx_setcfgx(path.c_str(), "a", nullptr), 0);
    EXPECT_EQ(content(), "a:1\n");
}

/** Runs as a user whom permissions bind, if there is need to. */
int as_nobody(const std::function<int()>& action) {
    const pid_t child = fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        if (geteuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0))
            _exit(99);
        _exit(action());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(ConfigFile, FileThatMayNotBeReadGivesNothing) {
    put("a:1\n");
    chmod(folder.c_str(), 0777);
    chmod(path.c_str(), 0);
    EXPECT_EQ(as_nobody([this] {
                  char value[256] = {};
                  return vx_getcfgx(path.c_str(), "a", value) + set("a", "2");
              }),
              0);
    chmod(path.c_str(), 0600);
    EXPECT_EQ(content(), "a:1\n");
}

TEST_F(ConfigFile, FileThatMayNotBeWrittenStaysAsItIs) {
    put("a:1\n");
    chmod(folder.c_str(), 0777);
    chmod(path.c_str(), 0444);
    EXPECT_EQ(as_nobody([this] { return set("a", "2"); }), 0);
    EXPECT_EQ(content(), "a:1\n");
}

TEST_F(ConfigFile, FullFileSystemEndsTheFileAfterTheLinesWrittenSoFar) {
    put("a:1\nb:2\nc:3\n");
    chmod(folder.c_str(), 0777);
    chmod(path.c_str(), 0666);
    EXPECT_EQ(as_nobody([this] {
                  std::signal(SIGXFSZ, SIG_IGN);
                  const rlimit limit{10, 10};
                  setrlimit(RLIMIT_FSIZE, &limit);
                  return set("a", "1234567"); // 10 bytes: no room for the next line
              }),
              0);
    EXPECT_EQ(content(), "a:1234567\n");
}

TEST(Riprt, EndsATextAtItsFirstLineEnd) {
    base_riprt(nullptr);
    char empty[] = "";
    base_riprt(empty);
    char text[] = "a\rb\nc\r\n";
    base_riprt(text);
    EXPECT_EQ(std::string(text, sizeof text), std::string("a\0b\0c\0\0\0", 8));
    char plain[] = "plain";
    base_riprt(plain);
    EXPECT_STREQ(plain, "plain");
}

} // namespace
