// SPDX-License-Identifier: MIT
// A build with a place of its own for the root CAs of the platform.
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "libcoap_probe.h"
#include "transport_test.h"
#include "vx_coap/coap_trust.h"

namespace transport {

class OwnStore : public TransportTest {
protected:
    OwnStore() { std::filesystem::remove_all(AUTHORITY_FILE); }
    ~OwnStore() override { std::filesystem::remove_all(AUTHORITY_FILE); }

    bool taken(const Certificate& certificate) {
        Listener listener;
        const TlsIdentity identity(certificate);
        set_platform(listener, kTls);
        open_session();
        Connection platform = listener.accept();
        try {
            platform.start_tls(identity);
        } catch (const std::runtime_error&) {
            return false;
        }
        return true;
    }

    Authority authority_;
};

TEST_F(OwnStore, ItsAuthorityCounts) {
    std::ofstream(AUTHORITY_FILE) << authority_.certificate();
    EXPECT_TRUE(taken(authority_.sign("IP:127.0.0.1")));
    EXPECT_EQ(probe::root_cas().file, AUTHORITY_FILE);
    EXPECT_EQ(probe::root_cas().directory, "null");
}

TEST_F(OwnStore, AnotherAuthorityDoesNot) {
    std::ofstream(AUTHORITY_FILE) << authority_.certificate();
    const Authority another;
    EXPECT_FALSE(taken(another.sign("IP:127.0.0.1")));
}

TEST_F(OwnStore, MayBeADirectory) {
    std::filesystem::create_directory(AUTHORITY_FILE);
    const vxq::RootCa found = vxq::root_cas();
    EXPECT_EQ(found.file, nullptr);
    EXPECT_STREQ(found.directory, AUTHORITY_FILE);
}

TEST_F(OwnStore, MissingMeansThatNobodyIsTaken) {
    EXPECT_FALSE(taken(authority_.sign("IP:127.0.0.1")));
    EXPECT_TRUE(logged(VX_LOG_ERROR, "no root certificates, no platform will be taken\n"));
}

} // namespace transport
