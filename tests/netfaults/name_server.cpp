// SPDX-License-Identifier: MIT
#include "name_server.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace netfaults {

namespace {

constexpr std::size_t kHeader = 12;

/** The length of header and question; 0 when it is none. */
std::size_t question_length(const std::string& query) {
    for (std::size_t at = kHeader; at < query.size();) {
        const auto label = static_cast<unsigned char>(query[at]);
        if (label == 0)
            return at + 5 <= query.size() ? at + 5 : 0;
        at += label + std::size_t{1};
    }
    return 0;
}

std::string response(const std::string& query, Answer answer, const std::string& address) {
    std::string result = query.substr(0, question_length(query));
    const bool found = answer == Answer::address;
    const int code = found ? 0 : answer == Answer::no_such_name ? 3 : 2;
    result[2] = '\x81'; // a response; recursion was desired
    result[3] = static_cast<char>(0x80 | code);
    result.replace(4, 8, std::string("\0\1\0\0\0\0\0\0", 8)); // one question, nothing else
    if (!found)
        return result;
    result[7] = '\1';
    // The question's name, type A, class IN, 0 s to live, four bytes.
    result += std::string("\xc0\x0c\0\1\0\1\0\0\0\0\0\4", 12);
    in_addr number{};
    inet_pton(AF_INET, address.c_str(), &number);
    return result.append(reinterpret_cast<const char*>(&number), sizeof number);
}

} // namespace

NameServer::NameServer(const Namespace& host, const std::string& listen) {
    host.inside([&] {
        descriptor_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(53);
        inet_pton(AF_INET, listen.c_str(), &address.sin_addr);
        if (bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            throw std::runtime_error(std::string("port 53: ") + std::strerror(errno));
    });
    thread_ = std::thread([this] { serve(); });
}

NameServer::~NameServer() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    wake_.wake();
    thread_.join();
    close(descriptor_);
}

void NameServer::set(Answer answer, const std::string& address, std::chrono::milliseconds delay) {
    const std::lock_guard lock(mutex_);
    answer_ = answer;
    address_ = address;
    delay_ = delay;
}

void NameServer::answer_one() {
    char buffer[512];
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    const ssize_t length =
        recvfrom(descriptor_, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&peer), &size);
    const std::string query(buffer, length > 0 ? static_cast<std::size_t>(length) : 0);
    if (question_length(query) == 0)
        return;
    std::unique_lock lock(mutex_);
    if (answer_ == Answer::none)
        return;
    const std::string reply = response(query, answer_, address_);
    const auto delay = static_cast<int>(delay_.count());
    lock.unlock();
    // One question at a time is all that a gateway has.
    pollfd end{wake_.descriptor(), POLLIN, 0};
    poll(&end, 1, delay);
    sendto(descriptor_, reply.data(), reply.size(), 0, reinterpret_cast<sockaddr*>(&peer), size);
}

void NameServer::serve() {
    for (;;) {
        pollfd waits[] = {{descriptor_, POLLIN, 0}, {wake_.descriptor(), POLLIN, 0}};
        poll(waits, 2, -1);
        {
            const std::lock_guard lock(mutex_);
            if (ending_)
                return;
        }
        if ((waits[0].revents & POLLIN) != 0)
            answer_one();
    }
}

} // namespace netfaults
