// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/** @file What a measurement can set in the gateway that answers from memory. */
namespace bench {

/** Lies in a file that all processes of a measurement share (BENCH_GATEWAY). */
struct GatewaySize {
    std::int32_t hosts;   ///< of HostInfo
    std::int32_t filters; ///< of each band's MAC filter
};

} // namespace bench

extern "C" {
/** The sizes that the library answers with from now on. */
__attribute__((visibility("default"))) bench::GatewaySize* bench_gateway_size();
}
