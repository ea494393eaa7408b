// SPDX-License-Identifier: MIT
#include "protocol/gateway_settings.h"
#include "unit_resources/settings_model.h"

using nlohmann::json;

namespace {

const std::string kPolicer = "InternetGatewayDevice.QueueManagement.Policer.";

class QosHostTest : public SettingsTest {};

TEST_F(QosHostTest, NoData) {
    for (const json& body : {json::object(), json::array(), json(5), json("data"), json(nullptr)})
        expect_refused(model("QosHost"), body, kPolicer + "data");
}

TEST_F(QosHostTest, DataOfOtherTypesLacksTheClassId) {
    for (const json& data : {json::object(), json::array(), json(5), json("x"), json(nullptr)})
        expect_refused(model("QosHost"), {{"data", data}}, kPolicer + "QosclassID");
}

TEST_F(QosHostTest, RatesThatAreNumbersAreRefused) {
    for (const char* const key : {"DeviceMaxDownLoadRate", "DeviceMaxUpLoadRate"}) {
        json body = model("QosHost").body;
        body["data"][key] = 2048;
        expect_refused(model("QosHost"), body, kPolicer + key);
    }
}

TEST_F(QosHostTest, MembersAreReadInOrder) {
    // Of several missing members the first in this order is reported.
    const char* const keys[] = {
        "QosclassID", "DeviceDownRateEnable", "ClassQueue", "DeviceMaxDownLoadRate", "MACAddress",
        "HostName",   "ActualName",           "ID",         "DeviceMaxUpLoadRate"};
    json body = model("QosHost").body;
    for (std::size_t index = std::size(keys); index-- != 0;) {
        body["data"].erase(keys[index]);
        const char* const reported =
            keys[index] == std::string("DeviceDownRateEnable") ? "QosclassID" : keys[index];
        expect_refused(model("QosHost"), body, kPolicer + reported);
    }
}

TEST_F(QosHostTest, TheBodyIsLoggedOnceItIsParsed) {
    fake::device().allow({"vx_device_qosclasshost"});
    const std::string body = model("QosHost").body.dump();
    serve(profession_sys_gateway_app_qosclasshost, body);
    EXPECT_EQ(logged(6), (std::vector<std::string>{"POST .sys/gateway/app/qosclass_host\n",
                                                   body + "\n", success() + "\n"}));
    serve(profession_sys_gateway_app_qosclasshost, "{\"data\": ");
    EXPECT_EQ(logged(6), (std::vector<std::string>{"POST .sys/gateway/app/qosclass_host\n",
                                                   failure(-1, kPolicer + "data") + "\n"}));
}

} // namespace
