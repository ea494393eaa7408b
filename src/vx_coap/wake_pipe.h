// SPDX-License-Identifier: MIT
#pragma once

/** @file Waiting for libcoap's descriptor in a way that another thread can end. */
namespace vxq {

/** A pipe whose only message is "look again". Lives as long as the process. */
class WakePipe {
public:
    /** Opens the pipe on first use; false when there are no descriptors for it. */
    bool open();
    /** Ends a wait, now or the next one. Callable from any thread. */
    void wake() const;
    /**
     * Waits until `descriptor` has input, wake() is called or the time is over.
     * @param descriptor  -1 to wait for the other two only
     * @return whether `descriptor` has input, or cannot be waited for any more
     */
    bool wait(int descriptor, int milliseconds) const;

private:
    void drain() const;

    int read_end_ = -1;
    int write_end_ = -1;
};

} // namespace vxq
