// SPDX-License-Identifier: MIT
#include "journal.h"
#include "printer.h"
#include "recorder.h"
#include "text.h"

#include "platform_process.h"

#include <gtest/gtest.h>

namespace vxp {
namespace {

Event named(std::string name, std::string topic = "") {
    Event event;
    event.name = std::move(name);
    event.topic = std::move(topic);
    return event;
}

TEST(Recorder, EachEventEndsOneWait) {
    Recorder recorder;
    EXPECT_EQ(recorder.take("login"), nullptr);
    recorder.record(named("request", "login"));
    recorder.record(named("request", "login"));
    EXPECT_EQ(recorder.take("login")->number, 1U);
    EXPECT_EQ(recorder.take("request")->number, 1U);
    EXPECT_EQ(recorder.take("login")->number, 2U);
    EXPECT_EQ(recorder.take("login"), nullptr);
    EXPECT_EQ(recorder.count("login"), 2U);
}

TEST(Recorder, TopicsOfOtherEventsCarryTheirName) {
    Recorder recorder;
    recorder.record(named("answer", "wan"));
    EXPECT_EQ(recorder.take("wan"), nullptr);
    EXPECT_NE(recorder.take("answer:wan"), nullptr);
}

TEST(Recorder, ForgottenEventsEndNoWaitButCount) {
    Recorder recorder;
    recorder.record(named("request", "login"));
    recorder.forget("login");
    EXPECT_EQ(recorder.take("login"), nullptr);
    EXPECT_NE(recorder.take("request"), nullptr);
    recorder.record(named("close"));
    recorder.forget("");
    EXPECT_EQ(recorder.take("close"), nullptr);
    EXPECT_EQ(recorder.count("login"), 1U);
}

TEST(Recorder, SubjectIsTheAwaitedEventElseTheNewest) {
    Recorder recorder;
    recorder.record(named("answer"));
    recorder.record(named("answer"));
    EXPECT_EQ(recorder.subject("answer")->number, 2U);
    recorder.take("answer");
    EXPECT_EQ(recorder.subject("answer")->number, 1U);
}

TEST(Recorder, KeepsABoundedNumberOfEvents) {
    Recorder recorder;
    for (int i = 0; i < 1000; ++i) {
        recorder.record(named("connect"));
    }
    std::size_t kept = 0;
    while (recorder.take("connect")) {
        ++kept;
    }
    EXPECT_EQ(kept, 64U);
    EXPECT_EQ(recorder.count("connect"), 1000U);
}

Event answerEvent() {
    Event event = named("answer", "wan");
    event.connection = 3;
    event.transport = "tls";
    event.direction = Direction::fromGateway;
    Message message;
    message.code = codeContent;
    message.options = {{optionAccessToken, "at"}, {optionTraceId, "t \"1\""}, {7, "\x16\x33"}};
    message.payload = "{\n\t\"errcode\":\t0,\n\t\"errcode\":\t1\n}";
    event.message = message;
    event.details["matched"] = true;
    return event;
}

TEST(Printer, OneReadableBlock) {
    const std::string text = renderEvent(answerEvent());
    EXPECT_NE(text.find("  gateway -> platform  #3 tls  2.05  (answer to wan)\n"),
              std::string::npos);
    EXPECT_NE(text.find("    option    access-token = \"at\"\n"), std::string::npos);
    EXPECT_NE(text.find("    option    trace-id = \"t \\\"1\\\"\"\n"), std::string::npos);
    EXPECT_NE(text.find("    option    uri-port = 5683\n"), std::string::npos);
    // A member that is there twice is shown twice.
    EXPECT_NE(text.find("payload   {\n              \t\"errcode\":\t0,\n              "
                        "\t\"errcode\":\t1\n              }\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("    note      matched true\n"), std::string::npos);
}

TEST(Printer, CompactDocumentsAreSpread) {
    Event event = answerEvent();
    event.message->payload = R"({"a":1})";
    EXPECT_NE(renderEvent(event).find("payload   {\n                \"a\": 1\n              }"),
              std::string::npos);
    event.message->payload = "\xff\x01";
    EXPECT_NE(renderEvent(event).find("payload   hex ff01\n"), std::string::npos);
    event.message->payload.clear();
    EXPECT_NE(renderEvent(event).find("payload   none\n"), std::string::npos);
}

TEST(Journal, OneLineForEachEvent) {
    const test::TemporaryFolder folder;
    const std::string path = folder.file("journal");
    Recorder recorder;
    Journal journal(path);
    recorder.addSink(journal);
    recorder.record(answerEvent());
    Event odd = answerEvent();
    odd.message->payload = "\xff";
    recorder.record(odd);
    const std::string text = readFile(path); // while the journal is still open
    const std::size_t end = text.find('\n');
    const auto first = parseJson(text.substr(0, end));
    const auto second = parseJson(trimmed(text.substr(end)));
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    EXPECT_EQ((*first)["seq"], 1);
    EXPECT_EQ((*first)["event"], "answer");
    EXPECT_EQ((*first)["name"], "wan");
    EXPECT_EQ((*first)["conn"], 3);
    EXPECT_EQ((*first)["transport"], "tls");
    EXPECT_EQ((*first)["dir"], "in");
    EXPECT_EQ((*first)["code"], "2.05");
    EXPECT_EQ((*first)["options"]["access-token"], "at");
    EXPECT_EQ((*first)["text"], answerEvent().message->payload);
    EXPECT_EQ((*first)["matched"], true);
    EXPECT_EQ((*second)["hex"], "ff");
    EXPECT_FALSE(second->contains("text"));
}

TEST(Journal, UnwritableFileIsNamed) {
    try {
        Journal journal("/no/such/folder/journal");
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "/no/such/folder/journal: No such file or directory");
    }
}

} // namespace
} // namespace vxp
