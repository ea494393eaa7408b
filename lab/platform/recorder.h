// SPDX-License-Identifier: MIT
#pragma once

#include "event.h"

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace vxp {

/**
 * Numbers the events, hands them to the sinks and keeps what scripts ask for.
 *
 * Each event counts under its name and, where it has one, under its topic: a request as "login",
 * any other as "answer:wan". It satisfies one wait per key, also when it came before anybody waited
 * for it: a script cannot lose a race against a gateway that is quick.
 */
class Recorder {
public:
    /// The sink must outlive the recorder.
    void addSink(EventSink& sink) { m_sinks.push_back(&sink); }

    void record(Event event);

    /// @return the oldest event of the key that no wait has taken yet, or null
    EventPtr take(const std::string& key);

    /// Nothing that happened so far satisfies a wait any more; the key "" stands for all.
    void forget(const std::string& key);

    /// @return the event that the last wait for the key took, else the newest one, else null
    [[nodiscard]] EventPtr subject(const std::string& key) const;

    /// @return how many events of that key there were since the start
    [[nodiscard]] std::uint64_t count(const std::string& key) const;

    [[nodiscard]] const std::map<std::string, std::uint64_t>& counts() const { return m_counts; }

private:
    struct Shelf {
        std::deque<EventPtr> waiting;
        EventPtr taken;
        EventPtr newest;
    };

    void shelve(const std::string& key, const EventPtr& event);

    std::vector<EventSink*> m_sinks;
    std::map<std::string, Shelf> m_shelves;
    std::map<std::string, std::uint64_t> m_counts;
    std::uint64_t m_last = 0;
};

} // namespace vxp
