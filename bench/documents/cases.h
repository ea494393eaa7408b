// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>

/** @file The documents and bodies that are measured, each in the daemon's form and in the plain
 * one. */
namespace bench {

struct Case {
    std::string name;
    int hosts;   ///< of HostInfo
    int filters; ///< of each band's MAC filter
    /** The text, to be freed with cJSON_free; null for a body that is read. */
    char* (*ours)(const std::string& body);
    char* (*plain)(const std::string& body);
    std::string body = {}; ///< what a parser reads
};

/** All cases, checked: both sides make the same text. Ends the process for one that does not. */
std::span<const Case> cases();

/** Sets the gateway's sizes, then runs one side once. */
void prepare(const Case& one);
void run(char* (*side)(const std::string&), const Case& one);

} // namespace bench
