// SPDX-License-Identifier: MIT
#pragma once

#include "common.h"

#include <cstdint>
#include <functional>
#include <string>

/// The wireless networks of the state file: radios, each with its networks.
namespace vxdevice {

/// VX_BAND_2G or VX_BAND_5G.
std::int32_t band_of(const Json& radio);

/// The radio of a band, or null.
Json* find_radio(Json& state, std::int32_t band);

/// The radio's networks; an empty array is made when there is none.
Json& networks_of(Json& radio);

/// The first network of a band that is a guest network, or that is none; or null.
Json* find_network(Json& state, std::int32_t band, bool guest);

/// The same of a state that is only looked at, as a copy; null when there is none.
Json network_copy(const Json& state, std::int32_t band, bool guest);

/// Calls visit(radio, network) for every network, in the order of the file.
void for_each_network(const Json& state,
                      const std::function<void(const Json& radio, const Json& network)>& visit);

/// Whether a network can be run with these settings: it needs a name of 1 to 32 bytes, and with a
/// WPA pre-shared key one of 8 characters at least.
bool acceptable(const Json& network);

} // namespace vxdevice
