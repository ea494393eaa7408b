// SPDX-License-Identifier: MIT
#include "wire.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace netfaults {

namespace {

constexpr std::size_t kLargestPacket = 65536;
constexpr unsigned char kTcp = 6;

int open_end(const Namespace& host) {
    int descriptor = -1;
    host.inside([&] {
        descriptor = open("/dev/net/tun", O_RDWR | O_CLOEXEC | O_NONBLOCK);
        ifreq request{};
        request.ifr_flags = IFF_TUN | IFF_NO_PI;
        std::strcpy(request.ifr_name, "wire");
        if (descriptor < 0 || ioctl(descriptor, TUNSETIFF, &request) != 0)
            throw std::runtime_error(std::string("/dev/net/tun: ") + std::strerror(errno));
    });
    host.ip("link set wire up");
    return descriptor;
}

unsigned byte_at(const std::string& packet, std::size_t index) {
    return static_cast<unsigned char>(packet[index]);
}

bool is_ip4(const std::string& packet) {
    return packet.size() >= 20 && byte_at(packet, 0) >> 4 == 4;
}

/** The gateway's port of a TCP packet; 0 when it is none. */
std::uint16_t gateway_port(const std::string& packet, bool from_gateway) {
    const std::size_t header = (byte_at(packet, 0) & 0x0fU) * 4;
    if (byte_at(packet, 9) != kTcp || packet.size() < header + 4)
        return 0;
    const std::size_t place = header + (from_gateway ? 0 : 2);
    return static_cast<std::uint16_t>(byte_at(packet, place) << 8 | byte_at(packet, place + 1));
}

} // namespace

Wire::Wire(const Namespace& gateway, const Namespace& platform)
    : gateway_(open_end(gateway)),
      platform_(open_end(platform)), directions_{{gateway_, platform_, true, {}},
                                                 {platform_, gateway_, false, {}}},
      thread_([this] { carry(); }) {}

Wire::~Wire() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    wake_.wake();
    thread_.join();
    close(gateway_);
    close(platform_);
}

void Wire::set(const Condition& condition) {
    {
        const std::lock_guard lock(mutex_);
        for (Direction& direction : directions_)
            read(direction);
        condition_ = condition;
    }
    wake_.wake(); // for what was read
}

void Wire::forget_connections() {
    const std::lock_guard lock(mutex_);
    forgotten_.merge(seen_);
    seen_.clear();
}

bool Wire::passes(const std::string& packet, bool from_gateway) {
    if (condition_.broken || !is_ip4(packet))
        return false;
    const std::uint16_t port = gateway_port(packet, from_gateway);
    if (port != 0 && forgotten_.contains(port))
        return false;
    if (port != 0)
        seen_.insert(port);
    return std::uniform_real_distribution<>(0, 1)(random_) >= condition_.loss;
}

void Wire::read(Direction& direction) {
    std::string packet(kLargestPacket, '\0');
    for (;;) {
        const ssize_t size = ::read(direction.from, packet.data(), packet.size());
        if (size <= 0)
            return;
        const std::string taken = packet.substr(0, static_cast<std::size_t>(size));
        if (passes(taken, direction.from_gateway))
            direction.queue.push_back({Clock::now() + condition_.delay, taken});
    }
}

void Wire::write_due(Direction& direction) {
    while (!direction.queue.empty() && direction.queue.front().due <= Clock::now()) {
        const std::string& bytes = direction.queue.front().bytes;
        // A full device drops packets, as a real one does.
        [[maybe_unused]] const ssize_t size = write(direction.to, bytes.data(), bytes.size());
        direction.queue.pop_front();
    }
}

int Wire::milliseconds_to_next() const {
    int result = -1;
    for (const Direction& direction : directions_) {
        if (direction.queue.empty())
            continue;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(direction.queue.front().due -
                                                                       Clock::now());
        const int milliseconds = std::max(0, static_cast<int>(left.count()));
        result = result < 0 ? milliseconds : std::min(result, milliseconds);
    }
    return result;
}

void Wire::carry() {
    for (;;) {
        pollfd waits[] = {
            {gateway_, POLLIN, 0}, {platform_, POLLIN, 0}, {wake_.descriptor(), POLLIN, 0}};
        poll(waits, 3, milliseconds_to_next());
        const std::lock_guard lock(mutex_);
        if (ending_)
            return;
        wake_.take();
        for (Direction& direction : directions_) {
            read(direction);
            write_due(direction);
        }
    }
}

} // namespace netfaults
