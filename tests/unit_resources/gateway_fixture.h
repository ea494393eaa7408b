// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <coap3/coap.h>
#include <gtest/gtest.h>

#include "support/coap_message.h"
#include "support/fake_device.h"
#include "support/record_bytes.h"

/** What every answer of a settings resource looks like. */
std::string success();
std::string failure(int code, const std::string& path);

/** A committed document; `index`, in three digits, takes the place of each "###". */
std::string expected(const std::string& file, int index = 0);

/** A request of the platform, with or without a payload. */
class Request : public CoapMessage {
public:
    explicit Request(const std::optional<std::string>& body)
        : CoapMessage(COAP_REQUEST_CODE_POST, body) {}
};

/** A gateway with a running session and nothing else. */
class GatewayTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /**
     * Lets a handler serve one request and checks that it answered exactly once, with a
     * non-confirmable 2.05.
     *
     * @return the answer's text
     */
    std::string serve(coap_method_handler_t handler, const std::optional<std::string>& body = {});

    /** What a getter fills in. */
    template <std::size_t Size>
    static void fill(const char* getter, const RecordBytes& record) {
        std::array<unsigned char, Size> bytes;
        ASSERT_EQ(record.bytes().size(), Size);
        std::memcpy(bytes.data(), record.bytes().data(), Size);
        fake::device().set_record(getter, bytes);
    }

    /** Records that an operation was given since the last serve(). */
    [[nodiscard]] static std::vector<std::vector<unsigned char>> given(const char* operation);

    /** Log lines of one level since the last serve(), "ERROR (name)12 ..." as "ERROR (name)# ...".
     */
    [[nodiscard]] static std::vector<std::string> logged(int level);

    /** Everything that was done to the device library and the transport, queries left out. */
    [[nodiscard]] static std::vector<std::string> deeds();
};
