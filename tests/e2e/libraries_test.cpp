// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <filesystem>

#include "gateway.h"
#include "platform.h"

namespace e2e {
namespace {

constexpr char kOtherMac[] = "02:00:5E:10:20:30";

/** The same binary, on a device library that it has never seen. */
class OtherLibrary : public testing::Test {
protected:
    void expect_other_gateway(std::map<std::string, std::string> environment) {
        environment["EXAMPLE_PLATFORM_PORT"] = std::to_string(platform.port());
        gateway.start(environment);
        EXPECT_EQ(platform.wait_for("request:register").at("json").at("mac"), kOtherMac);
    }
    Platform platform;
    Gateway gateway{platform.port()};
};

TEST_F(OtherLibrary, FirstOnTheLoadersPathReplacesTheBundledOne) {
    const std::string folder = std::filesystem::path(VXQUILAN_OTHER_LIBRARY).parent_path();
    expect_other_gateway({{"LD_LIBRARY_PATH", folder + ":" + VXQUILAN_LIBRARIES}});
}

TEST_F(OtherLibrary, PreloadedOneReplacesTheBundledOne) {
    // AddressSanitizer would insist on standing in front of everything else.
    expect_other_gateway(
        {{"LD_PRELOAD", VXQUILAN_OTHER_LIBRARY}, {"ASAN_OPTIONS", "verify_asan_link_order=0"}});
}

} // namespace
} // namespace e2e
