// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/**
 * @file
 * What all fuzz targets have in common. A target defines fuzz::run(); libFuzzer calls it with
 * inputs of its own making, the replaying program with those of a corpus.
 */
namespace fuzz {

/** The bytes of an input, taken from the front. An exhausted input gives zeros and empty texts. */
class Input {
public:
    Input(const std::uint8_t* bytes, std::size_t size)
        : left_(reinterpret_cast<const char*>(bytes), size) {}

    std::uint8_t byte();
    /** The next bytes, as many as there are. */
    std::string text(std::size_t length);
    std::string rest() { return text(left_.size()); }
    /** What is left, split at each NUL. */
    std::vector<std::string> pieces();

private:
    std::string_view left_;
};

/**
 * Carries out one input. The target's own; a defect that it finds ends the process, by require() or
 * by an exception.
 */
void run(Input input);

/** Ends the process unless `holds`: the input has shown a defect. */
void require(bool holds, const std::string& what);

/** The daemon's surroundings, afresh for one input: empty fakes, all operations allowed. */
class World {
public:
    World();
    /** Requires that no contract was broken. */
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;
};

} // namespace fuzz
