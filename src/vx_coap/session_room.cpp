// SPDX-License-Identifier: MIT
#include "vx_coap/session_room.h"

#include <cstdlib>
#include <unistd.h>

namespace vxq {

namespace {

// A context with the gateway's resources and a TLS session takes 46 KB on a 64-bit machine.
constexpr std::size_t kSessionBytes = std::size_t{64} * 1024;

/** Two descriptors for a moment. */
class TwoDescriptors {
public:
    TwoDescriptors() : open_(pipe(ends_) == 0) {}
    ~TwoDescriptors() {
        if (!open_)
            return;
        close(ends_[0]);
        close(ends_[1]);
    }
    TwoDescriptors(const TwoDescriptors&) = delete;
    TwoDescriptors& operator=(const TwoDescriptors&) = delete;

    bool open() const { return open_; }

private:
    int ends_[2];
    bool open_;
};

/** A connection, two for waiting, and one for the root certificates or, later, the receive thread.
 */
bool has_descriptors() {
    const TwoDescriptors some;
    const TwoDescriptors more;
    return some.open() && more.open();
}

bool has_memory() {
    // Volatile: the compiler knows that nothing is ever put there, and would not ask.
    void* volatile block = std::malloc(kSessionBytes);
    const bool given = block != nullptr;
    std::free(block);
    return given;
}

} // namespace

bool room_for_session() {
    return has_memory() && has_descriptors();
}

} // namespace vxq
