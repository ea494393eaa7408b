// SPDX-License-Identifier: MIT
#include "appjsonapi/app_gateway_status.h"

#include "appjsonapi/record_writer.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

// The reason of an error is reported by its code; the gateway has no text for it.
constexpr Member kWanDiagnosis[] = {
    text_member("StatusCode", VXQ_AT(vx_wan_diagnosis, status_code)),
    text_member("Status", VXQ_AT(vx_wan_diagnosis, status)),
    text_member("ErrReason", VXQ_AT(vx_wan_diagnosis, status_code)),
    text_member("string", VXQ_AT(vx_wan_diagnosis, result)),
    flag_member("HasInternetWan", VXQ_AT(vx_wan_diagnosis, has_internet_wan)),
    text_member("ExternalIPAddress", VXQ_AT(vx_wan_diagnosis, external_ip_address)),
    text_member("MACAddress", VXQ_AT(vx_wan_diagnosis, mac_address)),
};

constexpr Member kWeakInfo[] = {
    flag_member("WeakInfo", VXQ_AT(vx_host, weak_info)),
    number_member("SuggestValue", VXQ_AT(vx_host, suggest_value)),
    flag_member("WeakFltEnable", VXQ_AT(vx_host, weak_flt_enable)),
};

constexpr Member kHost[] = {
    text_member("AccessRecord", VXQ_AT(vx_host, access_record)),
    flag_member("Active", VXQ_AT(vx_host, active)),
    text_member("QosclassID", VXQ_AT(vx_host, qosclass_id)),
    number_member("DeviceMaxDownLoadRate", VXQ_AT(vx_host, device_max_down_load_rate)),
    number_member("DeviceMaxUpLoadRate", VXQ_AT(vx_host, device_max_up_load_rate)),
    text_member("HostName", VXQ_AT(vx_host, host_name)),
    flag_member("Active46", VXQ_AT(vx_host, active46)),
    flag_member("ParentControl", VXQ_AT(vx_host, parent_control)),
    number_member("LeaseTime", VXQ_AT(vx_host, lease_time)),
    text_member("ID", VXQ_AT(vx_host, id)),
    number_member("ClassQueue", VXQ_AT(vx_host, class_queue)),
    text_member("Layer2Interface", VXQ_AT(vx_host, layer2_interface)),
    text_member("ActualName", VXQ_AT(vx_host, actual_name)),
    flag_member("WlanActive", VXQ_AT(vx_host, wlan_active)),
    text_member("IPAddress", VXQ_AT(vx_host, ip_address)),
    text_member("domain", VXQ_AT(vx_host, domain)),
    text_member("MACAddress", VXQ_AT(vx_host, mac_address)),
    text_member("PolicerID", VXQ_AT(vx_host, policer_id)),
    flag_member("DeviceDownRateEnable", VXQ_AT(vx_host, device_down_rate_enable)),
    text_member("AddressSource", VXQ_AT(vx_host, address_source)),
    flag_member("ParentControlEnable", VXQ_AT(vx_host, parent_control_enable)),
    text_member("MacFilterID", VXQ_AT(vx_host, mac_filter_id)),
    text_member("IconType", VXQ_AT(vx_host, icon_type)),
    object_member("WeakInfo", kWeakInfo),
    number_member("BindWANLine", VXQ_AT(vx_host, bind_wan_line)),
    number_member("RealWANLine", VXQ_AT(vx_host, real_wan_line)),
    number_member("TelOperator", VXQ_AT(vx_host, tel_operator)),
    flag_member("IsSlave", VXQ_AT(vx_host, is_slave)),
    text_member("DevBrands", VXQ_AT(vx_host, dev_brands)),
    number_member("DownRate", VXQ_AT(vx_host, down_rate)),
    number_member("UpRate", VXQ_AT(vx_host, up_rate)),
};

constexpr ListPlace kHosts =
    list_place(VXQ_AT(vx_host_table, entries), VXQ_AT(vx_host_table, count));

constexpr Member kOther[] = {
    flag_member("guide", VXQ_AT(vx_device_information, guide)),
    number_member("FirstLogin", VXQ_AT(vx_device_information, first_login)),
};

constexpr Member kDeviceInformation[] = {
    text_member("DeviceName", VXQ_AT(vx_device_information, device_name)),
    text_member("SerialNumber", VXQ_AT(vx_device_information, serial_number)),
    number_member("SNHashType", VXQ_AT(vx_device_information, sn_hash_type)),
    text_member("ManufacturerOUI", VXQ_AT(vx_device_information, manufacturer_oui)),
    text_member("SoftwareVersion", VXQ_AT(vx_device_information, software_version)),
    text_member("HardwareVersion", VXQ_AT(vx_device_information, hardware_version)),
    number_member("UpTime", VXQ_AT(vx_device_information, up_time)),
    text_member("FriendlyName", VXQ_AT(vx_device_information, friendly_name)),
    number_member("CPUUsage", VXQ_AT(vx_device_information, cpu_usage)),
    number_member("MemFree", VXQ_AT(vx_device_information, mem_free)),
    number_member("MemTotal", VXQ_AT(vx_device_information, mem_total)),
    number_member("PppoeUpTime", VXQ_AT(vx_device_information, pppoe_up_time)),
    text_member("ModemSVersion", VXQ_AT(vx_device_information, modem_s_version)),
    text_member("ModemHVersion", VXQ_AT(vx_device_information, modem_h_version)),
    text_member("Manufacturer", VXQ_AT(vx_device_information, manufacturer)),
    text_member("BootloaderVersion", VXQ_AT(vx_device_information, bootloader_version)),
    text_member("FirmwareVersion", VXQ_AT(vx_device_information, firmware_version)),
    text_member("ChipModel", VXQ_AT(vx_device_information, chip_model)),
    text_member("ReleaseDate", VXQ_AT(vx_device_information, release_date)),
    object_member("other", kOther),
};

// "FristIP" is how the platform knows it.
constexpr Member kLanHost[] = {
    text_member("FirstMac", VXQ_AT(vx_lan_host, first_mac)),
    text_member("DevName", VXQ_AT(vx_lan_host, dev_name)),
    flag_member("FirstEnable", VXQ_AT(vx_lan_host, first_enable)),
    text_member("ID", VXQ_AT(vx_lan_host, id)),
    text_member("FristIP", VXQ_AT(vx_lan_host, first_ip)),
    text_member("MACAddress", VXQ_AT(vx_lan_host, mac_address)),
    text_member("DomainName", VXQ_AT(vx_lan_host, domain_name)),
    flag_member("ShowLanDomainEnable", VXQ_AT(vx_lan_host, show_lan_domain_enable)),
};

constexpr Member kWan[] = {
    text_member("ID", VXQ_AT(vx_wan, id)),
    text_member("Username", VXQ_AT(vx_wan, username)),
    text_member("Password", VXQ_AT(vx_wan, password)),
    text_member("AccessType", VXQ_AT(vx_wan, access_type)),
    text_member("AccessStatus", VXQ_AT(vx_wan, access_status)),
    text_member("ConnectionType", VXQ_AT(vx_wan, connection_type)),
    text_member("ConnectionStatus", VXQ_AT(vx_wan, connection_status)),
    number_member("NATType", VXQ_AT(vx_wan, nat_type)),
    number_member("UpBandwidth", VXQ_AT(vx_wan, up_bandwidth)),
    number_member("DownBandwidth", VXQ_AT(vx_wan, down_bandwidth)),
    text_member("IPv4DnsServers", VXQ_AT(vx_wan, ipv4_dns_servers)),
    flag_member("DNSOverrideAllowed", VXQ_AT(vx_wan, dns_override_allowed)),
    flag_member("Enable", VXQ_AT(vx_wan, enable)),
    number_member("X_SpeDialMode", VXQ_AT(vx_wan, x_spe_dial_mode)),
    number_member("MRU", VXQ_AT(vx_wan, mru)),
    text_member("IPv4Addr", VXQ_AT(vx_wan, ipv4_addr)),
    text_member("PPPTrigger", VXQ_AT(vx_wan, ppp_trigger)),
    text_member("ServiceList", VXQ_AT(vx_wan, service_list)),
    text_member("LowerLayer", VXQ_AT(vx_wan, lower_layer)),
    number_member("MTU", VXQ_AT(vx_wan, mtu)),
    text_member("IPv4AddrType", VXQ_AT(vx_wan, ipv4_addr_type)),
    text_member("IPv4Mask", VXQ_AT(vx_wan, ipv4_mask)),
    text_member("DialNum", VXQ_AT(vx_wan, dial_num)),
    text_member("MACColone", VXQ_AT(vx_wan, mac_colone)),
    number_member("MSS", VXQ_AT(vx_wan, mss)),
    number_member("PPPIdletime", VXQ_AT(vx_wan, ppp_idletime)),
    flag_member("MACColoneEnable", VXQ_AT(vx_wan, mac_colone_enable)),
    flag_member("IsDefault", VXQ_AT(vx_wan, is_default)),
    text_member("IPv4Gateway", VXQ_AT(vx_wan, ipv4_gateway)),
    text_member("Alias", VXQ_AT(vx_wan, alias)),
    text_member("Name", VXQ_AT(vx_wan, name)),
    text_member("PPPoEServiceName", VXQ_AT(vx_wan, pppoe_service_name)),
    text_member("PPPAuthMode", VXQ_AT(vx_wan, ppp_auth_mode)),
    number_member("UpBandwidthMax", VXQ_AT(vx_wan, up_bandwidth_max)),
    number_member("DownBandwidthMax", VXQ_AT(vx_wan, down_bandwidth_max)),
    number_member("BandwidthTime", VXQ_AT(vx_wan, bandwidth_time)),
    number_member("DownBandwidthHistory", VXQ_AT(vx_wan, down_bandwidth_history)),
    number_member("UpBandwidthHistory", VXQ_AT(vx_wan, up_bandwidth_history)),
    text_member("PPPDialIpMode", VXQ_AT(vx_wan, ppp_dial_ip_mode)),
    text_member("PPPDialIpAddr", VXQ_AT(vx_wan, ppp_dial_ip_addr)),
    number_member("IsConfigured", VXQ_AT(vx_wan, is_configured)),
    text_member("WanType", VXQ_AT(vx_wan, wan_type)),
    flag_member("IPv4Enable", VXQ_AT(vx_wan, ipv4_enable)),
    text_member("PPPoEACName", VXQ_AT(vx_wan, pppoe_ac_name)),
    number_member("TelOperator", VXQ_AT(vx_wan, tel_operator)),
};

} // namespace

} // namespace vxq

using namespace vxq;

JsonText app_sys_gateway_ntwk_wandiagnose() {
    return write_status(vx_device_wandiagnose, object_document(kWanDiagnosis));
}

JsonText app_sys_gateway_system_hostinfo() {
    return write_status(vx_device_hostinfo, list_document(kHosts, kHost));
}

JsonText app_sys_gateway_system_deviceinfo() {
    return write_status(vx_device_info, object_document(kDeviceInformation));
}

JsonText app_sys_gateway_ntwk_lanhost() {
    return write_status(vx_device_lanhost, object_document(kLanHost));
}

JsonText app_sys_gateway_ntwk_wan() {
    return write_status(vx_device_wan, object_document(kWan));
}
