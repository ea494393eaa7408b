// SPDX-License-Identifier: MIT
#include "support/journal.h"

#include <algorithm>
#include <mutex>

namespace fake {

namespace {

struct Content {
    std::mutex mutex;
    std::vector<Entry> entries;
    std::vector<std::string> complaints;
};

Content& content() {
    static Content instance;
    return instance;
}

} // namespace

void Journal::clear() {
    const std::lock_guard guard(content().mutex);
    content().entries.clear();
    content().complaints.clear();
}

void Journal::note(Source source, std::string call, std::vector<unsigned char> record) {
    const std::lock_guard guard(content().mutex);
    content().entries.push_back({source, std::move(call), std::move(record)});
}

std::vector<Entry> Journal::entries() const {
    const std::lock_guard guard(content().mutex);
    return content().entries;
}

std::vector<std::string> Journal::calls(std::initializer_list<Source> sources) const {
    std::vector<std::string> chosen;
    for (Entry& entry : entries()) {
        if (std::find(sources.begin(), sources.end(), entry.source) != sources.end())
            chosen.push_back(std::move(entry.call));
    }
    return chosen;
}

std::vector<std::string> Journal::deeds() const {
    return calls({Source::device, Source::coap, Source::os});
}

void Journal::complain(std::string complaint) {
    const std::lock_guard guard(content().mutex);
    content().complaints.push_back(std::move(complaint));
}

std::vector<std::string> Journal::complaints() const {
    const std::lock_guard guard(content().mutex);
    return content().complaints;
}

Journal& journal() {
    static Journal instance;
    return instance;
}

std::string quoted(const std::string& text) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string literal = "\"";
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '"' || character == '\\')
            literal += {'\\', character};
        else if (character == '\n')
            literal += "\\n";
        else if (character == '\t')
            literal += "\\t";
        else if (byte < 0x20)
            literal += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
        else
            literal += character;
    }
    return literal + '"';
}

} // namespace fake
