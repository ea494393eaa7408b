// SPDX-License-Identifier: MIT
#include "recorder.h"

#include <utility>

namespace vxp {

namespace {

/// Bounds what a platform keeps that runs for days while nobody waits for anything.
constexpr std::size_t maxWaiting = 64;

} // namespace

void Recorder::record(Event event) {
    event.number = ++m_last;
    event.time = std::chrono::system_clock::now();
    const auto shared = std::make_shared<const Event>(std::move(event));
    shelve(shared->name, shared);
    if (!shared->topic.empty()) {
        const bool bare = shared->name == "request";
        shelve(bare ? shared->topic : shared->name + ":" + shared->topic, shared);
    }
    for (EventSink* sink : m_sinks) {
        sink->onEvent(*shared);
    }
}

void Recorder::shelve(const std::string& key, const EventPtr& event) {
    ++m_counts[key];
    Shelf& shelf = m_shelves[key];
    shelf.newest = event;
    shelf.waiting.push_back(event);
    if (shelf.waiting.size() > maxWaiting) {
        shelf.waiting.pop_front();
    }
}

EventPtr Recorder::take(const std::string& key) {
    const auto found = m_shelves.find(key);
    if (found == m_shelves.end() || found->second.waiting.empty()) {
        return nullptr;
    }
    Shelf& shelf = found->second;
    shelf.taken = shelf.waiting.front();
    shelf.waiting.pop_front();
    return shelf.taken;
}

void Recorder::forget(const std::string& key) {
    for (auto& [name, shelf] : m_shelves) {
        if (key.empty() || name == key) {
            shelf.waiting.clear();
        }
    }
}

EventPtr Recorder::subject(const std::string& key) const {
    const auto found = m_shelves.find(key);
    if (found == m_shelves.end()) {
        return nullptr;
    }
    return found->second.taken ? found->second.taken : found->second.newest;
}

std::uint64_t Recorder::count(const std::string& key) const {
    const auto found = m_counts.find(key);
    return found == m_counts.end() ? 0 : found->second;
}

} // namespace vxp
