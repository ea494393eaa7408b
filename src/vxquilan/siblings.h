// SPDX-License-Identifier: MIT
#pragma once

/** @file The daemons that run beside this one on some gateways. */
namespace vxq {

/** The device mode in which statpush runs. */
inline constexpr int kModeWithStatpush = 1;

/**
 * Restarts the regional daemon that the gateway's area code asks for; most areas have none. This
 * daemon goes on in every case.
 */
void start_area_sibling();

/** Restarts statpush in mode 1, ends it in any other. */
void switch_statpush(int mode);

} // namespace vxq
