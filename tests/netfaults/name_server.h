// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <thread>

#include "namespace.h"
#include "wake.h"

/** @file A name server whose every answer the test decides on. */
namespace netfaults {

/** What a question is answered with. */
enum class Answer {
    address,
    no_such_name,   ///< NXDOMAIN
    server_failure, ///< SERVFAIL
    none,
};

/** Serves port 53 of an address; every name has the same address. */
class NameServer {
public:
    NameServer(const Namespace& host, const std::string& listen);
    ~NameServer();
    NameServer(const NameServer&) = delete;
    NameServer& operator=(const NameServer&) = delete;

    /** Holds until changed. */
    void set(Answer answer, const std::string& address = "",
             std::chrono::milliseconds delay = std::chrono::milliseconds(0));

private:
    void serve();
    void answer_one();

    int descriptor_ = -1;
    Wake wake_;
    std::mutex mutex_; ///< of what follows
    Answer answer_ = Answer::none;
    std::string address_;
    std::chrono::milliseconds delay_{0};
    bool ending_ = false;
    std::thread thread_;
};

} // namespace netfaults
