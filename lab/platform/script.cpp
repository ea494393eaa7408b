// SPDX-License-Identifier: MIT
#include "script.h"

#include "platform.h"
#include "text.h"

#include <fmt/format.h>

#include <filesystem>
#include <iterator>
#include <utility>

namespace vxp {

namespace {

/// Scripts that call themselves end here instead of in want of memory.
constexpr std::size_t maxQueued = 100000;

/// Rethrows with the place in front; the kind of error stays.
template <typename Work>
auto atPlace(const std::string& place, Work work) {
    try {
        return work();
    } catch (const UsageError& error) {
        throw UsageError(fmt::format("{}: {}", place, error.what()));
    } catch (const std::runtime_error& error) {
        throw StepFailed(fmt::format("{}: {}", place, error.what()));
    }
}

} // namespace

std::string ScriptLine::place() const {
    return fmt::format("{}:{}", source, number);
}

std::vector<ScriptLine> parseScript(const std::string& source, std::string_view text,
                                    const std::string& directory, int firstNumber) {
    std::vector<ScriptLine> lines;
    for (int number = firstNumber; !text.empty(); ++number) {
        const std::size_t end = text.find('\n');
        const std::string_view line = trimmed(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
        if (line.empty() || line.front() == '#') {
            continue;
        }
        ScriptLine result{source, number, std::string(line), {}};
        result.step = atPlace(
            result.place(), [&] { return parseCommand(Arguments(std::string(line), directory)); });
        lines.push_back(std::move(result));
    }
    return lines;
}

std::vector<ScriptLine> loadScript(const std::string& path) {
    std::string text;
    try {
        text = readFile(path);
    } catch (const std::runtime_error& error) {
        throw UsageError(error.what());
    }
    return parseScript(path, text, std::filesystem::path(path).parent_path().string());
}

void ScriptRunner::append(std::vector<ScriptLine> lines) {
    m_lines.insert(m_lines.end(), std::make_move_iterator(lines.begin()),
                   std::make_move_iterator(lines.end()));
}

void ScriptRunner::prepend(std::vector<ScriptLine> lines) {
    if (m_lines.size() + lines.size() > maxQueued) {
        throw StepFailed("too many commands; does a script run itself?");
    }
    m_lines.insert(m_lines.begin(), std::make_move_iterator(lines.begin()),
                   std::make_move_iterator(lines.end()));
}

void ScriptRunner::abandonScripts() {
    std::erase_if(m_lines, [](const ScriptLine& line) { return line.source != promptSource; });
}

bool ScriptRunner::waited(Platform& platform) {
    if (m_waiting->done(platform)) {
        return true;
    }
    if (Clock::now() < m_waiting->deadline) {
        return false;
    }
    if (!m_waiting->failure.empty()) {
        throw StepFailed(m_waiting->failure);
    }
    return true;
}

void ScriptRunner::advance(Platform& platform) {
    while (!platform.exiting()) {
        if (m_waiting) {
            try {
                if (!atPlace(m_place, [&] { return waited(platform); })) {
                    return;
                }
            } catch (...) {
                m_waiting.reset();
                throw;
            }
            m_waiting.reset();
        }
        if (m_lines.empty()) {
            return;
        }
        const ScriptLine line = std::move(m_lines.front());
        m_lines.pop_front();
        m_place = line.place();
        platform.noteCommand(line);
        m_waiting = atPlace(m_place, [&] { return line.step(platform); });
    }
}

Clock::time_point ScriptRunner::deadline() const {
    return m_waiting ? m_waiting->deadline : Clock::time_point::max();
}

} // namespace vxp
