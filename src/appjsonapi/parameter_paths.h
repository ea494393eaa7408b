// SPDX-License-Identifier: MIT
#pragma once

/**
 * @file
 * Where the parameters of settings requests are in the platform's device model. The platform looks
 * for these paths literally, and several resources answer with another one's.
 */
namespace vxq {

inline constexpr char kPolicerPath[] = "InternetGatewayDevice.QueueManagement.Policer.";
inline constexpr char kPolicerDataPath[] = "InternetGatewayDevice.QueueManagement.Policer.data";

/** Both bands answer with the first instance. */
inline constexpr char kWlanPath[] = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.";
inline constexpr char kGuestWlanPath[] = "InternetGatewayDevice.LANDevice.2.WLANConfiguration.1.";

inline constexpr char kRadioSsidPath[] = "InternetGatewayDevice.X_Config.Wifi.Radio.1.Ssid.1.";
inline constexpr char kTimeSwitchPath[] = "InternetGatewayDevice.wlantimeswitch";

/** What the device library could not apply is reported by the object of its resource. */
inline constexpr char kWlanObjectPath[] = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.";

} // namespace vxq
