// SPDX-License-Identifier: MIT
#pragma once

/** @file Who may touch libcoap's objects: only the thread that holds `g_coap_lock`. */
namespace vxq {

/**
 * Holds `g_coap_lock`. Inside libcoap's callbacks the calling thread holds it already: then nothing
 * is locked, and nothing released.
 */
class CoapLock {
public:
    CoapLock();
    ~CoapLock();
    CoapLock(const CoapLock&) = delete;
    CoapLock& operator=(const CoapLock&) = delete;

    /** True when the calling thread holds the lock; for assertions. */
    static bool held();

private:
    bool outermost_;
};

} // namespace vxq
