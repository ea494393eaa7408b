// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/**
 * @file
 * The heap of the whole test program, with malloc and its kind defined here. It knows who asks:
 * only the daemon and the libraries that it stands on are counted and refused, never the test and
 * its fakes, which take their memory through operator new. Requests whose refusal ends the process
 * inside libcoap are not refused; docs/known-issues.md has them.
 */
namespace starvation {

/** The parts of the program that memory is counted for. */
enum class Owner { daemon, json, coap, crypto, system, none };

/**
 * The calling thread's memory while the object lives: requests are counted from 0, and those from
 * `first` to `last` are refused. One at a time on a thread.
 */
class Ration {
public:
    /** Refuses nothing. */
    Ration();
    Ration(long first, long last);
    ~Ration();
    Ration(const Ration&) = delete;
    Ration& operator=(const Ration&) = delete;

    [[nodiscard]] static long requests();
    [[nodiscard]] static bool refused();
};

/** While the object lives nothing is refused on this thread, and nothing counted. */
class Spared {
public:
    Spared();
    ~Spared();
    Spared(const Spared&) = delete;
    Spared& operator=(const Spared&) = delete;

private:
    bool active_;
};

inline constexpr long kForGood = 0x7fffffff;

/** Who was refused last on this thread: "function in library". */
std::string refused_caller();

/** Blocks of the daemon and its libraries that haven't been freed, of all threads. */
long live_blocks();
/** The callers of those that have been allocated since the last mark(), for the message. */
void mark();
std::string live_since_mark();

/** False where the heap cannot be stood in for; nothing is counted or refused then. */
bool heap_is_ours();

} // namespace starvation
