// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

/**
 * @file
 * One ordered record of everything that the daemon does to the world around it. All fakes write
 * into it, so a test can assert an order that spans several of them: the answer goes out before the
 * device library acts.
 */
namespace fake {

/** Who was called. */
enum class Source {
    device, ///< the device library, operations that change something
    query,  ///< the device library, operations that only ask
    coap,   ///< the CoAP transport
    serve,  ///< the CoAP transport, resources to serve
    os,     ///< processes and threads
    sleep,  ///< waiting
    log     ///< the log
};

struct Entry {
    Source source;
    std::string call;                  ///< as it would stand in a program: f("text", 3)
    std::vector<unsigned char> record; ///< the bytes of a record that was passed in
};

/** Thread-safe. */
class Journal {
public:
    void clear();
    void note(Source source, std::string call, std::vector<unsigned char> record = {});
    [[nodiscard]] std::vector<Entry> entries() const;
    /** The calls of some sources only, in order. */
    [[nodiscard]] std::vector<std::string> calls(std::initializer_list<Source> sources) const;
    /** Everything but queries, resources, waiting and the log. */
    [[nodiscard]] std::vector<std::string> deeds() const;

    /** Notes something that no test may pass over: a call that breaks a contract, or unexpected. */
    void complain(std::string complaint);
    [[nodiscard]] std::vector<std::string> complaints() const;
};

Journal& journal();

/** A text as a literal; only quotes, backslashes and control characters are escaped. */
std::string quoted(const std::string& text);

} // namespace fake
