// SPDX-License-Identifier: MIT
#include "os/random.h"

#include <cstdint>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace vxq {

namespace {

bool read_random(std::uint32_t& number) {
    const int source = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
    if (source < 0)
        return false;
    const bool whole = read(source, &number, sizeof number) == ssize_t{sizeof number};
    close(source);
    return whole;
}

std::uint32_t number_of_the_moment() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    constexpr std::uint32_t kSpread = 2654435761U; // neighbours end up far from each other
    return (static_cast<std::uint32_t>(now.tv_nsec) ^ static_cast<std::uint32_t>(getpid())) *
           kSpread;
}

} // namespace

unsigned random_up_to(unsigned limit) {
    std::uint32_t number = 0;
    if (!read_random(number))
        number = number_of_the_moment();
    return static_cast<unsigned>(number % (limit + 1U));
}

} // namespace vxq
