// SPDX-License-Identifier: MIT
#include "net_messages.h"

#include <stdexcept>

namespace vxp {

namespace {

constexpr NetExchange exchangeTable[] = {
    {NetRequest::keyMode, "keymode", "keyngreq", false, "keyngack"},
    {NetRequest::keyAgreement, "dh", "dh", false, "dh"},
    {NetRequest::registration, "net-register", "dev_reg", true, typeAck},
    {NetRequest::heartbeat, "net-heartbeat", "keepalive", true, typeAck},
};

constexpr NetRequestToGateway requestTable[] = {
    {"net-wifi", "cfg", "net-wifi.json", "change radios and access points"},
    {"net-wifi-switch", "cfg", "net-wifi-switch.json",
     "turn Wi-Fi and LEDs on or off and replace the Wi-Fi timers (net-timers.json: the timers "
     "only)"},
    {"net-led", "cfg", "net-led.json", "turn the LEDs on or off"},
    {"net-wps", "cfg", "net-wps.json", "turn WPS on or off"},
    {"net-upgrade", "cfg", "net-upgrade.json", "have the firmware upgraded"},
    {"net-status", typeStatusQuery, "net-status.json",
     "ask for radios, access points, switches and timers"},
};

template <typename Row, std::size_t size>
const Row* findRow(const Row (&rows)[size], std::string_view Row::*field, std::string_view value) {
    for (const Row& row : rows) {
        if (row.*field == value) {
            return &row;
        }
    }
    return nullptr;
}

std::string textMember(const Json& document, const char* name) {
    const auto found = document.find(name);
    return found != document.end() && found->is_string() ? found->get<std::string>()
                                                         : std::string{};
}

} // namespace

const NetExchange* findNetExchangeByName(std::string_view name) {
    return findRow(exchangeTable, &NetExchange::name, name);
}

const NetExchange* findNetExchangeByType(std::string_view type) {
    return findRow(exchangeTable, &NetExchange::type, type);
}

std::span<const NetRequestToGateway> netRequestsToGateway() {
    return requestTable;
}

const NetRequestToGateway* findNetRequestToGateway(std::string_view name) {
    return findRow(requestTable, &NetRequestToGateway::name, name);
}

std::optional<Envelope> readEnvelope(std::string_view text) {
    const auto document = parseJson(text);
    if (!document || !document->is_object()) {
        return std::nullopt;
    }
    Envelope envelope;
    envelope.type = textMember(*document, "type");
    envelope.mac = textMember(*document, "mac");
    const auto sequence = document->find("sequence");
    if (sequence != document->end() && sequence->is_number_integer()) {
        envelope.sequence = sequence->get<long long>();
    }
    return envelope;
}

Json writeEnvelope(const Envelope& envelope) {
    Json document = Json::object();
    document["type"] = envelope.type;
    if (envelope.sequence) {
        document["sequence"] = *envelope.sequence;
    }
    document["mac"] = envelope.mac;
    return document;
}

Json wrapBody(const Envelope& envelope, std::string_view body) {
    const auto members = parseJson(body);
    if (!members || !members->is_object()) {
        throw std::runtime_error("the body is no JSON object");
    }
    Json document = writeEnvelope(envelope);
    document.update(*members);
    return document;
}

} // namespace vxp
