// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <utility>

namespace vxp {

using Clock = std::chrono::steady_clock;

/// Things to do later, on the thread that runs the event loop.
class Timers {
public:
    void at(Clock::time_point when, std::function<void()> action) {
        m_actions.emplace(when, std::move(action));
    }

    void after(std::chrono::milliseconds delay, std::function<void()> action) {
        at(Clock::now() + delay, std::move(action));
    }

    /// Does what is due; what an action adds is done when the loop comes round again.
    void run(Clock::time_point now) {
        auto due = std::multimap<Clock::time_point, std::function<void()>>{};
        while (!m_actions.empty() && m_actions.begin()->first <= now) {
            due.insert(m_actions.extract(m_actions.begin()));
        }
        for (auto& [when, action] : due) {
            action();
        }
    }

    /// @return when the next action is due; time_point::max() without one
    [[nodiscard]] Clock::time_point next() const {
        return m_actions.empty() ? Clock::time_point::max() : m_actions.begin()->first;
    }

private:
    std::multimap<Clock::time_point, std::function<void()>> m_actions;
};

} // namespace vxp
