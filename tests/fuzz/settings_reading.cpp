// SPDX-License-Identifier: MIT
#include "fuzz/settings_reading.h"

#include <cctype>
#include <climits>
#include <functional>

namespace fuzz {

namespace {

const std::string kPolicer = "InternetGatewayDevice.QueueManagement.Policer.";
const std::string kPolicerData = "InternetGatewayDevice.QueueManagement.Policer.data";
const std::string kWlan = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.";
const std::string kGuestWlan = "InternetGatewayDevice.LANDevice.2.WLANConfiguration.1.";
const std::string kRadioSsid = "InternetGatewayDevice.X_Config.Wifi.Radio.1.Ssid.1.";
const std::string kTimeSwitch = "InternetGatewayDevice.wlantimeswitch";

/** The body can't be taken, because of the parameter with this path. */
struct Refusal {
    std::string path;
};

const Value& need(const Value& object, const std::string& key, const std::string& path) {
    const Value* const member = object.find(key);
    if (member == nullptr)
        throw Refusal{path};
    return *member;
}

const std::string& text_of(const Value& member, const std::string& path) {
    if (member.type != Value::kText)
        throw Refusal{path};
    return member.text;
}

const std::string& need_text(const Value& object, const std::string& key, const std::string& path) {
    return text_of(need(object, key, path), path);
}

int integer_of(const Value& member) {
    if (member.type != Value::kNumber)
        return 0;
    if (member.number >= INT_MAX)
        return INT_MAX;
    return member.number <= INT_MIN ? INT_MIN : static_cast<int>(member.number);
}

/** The number at the beginning of a text. */
int decimal_of(const std::string& text) {
    std::size_t at = 0;
    while (at < text.size() && std::isspace(static_cast<unsigned char>(text[at])) != 0)
        ++at;
    const bool negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+'))
        ++at;
    long long value = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        if (value <= INT_MAX)
            value = value * 10 + (text[at] - '0');
    }
    if (negative)
        return value > -static_cast<long long>(INT_MIN) ? INT_MIN : static_cast<int>(-value);
    return value > INT_MAX ? INT_MAX : static_cast<int>(value);
}

std::string single_percents(const std::string& text) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        result += text[at];
        if (text[at] == '%' && at + 1 < text.size() && text[at + 1] == '%')
            ++at;
    }
    return result;
}

void put(Reading& reading, std::size_t offset, std::size_t size, const std::string& text) {
    reading.record.text(offset, text.substr(0, size - 1));
}

Reading read(const Body& body, const std::string& unreadable, std::size_t record_size,
             const std::function<void(const Value&, Reading&)>& read_members) {
    Reading reading{0, "", RecordBytes(record_size)};
    try {
        if (!body)
            throw Refusal{unreadable};
        read_members(*body, reading);
    } catch (const Refusal& refusal) {
        reading.result = -1;
        reading.path = refusal.path;
    }
    return reading;
}

using ReadNetwork = void(const Value& network, std::size_t base, int band, Reading& reading);

/** Reads the object of each band that is there into the next entry; gives their count. */
int read_bands(const Value& data, std::size_t entry_size, ReadNetwork* read_network,
               Reading& reading) {
    int count = 0;
    for (const int band : {1, 2}) {
        const Value* const network = data.find(band == 1 ? "config2g" : "config5g");
        if (network == nullptr)
            continue;
        read_network(*network, static_cast<std::size_t>(count) * entry_size, band, reading);
        ++count;
    }
    return count;
}

void read_wep(const Value& network, std::size_t base, Reading& reading) {
    const std::string path = kWlan + "ID";
    put(reading, base + 476, 32, need_text(network, "basicencmode", path));
    put(reading, base + 508, 32, need_text(network, "basicauthmode", path));
    reading.record.number(base + 540, integer_of(need(network, "wepkeyLen", path)));
    put(reading, base + 544, 512, need_text(network, "CurrentWepKey", path));
    reading.record.number(base + 1056, integer_of(need(network, "wepkeyindex", path)));
}

void read_radius(const Value& network, std::size_t base, Reading& reading) {
    const std::string path = kWlan + "ID";
    put(reading, base + 1060, 32, need_text(network, "raserver", path));
    reading.record.number(base + 1092, integer_of(need(network, "raport", path)));
    put(reading, base + 1096, 64, need_text(network, "rakey", path));
}

void read_security(const Value& network, const std::string& beacon_type, std::size_t base,
                   Reading& reading) {
    const std::string path = kWlan + "ID";
    if (beacon_type == "WPA" || beacon_type == "11i" || beacon_type == "WPAand11i") {
        put(reading, base + 332, 32, need_text(network, "wpaencmode", path));
        put(reading, base + 364, 64, need_text(network, "wpakey", path));
    }
    if (beacon_type == "None" || beacon_type == "Basic" || beacon_type == "8021X")
        read_wep(network, base, reading);
    if (beacon_type == "8021X" || beacon_type == "WPA-EAP" || beacon_type == "WPA2-EAP" ||
        beacon_type == "WPAWPA2-EAP")
        read_radius(network, base, reading);
}

void read_ssid(const Value& network, std::size_t base, int band, Reading& reading) {
    const std::string path = kWlan + "ID";
    reading.record.number(base + 472, band);
    put(reading, base, 256, std::to_string(integer_of(need(network, "ID", path))));
    put(reading, base + 256, 40, need_text(network, "ssid", path));
    reading.record.number(base + 296, need(network, "ssidenable", kWlan + "enable").type);
    const std::string& beacon_type = need_text(network, "beacontype", path);
    put(reading, base + 300, 32, beacon_type);
    read_security(network, beacon_type, base, reading);
}

void put_percent(const Value& object, const std::string& key, const std::string& path,
                 Reading& reading, std::size_t offset, std::size_t size) {
    put(reading, offset, size, single_percents(need_text(object, key, path)));
}

void read_guide_network(const Value& network, std::size_t base, int band, Reading& reading) {
    const auto percent = [&](const char* key, std::size_t offset, std::size_t size) {
        put_percent(network, key, kWlan + key, reading, base + offset, size);
    };
    reading.record.number(base + 480, band);
    percent("ID", 8, 256);
    percent("ssid", 264, 40);
    reading.record.number(base + 304, need(network, "ssidenable", kWlan + "ssidenable").type);
    percent("beacontype", 308, 32);
    if (network.find("wpaencmode") != nullptr)
        percent("wpaencmode", 340, 32);
    else
        reading.path = kWlan + "wpaencmode";
    reading.record.number(base + 476,
                          integer_of(need(network, "advertisement", kWlan + "advertisement")));
    percent("wpakey", 372, 64);
    if (network.find("upassword") != nullptr)
        percent("upassword", 436, 40);
}

void read_guest(const Value& network, std::size_t base, int band, Reading& reading) {
    const auto percent = [&](const char* key, std::size_t offset, std::size_t size) {
        put_percent(network, key, kGuestWlan, reading, base + offset, size);
    };
    reading.record.number(base + 144, band);
    percent("ID", 148, 64);
    percent("SecOpt", 0, 32);
    percent("WifiSsid", 40, 40);
    reading.record.number(base + 32, need(network, "Enable", kGuestWlan).type);
    percent("WpaPreSharedKey", 80, 64);
}

void read_radio(const Value& network, std::size_t base, int band, Reading& reading) {
    reading.record.number(base + 480, band);
    put(reading, base + 8, 256, std::to_string(integer_of(need(network, "ID", kWlan + "ID"))));
    reading.record.number(base + 304, need(network, "enable", kWlan + "enable").type);
}

void read_filters(const Value& list, std::size_t base, Reading& reading) {
    if (list.type != Value::kArray || list.members.size() > 64)
        throw Refusal{kRadioSsid};
    std::size_t slot = base + 76;
    for (const auto& [key, item] : list.members) {
        if (const Value* const address = item.find("MACAddress")) {
            put(reading, slot, 64, text_of(*address, kRadioSsid));
            if (const Value* const name = item.find("HostName"))
                put(reading, slot + 64, 64, text_of(*name, kRadioSsid));
        }
        slot += 128;
    }
    reading.record.number(base + 8268, static_cast<int>(list.members.size()));
}

void read_filter_band(const Value& network, std::size_t base, int band, Reading& reading) {
    reading.record.number(base, band);
    put(reading, base + 8, 64, need_text(network, "ID", kRadioSsid));
    reading.record.number(base + 4, need(network, "MACAddressControlEnabled", kRadioSsid).type);
    const int policy = integer_of(need(network, "MacFilterPolicy", kRadioSsid));
    reading.record.number(base + 72, policy);
    if (const Value* const list = network.find(policy != 0 ? "WMacFilters" : "BMacFilters"))
        read_filters(*list, base, reading);
}

} // namespace

Reading read_action(const Body& body) {
    const std::string object = "InternetGatewayDevice.LANDevice.1.WLANConfiguration";
    return read(body, object, 0, [&](const Value& root, Reading& reading) {
        const std::string& action = need_text(root, "action", object + ".1.action");
        if (action == "BasicSettings")
            reading.result = 1;
        else if (action == "SsidSettings")
            reading.result = 2;
        else
            reading.result = action == "SendSettings" ? 3 : -1;
    });
}

Reading read_radio_switch(const Body& body) {
    return read(body, kPolicerData, 4656, [](const Value& root, Reading& reading) {
        const Value& data = need(root, "data", kPolicerData);
        reading.record.number(4652, read_bands(data, 1160, read_radio, reading));
    });
}

Reading read_ssid_settings(const Body& body) {
    return read(body, kPolicerData, 2328, [](const Value& root, Reading& reading) {
        reading.record.number(2324, need(root, "DbhoEnable", kPolicerData).type);
        const Value& data = need(root, "data", kPolicerData);
        reading.record.number(2320, read_bands(data, 1160, read_ssid, reading));
    });
}

Reading read_guide(const Body& body) {
    return read(body, kPolicerData, 4656, [](const Value& root, Reading& reading) {
        const Value& data = need(root, "data", kPolicerData);
        if (const Value* const guide = data.find("guide"))
            reading.record.number(4, guide->type);
        reading.record.number(4648, need(data, "setGuestSsid", kWlan + "guide").type);
        reading.record.number(0, need(data, "DbhoEnable", kWlan + "DbhoEnable").type);
        int count = read_bands(data, 1160, read_guide_network, reading);
        if (const Value* const guest = data.find("guest2g")) {
            const std::size_t base = static_cast<std::size_t>(count) * 1160;
            reading.record.number(base + 480, 3);
            put_percent(*guest, "ID", kGuestWlan + "ID", reading, base + 8, 256);
            put_percent(*guest, "WifiSsid", kGuestWlan + "WifiSsid", reading, base + 264, 40);
            ++count;
        }
        reading.record.number(4652, count);
    });
}

Reading read_guest_network(const Body& body) {
    return read(body, kGuestWlan, 444, [](const Value& root, Reading& reading) {
        const Value& data = need(root, "data", kGuestWlan);
        reading.record.number(440, read_bands(data, 220, read_guest, reading));
    });
}

Reading read_mac_filter(const Body& body) {
    return read(body, kPolicerData, 16548, [](const Value& root, Reading& reading) {
        const Value& data = need(root, "data", kPolicerData);
        reading.record.number(16544, read_bands(data, 8272, read_filter_band, reading));
    });
}

Reading read_time_switch(const Body& body) {
    return read(body, kTimeSwitch, 68, [](const Value& root, Reading& reading) {
        put(reading, 0, 8, need_text(root, "action", kTimeSwitch));
        const Value& data = need(root, "data", kTimeSwitch);
        const Value& schedule = need(data, "datelist", kTimeSwitch);
        put(reading, 48, 16, need_text(schedule, "RepeatDay", kTimeSwitch));
        reading.record.number(44, integer_of(need(schedule, "ID", kTimeSwitch)));
        put(reading, 28, 16, need_text(schedule, "StartTime", kTimeSwitch));
        reading.record.number(8, need(schedule, "Enable", kTimeSwitch).type);
        put(reading, 12, 16, need_text(schedule, "EndTime", kTimeSwitch));
    });
}

Reading read_qos_host(const Body& body) {
    return read(body, kPolicerData, 496, [](const Value& root, Reading& reading) {
        const Value& host = need(root, "data", kPolicerData);
        const auto text = [&](const char* key, std::size_t offset, std::size_t size) {
            put(reading, offset, size, need_text(host, key, kPolicer + key));
        };
        const auto rate = [&](const char* key, std::size_t offset) {
            reading.record.number(offset, decimal_of(need_text(host, key, kPolicer + key)));
        };
        text("QosclassID", 0, 64);
        reading.record.number(64, need(host, "DeviceDownRateEnable", kPolicer + "QosclassID").type);
        reading.record.number(68, integer_of(need(host, "ClassQueue", kPolicer + "ClassQueue")));
        rate("DeviceMaxDownLoadRate", 72);
        text("MACAddress", 76, 32);
        text("HostName", 108, 64);
        text("ActualName", 172, 64);
        text("ID", 236, 256);
        rate("DeviceMaxUpLoadRate", 492);
    });
}

} // namespace fuzz
