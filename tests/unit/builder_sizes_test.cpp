// SPDX-License-Identifier: MIT
// Every text that a message takes from the device library, at the limit of its buffer.
#include "unit/fixture.h"

#include <memory>

#include <cJSON.h>

#include "appjsonapi/app_provisioning.h"
#include "appjsonapi/app_reporting.h"

namespace {

struct SizeCase {
    const char* message;
    vxq::JsonText (*build)();
    const char* key;
    const char* getter;
    std::size_t size; ///< of the buffer, the NUL included
};

void PrintTo(const SizeCase& row, std::ostream* out) {
    *out << row.message << ' ' << row.key << ' ' << row.size;
}

constexpr SizeCase kSizes[] = {
    {"Register", app_sys_register, "mac", "port_device_mac_get", 32},
    {"Register", app_sys_register, "sn", "port_device_sn_get", 128},
    {"Register", app_sys_register, "cuei", "port_device_cuei_get", 256},
    {"Register", app_sys_register, "vendor", "port_device_vendor_get", 32},
    {"Register", app_sys_register, "model", "port_device_model_get", 16},
    {"Activate", app_sys_activate, "code", "port_device_code_get", 32},
    {"Activate", app_sys_activate, "sn", "port_device_sn_get", 128},
    {"Activate", app_sys_activate, "cuei", "port_device_cuei_get", 256},
    {"Activate", app_sys_activate, "model", "port_device_model_get", 16},
    {"Activate", app_sys_activate, "devType", "port_device_devtype_get", 16},
    {"Activate", app_sys_activate, "manu", "port_device_manu_get", 16},
    {"Activate", app_sys_activate, "prodId", "port_device_prodid_get", 128},
    {"Activate", app_sys_activate, "mac", "port_device_mac_get", 32},
    {"Activate", app_sys_activate, "hwv", "port_device_hdversion_get", 64},
    {"Activate", app_sys_activate, "swv", "port_device_swversion_get", 64},
    {"Login", app_sys_login, "devId", "port_device_id_get", 128},
    {"Login", app_sys_login, "secret", "port_device_secret_get", 128},
    {"Refresh", app_sys_refresh, "refreshToken", "port_device_refreshtoken_get", 128},
    {"DevInfoSync", app_sys_devinfosync, "devId", "port_device_id_get", 128},
    {"DevInfoSync", app_sys_devinfosync, "sn", "port_device_sn_get", 128},
    {"DevInfoSync", app_sys_devinfosync, "cuei", "port_device_cuei_get", 256},
    {"DevInfoSync", app_sys_devinfosync, "model", "port_device_model_get", 16},
    {"DevInfoSync", app_sys_devinfosync, "devType", "port_device_devtype_get", 16},
    {"DevInfoSync", app_sys_devinfosync, "manu", "port_device_manu_get", 16},
    {"DevInfoSync", app_sys_devinfosync, "prodId", "port_device_prodid_get", 128},
    {"DevInfoSync", app_sys_devinfosync, "mac", "port_device_mac_get", 32},
    {"DevInfoSync", app_sys_devinfosync, "hwv", "port_device_hdversion_get", 64},
    {"DevInfoSync", app_sys_devinfosync, "swv", "port_device_swversion_get", 64},
    {"Data", app_sys_data, "devId", "port_device_id_get", 128},
};

struct DeleteTree {
    void operator()(cJSON* tree) const { cJSON_Delete(tree); }
};

/** The text under a key, wherever in the message it stands. */
const char* find_text(const cJSON* tree, const char* key) {
    for (const cJSON* member = tree->child; member != nullptr; member = member->next) {
        if (member->string != nullptr && std::string(member->string) == key)
            return member->valuestring;
        if (const char* const below = find_text(member, key))
            return below;
    }
    return nullptr;
}

class TextSize : public DaemonTest, public testing::WithParamInterface<SizeCase> {
protected:
    TextSize() { fake::device().allow({"vx_device_stainfo_get"}); }

    static std::string built_text() {
        const vxq::JsonText document = GetParam().build();
        const std::unique_ptr<cJSON, DeleteTree> tree(cJSON_Parse(document.get()));
        const char* const text = tree ? find_text(tree.get(), GetParam().key) : nullptr;
        return text != nullptr ? text : "(no text)";
    }
};

TEST_P(TextSize, IsThatOfItsBuffer) {
    const std::string longest(GetParam().size - 1, 'x');
    fake::device().set_text(GetParam().getter, longest);
    EXPECT_EQ(built_text(), longest);

    const std::string without_end(GetParam().size, 'y');
    fake::device().set_bytes(GetParam().getter, without_end);
    EXPECT_EQ(built_text(), without_end);

    fake::device().set_text(GetParam().getter, "");
    EXPECT_EQ(built_text(), "");
}

INSTANTIATE_TEST_SUITE_P(All, TextSize, testing::ValuesIn(kSizes),
                         [](const testing::TestParamInfo<SizeCase>& information) {
                             return std::string(information.param.message) + '_' +
                                    information.param.key;
                         });

struct ProtocolTypeCase {
    const char* name;
    int value;
    const char* expected;
};

void PrintTo(const ProtocolTypeCase& row, std::ostream* out) {
    *out << row.name;
}

class ProtocolType : public DaemonTest, public testing::WithParamInterface<ProtocolTypeCase> {};

TEST_P(ProtocolType, IsANumber) {
    fake::device().set_number("port_device_prottype_get", GetParam().value);
    for (vxq::JsonText (*const build)() : {app_sys_activate, app_sys_devinfosync})
        EXPECT_THAT(build().get(), testing::HasSubstr(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    All, ProtocolType,
    testing::Values(ProtocolTypeCase{"Zero", 0, "\"protType\":\t0\n"},
                    ProtocolTypeCase{"Largest", 2147483647, "\"protType\":\t2147483647\n"},
                    ProtocolTypeCase{"Smallest", -2147483647 - 1, "\"protType\":\t-2147483648\n"}),
    case_name<ProtocolTypeCase>);

TEST_F(DaemonTest, ProtocolTypeIsPresetToMinusOne) {
    app_sys_activate();
    EXPECT_THAT(fake::journal().calls({fake::Source::query}),
                testing::Contains("port_device_prottype_get(-1)"));
}

} // namespace
