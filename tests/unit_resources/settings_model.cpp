// SPDX-License-Identifier: MIT
#include "unit_resources/settings_model.h"

#include <stdexcept>

#include "protocol/gateway_settings.h"

using nlohmann::json;

namespace {

const std::string kPolicer = "InternetGatewayDevice.QueueManagement.Policer.";
const std::string kPolicerData = "InternetGatewayDevice.QueueManagement.Policer.data";
const std::string kWlan = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.";
const std::string kWlan1 = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.";
const std::string kWlanId = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.ID";
const std::string kGuest = "InternetGatewayDevice.LANDevice.2.WLANConfiguration.1.";
const std::string kRadioSsid = "InternetGatewayDevice.X_Config.Wifi.Radio.1.Ssid.1.";
const std::string kTimeSwitch = "InternetGatewayDevice.wlantimeswitch";

SettingsModel basic_settings() {
    RecordBytes record(4656);
    record.text(8, "1").number(304, 1).number(480, 1);
    record.text(1160 + 8, "5").number(1160 + 304, 0).number(1160 + 480, 2);
    record.number(4652, 2);
    return {"BasicSettings",
            profession_sys_gateway_ntwk_wlanbasic_parse,
            "POST .sys/gateway/ntwk/WlanBasic\n",
            "app_sys_gateway_system_wlanbasic_parse",
            nullptr,
            "vx_device_wlanbasic_set",
            kWlan,
            "InternetGatewayDevice.LANDevice.1.WLANConfiguration",
            "app_sys_gateway_system_wlanbasic_action",
            json::parse(R"({"action": "BasicSettings", "data": {
                "config2g": {"ID": 1, "enable": true},
                "config5g": {"ID": 5, "enable": false}}})"),
            record,
            {
                {"/data/config2g/ID", Stored::decimal, 8, 256, kWlan1 + "ID"},
                {"/data/config2g/enable", Stored::flag, 304, 4, kWlan1 + "enable"},
                {"/data/config5g/ID", Stored::decimal, 1168, 256, kWlan1 + "ID"},
                {"/data/config5g/enable", Stored::flag, 1464, 4, kWlan1 + "enable"},
            }};
}

/** Kinds of "SsidSettings": the members that a beacon type asks for. */
enum : unsigned { kWpa = 1, kWep = 2, kRadius = 4 };

void add_ssid_entry(SettingsModel& model, const std::string& band, std::size_t base, int number,
                    const std::string& beacon_type, unsigned kinds) {
    const std::string at = "/data/" + band + "/";
    json& object = model.body["data"][band];
    std::vector<BodyMember>& members = model.members;
    const auto text = [&](const char* key, std::size_t offset, std::size_t size) {
        const std::string value = band + " " + key;
        object[key] = value;
        model.record.text(base + offset, value);
        members.push_back({at + key, Stored::text, base + offset, size, kWlanId});
    };
    const auto integer = [&](const char* key, std::size_t offset, int value) {
        object[key] = value;
        model.record.number(base + offset, value);
        members.push_back({at + key, Stored::number, base + offset, 4, kWlanId});
    };
    object["ID"] = number;
    model.record.text(base, std::to_string(number));
    members.push_back({at + "ID", Stored::decimal, base, 256, kWlanId});
    text("ssid", 256, 40);
    object["ssidenable"] = number == 1;
    model.record.number(base + 296, number == 1 ? 1 : 0);
    members.push_back({at + "ssidenable", Stored::flag, base + 296, 4, kWlan1 + "enable"});
    object["beacontype"] = beacon_type;
    model.record.text(base + 300, beacon_type);
    members.push_back(
        {at + "beacontype", Stored::text, base + 300, 32, kWlanId, false, kinds != 0});
    if ((kinds & kWpa) != 0) {
        text("wpaencmode", 332, 32);
        text("wpakey", 364, 64);
    }
    if ((kinds & kWep) != 0) {
        text("basicencmode", 476, 32);
        text("basicauthmode", 508, 32);
        integer("wepkeyLen", 540, number * 100 + 1);
        text("CurrentWepKey", 544, 512);
        integer("wepkeyindex", 1056, number * 100 + 2);
    }
    if ((kinds & kRadius) != 0) {
        text("raserver", 1060, 32);
        integer("raport", 1092, number * 100 + 3);
        text("rakey", 1096, 64);
    }
    model.record.number(base + 472, band == "config2g" ? 1 : 2);
}

SettingsModel ssid_settings(const char* name, const std::string& beacon_type, unsigned kinds) {
    SettingsModel model{name,
                        profession_sys_gateway_ntwk_wlanbasic_parse,
                        "POST .sys/gateway/ntwk/WlanBasic\n",
                        "app_sys_gateway_system_ssidsetting_parse",
                        nullptr,
                        "vx_device_ssidsetting",
                        kWlan,
                        "InternetGatewayDevice.LANDevice.1.WLANConfiguration",
                        "app_sys_gateway_system_wlanbasic_action",
                        json::parse(R"({"action": "SsidSettings", "DbhoEnable": true})"),
                        RecordBytes(2328),
                        {{"/DbhoEnable", Stored::flag, 2324, 4, kPolicerData}}};
    add_ssid_entry(model, "config2g", 0, 1, beacon_type, kinds);
    add_ssid_entry(model, "config5g", 1160, 5, beacon_type, kinds);
    model.record.number(2320, 2).number(2324, 1);
    return model;
}

void add_guide_entry(SettingsModel& model, const std::string& band, std::size_t base) {
    const std::string at = "/data/" + band + "/";
    const auto text = [&](const char* key, std::size_t offset, std::size_t size,
                          bool optional = false) {
        const std::string value = band + " " + key;
        model.body["data"][band][key] = value;
        model.record.text(base + offset, value);
        model.members.push_back(
            {at + key, Stored::percent, base + offset, size, kWlan1 + key, optional});
    };
    text("ID", 8, 256);
    text("ssid", 264, 40);
    model.body["data"][band]["ssidenable"] = true;
    model.record.number(base + 304, 1);
    model.members.push_back(
        {at + "ssidenable", Stored::flag, base + 304, 4, kWlan1 + "ssidenable"});
    text("beacontype", 308, 32);
    text("wpaencmode", 340, 32, true);
    model.body["data"][band]["advertisement"] = 77;
    model.record.number(base + 476, 77);
    model.members.push_back(
        {at + "advertisement", Stored::number, base + 476, 4, kWlan1 + "advertisement"});
    text("wpakey", 372, 64);
    text("upassword", 436, 40, true);
    model.record.number(base + 480, band == "config2g" ? 1 : 2);
}

SettingsModel guide() {
    SettingsModel model{
        "Guide",
        profession_sys_gateway_ntwk_wlanguidebasic,
        ".sys/gateway/ntwk/WlanGuideBasic\n",
        "app_sys_gateway_ntwk_wlanguidebasic_parse",
        "vx_device_wifi_check",
        "vx_device_wlanguidebasic",
        kWlan,
        kPolicerData,
        "app_sys_gateway_ntwk_wlanguidebasic_parse",
        json::parse(R"({"data": {"guide": true, "setGuestSsid": true, "DbhoEnable": true,
            "guest2g": {"ID": "the guest", "WifiSsid": "guest name"}}})"),
        RecordBytes(4656),
        {
            {"/data/guide", Stored::flag, 4, 4, kWlan1 + "guide", true},
            {"/data/setGuestSsid", Stored::flag, 4648, 4, kWlan1 + "guide"},
            {"/data/DbhoEnable", Stored::flag, 0, 4, kWlan1 + "DbhoEnable"},
            {"/data/guest2g/ID", Stored::percent, 2328, 256, kGuest + "ID"},
            {"/data/guest2g/WifiSsid", Stored::percent, 2584, 40, kGuest + "WifiSsid"},
        }};
    add_guide_entry(model, "config2g", 0);
    add_guide_entry(model, "config5g", 1160);
    model.record.number(0, 1).number(4, 1).number(4648, 1).number(4652, 3);
    model.record.text(2328, "the guest").text(2584, "guest name").number(2800, 3);
    return model;
}

SettingsModel guest_network() {
    SettingsModel model{"GuestNetwork",
                        profession_sys_gateway_ntwk_guest_network_parse,
                        "POST .sys/gateway/ntwk/guest_network\n",
                        "app_sys_gateway_ntwk_guest_network_parse",
                        "vx_device_guest_check",
                        "vx_device_guest_network_set",
                        kRadioSsid,
                        kGuest,
                        "app_sys_gateway_ntwk_guest_network_parse",
                        json::parse(R"({"data": {
                            "config2g": {"ID": "id 2", "SecOpt": "opt 2", "WifiSsid": "ssid 2",
                                         "Enable": true, "WpaPreSharedKey": "key 2"},
                            "config5g": {"ID": "id 5", "SecOpt": "opt 5", "WifiSsid": "ssid 5",
                                         "Enable": false, "WpaPreSharedKey": "key 5"}}})"),
                        RecordBytes(444),
                        {}};
    for (const char band : {'2', '5'}) {
        const std::size_t base = band == '2' ? 0 : 220;
        const std::string at = std::string("/data/config") + band + "g/";
        model.record.text(base, std::string("opt ") + band).number(base + 32, band == '2' ? 1 : 0);
        model.record.text(base + 40, std::string("ssid ") + band);
        model.record.text(base + 80, std::string("key ") + band);
        model.record.number(base + 144, band == '2' ? 1 : 2);
        model.record.text(base + 148, std::string("id ") + band);
        model.members.insert(model.members.end(),
                             {{at + "ID", Stored::percent, base + 148, 64, kGuest},
                              {at + "SecOpt", Stored::percent, base, 32, kGuest},
                              {at + "WifiSsid", Stored::percent, base + 40, 40, kGuest},
                              {at + "Enable", Stored::flag, base + 32, 4, kGuest},
                              {at + "WpaPreSharedKey", Stored::percent, base + 80, 64, kGuest}});
    }
    model.record.number(440, 2);
    return model;
}

SettingsModel mac_filter() {
    SettingsModel model{"MacFilter",
                        profession_sys_gateway_ntwk_wlanfilterenhance_parse,
                        "POST .sys/gateway/ntwk/wlanfilterenhance\n",
                        "app_sys_gateway_ntwk_wlanfilterenhance_parse",
                        nullptr,
                        "vx_device_wlanfilterenhance_set",
                        kRadioSsid,
                        kPolicerData,
                        "app_sys_gateway_ntwk_wlanfilterenhance_parse",
                        json::parse(R"({"data": {
            "config2g": {"ID": "id 2", "MACAddressControlEnabled": true, "MacFilterPolicy": 1,
                         "WMacFilters": [{"MACAddress": "mac 1", "HostName": "host 1"},
                                         {"MACAddress": "mac 2", "HostName": "host 2"}]},
            "config5g": {"ID": "id 5", "MACAddressControlEnabled": false, "MacFilterPolicy": 0,
                         "BMacFilters": [{"MACAddress": "mac 3", "HostName": "host 3"}]}}})"),
                        RecordBytes(16548),
                        {}};
    for (const std::string band : {"config2g", "config5g"}) {
        const std::size_t base = band == "config2g" ? 0 : 8272;
        const std::string at = "/data/" + band + "/";
        model.members.insert(
            model.members.end(),
            {{at + "ID", Stored::text, base + 8, 64, kRadioSsid},
             {at + "MACAddressControlEnabled", Stored::flag, base + 4, 4, kRadioSsid},
             {at + "MacFilterPolicy", Stored::number, base + 72, 4, kRadioSsid, false, true}});
    }
    model.record.number(0, 1).number(4, 1).text(8, "id 2").number(72, 1);
    model.record.text(76, "mac 1").text(140, "host 1").text(204, "mac 2").text(268, "host 2");
    model.record.number(8268, 2);
    model.record.number(8272, 2).number(8276, 0).text(8280, "id 5").number(8344, 0);
    model.record.text(8348, "mac 3").text(8412, "host 3").number(16540, 1);
    model.record.number(16544, 2);
    model.members.insert(
        model.members.end(),
        {{"/data/config2g/WMacFilters/1/HostName", Stored::text, 268, 64, kRadioSsid, true},
         {"/data/config5g/BMacFilters/0/HostName", Stored::text, 8412, 64, kRadioSsid, true}});
    return model;
}

SettingsModel time_switch() {
    RecordBytes record(68);
    record.text(0, "modify").number(8, 1).text(12, "23:30").text(28, "06:15");
    record.number(44, 4711).text(48, "1,2,3,4,5");
    return {"TimeSwitch",
            profession_sys_gateway_ntwk_wlantimeswitch_parse,
            "POST .sys/gateway/ntwk/wlantimeswitch\n",
            "app_sys_gateway_ntwk_wlantimeswitch_parse",
            nullptr,
            "vx_device_wlantimeswitch_set",
            kRadioSsid,
            kTimeSwitch,
            "app_sys_gateway_ntwk_wlantimeswitch_parse",
            json::parse(R"({"action": "modify", "data": {"datelist": {
                "RepeatDay": "1,2,3,4,5", "ID": 4711, "StartTime": "06:15", "Enable": true,
                "EndTime": "23:30"}}})"),
            record,
            {
                {"/action", Stored::text, 0, 8, kTimeSwitch},
                {"/data/datelist/RepeatDay", Stored::text, 48, 16, kTimeSwitch},
                {"/data/datelist/ID", Stored::number, 44, 4, kTimeSwitch},
                {"/data/datelist/StartTime", Stored::text, 28, 16, kTimeSwitch},
                {"/data/datelist/Enable", Stored::flag, 8, 4, kTimeSwitch},
                {"/data/datelist/EndTime", Stored::text, 12, 16, kTimeSwitch},
            }};
}

SettingsModel qos_host() {
    RecordBytes record(496);
    record.text(0, "class 7").number(64, 1).number(68, 3).number(72, 2048).text(76, "00:11:22");
    record.text(108, "host").text(172, "actual").text(236, "an ID").number(492, 512);
    return {
        "QosHost",
        profession_sys_gateway_app_qosclasshost,
        "POST .sys/gateway/app/qosclass_host\n",
        "app_sys_gateway_app_qosclasshost_parse",
        nullptr,
        "vx_device_qosclasshost",
        kPolicer,
        kPolicerData,
        "app_sys_gateway_app_qosclasshost_parse",
        json::parse(R"({"data": {
                "QosclassID": "class 7", "DeviceDownRateEnable": true, "ClassQueue": 3,
                "DeviceMaxDownLoadRate": "2048", "MACAddress": "00:11:22", "HostName": "host",
                "ActualName": "actual", "ID": "an ID", "DeviceMaxUpLoadRate": "512"}})"),
        record,
        {
            {"/data/QosclassID", Stored::text, 0, 64, kPolicer + "QosclassID"},
            {"/data/DeviceDownRateEnable", Stored::flag, 64, 4, kPolicer + "QosclassID"},
            {"/data/ClassQueue", Stored::number, 68, 4, kPolicer + "ClassQueue"},
            {"/data/DeviceMaxDownLoadRate", Stored::rate, 72, 4,
             kPolicer + "DeviceMaxDownLoadRate"},
            {"/data/MACAddress", Stored::text, 76, 32, kPolicer + "MACAddress"},
            {"/data/HostName", Stored::text, 108, 64, kPolicer + "HostName"},
            {"/data/ActualName", Stored::text, 172, 64, kPolicer + "ActualName"},
            {"/data/ID", Stored::text, 236, 256, kPolicer + "ID"},
            {"/data/DeviceMaxUpLoadRate", Stored::rate, 492, 4, kPolicer + "DeviceMaxUpLoadRate"},
        }};
}

} // namespace

void PrintTo(const SettingsModel& model, std::ostream* stream) {
    *stream << model.name;
}

const std::vector<SettingsModel>& settings_models() {
    static const std::vector<SettingsModel> models = {
        basic_settings(),
        ssid_settings("SsidUnknown", "OPEN", 0),
        ssid_settings("SsidWpa", "WPA", kWpa),
        ssid_settings("Ssid11i", "11i", kWpa),
        ssid_settings("SsidWpaAnd11i", "WPAand11i", kWpa),
        ssid_settings("SsidNone", "None", kWep),
        ssid_settings("SsidBasic", "Basic", kWep),
        ssid_settings("Ssid8021X", "8021X", kWep | kRadius),
        ssid_settings("SsidWpaEap", "WPA-EAP", kRadius),
        ssid_settings("SsidWpa2Eap", "WPA2-EAP", kRadius),
        ssid_settings("SsidWpaWpa2Eap", "WPAWPA2-EAP", kRadius),
        guide(),
        guest_network(),
        mac_filter(),
        time_switch(),
        qos_host(),
    };
    return models;
}

void SettingsTest::expect_applied(const SettingsModel& model, const json& body,
                                  const RecordBytes& record) {
    fake::device().allow({model.setter});
    std::vector<std::string> order;
    if (model.check != nullptr) {
        fake::device().allow({model.check});
        order.push_back(std::string(model.check) + "(record)");
    }
    order.push_back(std::string(model.setter) + "(record)");
    order.emplace_back("frame_coap_response()");
    EXPECT_EQ(serve(model.handler, body.dump()), success()) << body;
    EXPECT_EQ(deeds(), order);
    const auto records = given(model.setter);
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0], record.bytes()) << body;
    if (model.check != nullptr) {
        EXPECT_EQ(given(model.check), records);
    }
}

void SettingsTest::expect_refused(const SettingsModel& model, const json& body,
                                  const std::string& path) {
    EXPECT_EQ(serve(model.handler, body.dump()), failure(-1, path)) << body;
    EXPECT_EQ(deeds(), std::vector<std::string>{"frame_coap_response()"});
    EXPECT_EQ(logged(4),
              std::vector<std::string>{"ERROR (" + std::string(model.parser) + ")# failed\n"});
}

const SettingsModel& SettingsTest::model(const std::string& name) {
    for (const SettingsModel& model : settings_models()) {
        if (model.name == name)
            return model;
    }
    throw std::invalid_argument("no model " + name);
}
