// SPDX-License-Identifier: MIT
#include "protocol/gateway_settings.h"
#include "unit_resources/settings_model.h"

using nlohmann::json;

namespace {

const std::string kBandPath = "InternetGatewayDevice.X_Config.Wifi.Radio.1.Ssid.1.";
const std::string kPolicerData = "InternetGatewayDevice.QueueManagement.Policer.data";

class WlanFilterTest : public SettingsTest {
protected:
    static json one_band(const json& members) {
        json band{{"ID", "i"}, {"MACAddressControlEnabled", true}, {"MacFilterPolicy", 1}};
        band.update(members);
        return {{"data", {{"config2g", band}}}};
    }
    static RecordBytes one_band_record() {
        return RecordBytes(16548).number(0, 1).number(4, 1).text(8, "i").number(72, 1).number(16544,
                                                                                              1);
    }
};

TEST_F(WlanFilterTest, OnlyTheFiveGigahertzBand) {
    expect_applied(model("MacFilter"),
                   json::parse(R"({"data": {"config5g": {"ID": "i", "MacFilterPolicy": 0,
                       "MACAddressControlEnabled": false}}})"),
                   RecordBytes(16548).number(0, 2).text(8, "i").number(16544, 1));
}

TEST_F(WlanFilterTest, OnlyTheListOfThePolicyInForce) {
    const json hosts = json::array({{{"MACAddress", "m"}}});
    RecordBytes filled = one_band_record().text(76, "m").number(8268, 1);
    expect_applied(model("MacFilter"), one_band({{"BMacFilters", hosts}}), one_band_record());
    expect_applied(model("MacFilter"), one_band({{"WMacFilters", hosts}}), filled);
    expect_applied(model("MacFilter"), one_band({{"MacFilterPolicy", 0}, {"WMacFilters", hosts}}),
                   one_band_record().number(72, 0));
    expect_applied(model("MacFilter"), one_band({{"MacFilterPolicy", 0}, {"BMacFilters", hosts}}),
                   filled.number(72, 0));
    expect_applied(model("MacFilter"), one_band({{"MacFilterPolicy", -7}, {"WMacFilters", hosts}}),
                   filled.number(72, -7));
    // The keys of the status are not those of a request.
    expect_applied(model("MacFilter"), one_band({{"WMACAddresses", hosts}}), one_band_record());
}

TEST_F(WlanFilterTest, APolicyThatIsNoNumberIsABlackList) {
    const json hosts = json::array({{{"MACAddress", "m"}}});
    for (const json& policy : {json(true), json("1"), json(nullptr), json::array(), json::object()})
        expect_applied(model("MacFilter"),
                       one_band({{"MacFilterPolicy", policy}, {"BMacFilters", hosts}}),
                       one_band_record().number(72, 0).text(76, "m").number(8268, 1));
}

TEST_F(WlanFilterTest, AnItemWithoutAddressLeavesItsSlotEmpty) {
    expect_applied(model("MacFilter"),
                   one_band({{"WMacFilters", json::parse(R"([{"MACAddress": "1"},
                       {"HostName": "lost"}, {}, 5, null, "x", [], true,
                       {"MACAddress": "", "HostName": "kept"},
                       {"HostName": "h", "MACAddress": "2"}])")}}),
                   one_band_record()
                       .text(76, "1")
                       .text(76 + 8 * 128 + 64, "kept")
                       .text(76 + 9 * 128, "2")
                       .text(76 + 9 * 128 + 64, "h")
                       .number(8268, 10));
}

TEST_F(WlanFilterTest, AnAddressThatIsNoText) {
    for (const json& value : {json(5), json(true), json(nullptr), json::array(), json::object()}) {
        expect_refused(model("MacFilter"), one_band({{"WMacFilters", {{{"MACAddress", value}}}}}),
                       kBandPath);
    }
}

TEST_F(WlanFilterTest, TextsOfTheListAreCut) {
    for (const std::size_t length : {std::size_t{62}, std::size_t{63}, std::size_t{64}}) {
        const std::string text(length, 'x');
        expect_applied(
            model("MacFilter"),
            one_band({{"WMacFilters", {{{"MACAddress", text}, {"HostName", text + "%%"}}}}}),
            one_band_record()
                .text(76, text.substr(0, 63))
                .text(140, (text + "%%").substr(0, 63))
                .number(8268, 1));
    }
}

TEST_F(WlanFilterTest, ListsUpToTheirCapacity) {
    for (const int size : {0, 1, 63, 64}) {
        json hosts = json::array();
        RecordBytes record = one_band_record();
        for (int index = 0; index < size; ++index) {
            const std::string mac = "mac " + std::to_string(index);
            hosts.push_back({{"MACAddress", mac}, {"HostName", std::string(63, 'h')}});
            const auto at = 76 + static_cast<std::size_t>(index) * 128;
            record.text(at, mac).text(at + 64, std::string(63, 'h'));
        }
        expect_applied(model("MacFilter"), one_band({{"WMacFilters", hosts}}),
                       record.number(8268, size));
    }
}

TEST_F(WlanFilterTest, LongerListsAreRefused) {
    for (const std::size_t size : {std::size_t{65}, std::size_t{1000}}) {
        const std::vector<json> hosts(size, {{"MACAddress", "m"}});
        for (const char* const band : {"config2g", "config5g"}) {
            json body = model("MacFilter").body;
            body["data"][band][band == std::string("config2g") ? "WMacFilters" : "BMacFilters"] =
                hosts;
            expect_refused(model("MacFilter"), body, kBandPath);
        }
    }
}

TEST_F(WlanFilterTest, AListThatIsNoneIsRefused) {
    for (const json& list :
         {json(5), json("x"), json(nullptr), json(false), json{{"MACAddress", "m"}}})
        expect_refused(model("MacFilter"), one_band({{"WMacFilters", list}}), kBandPath);
}

TEST_F(WlanFilterTest, NoBandsAreACountOfZero) {
    for (const json& data : {json::object(), json::array(), json(5), json("x"), json(nullptr)})
        expect_applied(model("MacFilter"), {{"data", data}}, RecordBytes(16548));
}

TEST_F(WlanFilterTest, NoData) {
    for (const json& body : {json::object(), json::array(), json(5), json("data"), json(nullptr)})
        expect_refused(model("MacFilter"), body, kPolicerData);
}

TEST_F(WlanFilterTest, ABandThatIsNoObject) {
    for (const json& value : {json(5), json::array(), json("x"), json(nullptr)}) {
        expect_refused(model("MacFilter"), {{"data", {{"config2g", value}}}}, kBandPath);
        expect_refused(model("MacFilter"), {{"data", {{"config5g", value}}}}, kBandPath);
    }
}

} // namespace
