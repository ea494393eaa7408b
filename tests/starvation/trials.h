// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "memory.h"

/** @file The same course of events with the memory running out at each request for some. */
namespace starvation {

/** Something that the daemon does. */
class Course {
public:
    virtual ~Course() = default;

    /** Whatever must be there before; there is memory. */
    virtual void prepare() {}
    /** What the daemon does while memory is short. */
    virtual void go() = 0;
    /** What has become of it; there is memory again. */
    virtual std::string outcome() = 0;
    /** Ends everything that prepare() has begun, and all that came of it. */
    virtual void finish() {}
    /** Whether it takes the same requests for memory each time. */
    [[nodiscard]] virtual bool is_steady() const { return true; }
    /** How many of its requests are tried. */
    [[nodiscard]] virtual long most_requests() const { return kForGood; }
    /** One in so many of them is, unless VXQUILAN_STARVATION=all. */
    [[nodiscard]] virtual long stride() const { return 1; }
    /** Whether libcoap may lose something before the daemon hears of it, and tell so by itself. */
    [[nodiscard]] virtual bool is_begun_by_coap() const { return false; }
};

/**
 * Lets each of the requests for memory fail, first by itself and then together with all behind it.
 * Whenever that changes the outcome there must be a complaint in the log, every time all memory
 * must come back, and the next course must have the ordinary outcome.
 *
 * @param figure  under which name trials and losses are added up for the end
 */
void expect_survived(const std::string& figure, Course& course);

/** Adds trials to a figure that is made up elsewhere. */
void add_to_figure(const std::string& figure, long trials, long lost);

} // namespace starvation
