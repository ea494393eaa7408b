// SPDX-License-Identifier: MIT
#include "unit_resources/gateway_fixture.h"

#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>

#include "support/fake_coap.h"
#include "support/fake_log.h"
#include "support/fake_os.h"
#include "support/journal.h"

namespace {

constexpr std::uint8_t kNonConfirmable = 1;
constexpr std::uint8_t kContent = 69;

} // namespace

std::string success() {
    return "{\n\t\"errcode\":\t0\n}";
}

std::string failure(int code, const std::string& path) {
    return "{\n\t\"errcode\":\t" + std::to_string(code) + ",\n\t\"ID\":\t\"" + path + "\"\n}";
}

std::string expected(const std::string& file, int index) {
    std::ifstream stream(EXPECTED_FOLDER + file, std::ios::binary);
    if (!stream)
        throw std::invalid_argument("no expected document " + file);
    std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    text.pop_back(); // the line end of the file
    const std::string digits = std::to_string(1000 + index).substr(1);
    for (std::size_t at = text.find("###"); at != std::string::npos; at = text.find("###"))
        text.replace(at, 3, digits);
    return text;
}

void GatewayTest::SetUp() {
    fake::os().reset();
    fake::coap().reset();
    fake::device().reset();
    fake::log().reset();
    fake::journal().clear();
    fake::coap().open_session();
}

void GatewayTest::TearDown() {
    EXPECT_EQ(fake::journal().complaints(), std::vector<std::string>());
}

std::string GatewayTest::serve(coap_method_handler_t handler,
                               const std::optional<std::string>& body) {
    const Request request(body);
    const std::size_t before = fake::coap().answers().size();
    fake::log().reset();
    const std::vector<std::string> complaints = fake::journal().complaints();
    fake::journal().clear();
    for (const std::string& complaint : complaints)
        fake::journal().complain(complaint);
    handler(nullptr, g_coap_session, request.pdu(), nullptr, nullptr);
    const std::vector<fake::SentAnswer>& answers = fake::coap().answers();
    EXPECT_EQ(answers.size(), before + 1);
    if (answers.size() != before + 1)
        return "";
    EXPECT_EQ(answers.back().type, kNonConfirmable);
    EXPECT_EQ(answers.back().code, kContent);
    EXPECT_EQ(answers.back().request, request.pdu());
    return answers.back().body;
}

std::vector<std::vector<unsigned char>> GatewayTest::given(const char* operation) {
    std::vector<std::vector<unsigned char>> records;
    for (const fake::Entry& entry : fake::journal().entries()) {
        if (entry.call == std::string(operation) + "(record)")
            records.push_back(entry.record);
    }
    return records;
}

std::vector<std::string> GatewayTest::logged(int level) {
    static const std::regex source_line(R"(^(ERROR \(\w+\))\d+ )");
    std::vector<std::string> texts;
    for (const fake::LogLine& line : fake::log().lines()) {
        EXPECT_EQ(line.module, "quilan");
        if (line.level == level)
            texts.push_back(
                fake::without_source_line(std::regex_replace(line.text, source_line, "$1# ")));
    }
    return texts;
}

std::vector<std::string> GatewayTest::deeds() {
    return fake::journal().deeds();
}
