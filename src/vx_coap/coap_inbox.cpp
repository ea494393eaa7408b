// SPDX-License-Identifier: MIT
#include "vx_coap/coap_inbox.h"

#include <cassert>
#include <cstdlib>
#include <new>
#include <utility>

#include "vx_coap/coap_lock.h"
#include "vx_coap/coap_options.h"

namespace vxq {

namespace {

// libcoap reads as long as there is input, so a flood must not fill the gateway's memory. A burst
// of a thousand requests has room.
constexpr std::size_t kCapacity = std::size_t{1} << 20;
// What a message costs beyond its body, or an event altogether.
constexpr std::size_t kOverhead = 512;

struct Entry {
    Arrival arrival;
    std::size_t size;
    Entry* next = nullptr;
};

struct DeleteEntry {
    void operator()(Entry* entry) const {
        entry->~Entry();
        std::free(entry);
    }
};

Entry* s_first = nullptr;
Entry** s_end = &s_first; // where the next one goes
std::size_t s_size = 0;

/** Room for an option, however large its number and length are written. */
constexpr std::size_t kOptionHeader = 5;

/** A copy without what no handler looks at. */
Message copy_of(const coap_pdu_t* original, std::size_t length, const std::uint8_t* data) {
    const Identity identity = identity_of(original);
    std::size_t size = 1 + length;
    for (const OptionValue& value : identity.values)
        size += kOptionHeader + value.length;
    Message copy(coap_pdu_init(coap_pdu_get_type(original), coap_pdu_get_code(original),
                               coap_pdu_get_mid(original), size));
    bool whole = copy && add_identity(copy.get(), identity);
    if (whole && length != 0)
        whole = coap_add_data(copy.get(), length, data) != 0;
    return whole ? std::move(copy) : nullptr;
}

bool append(Arrival arrival, std::size_t size) {
    assert(CoapLock::held());
    void* const memory = std::malloc(sizeof(Entry));
    if (memory == nullptr)
        return false;
    *s_end = new (memory) Entry{std::move(arrival), size};
    s_end = &(*s_end)->next;
    s_size += size;
    return true;
}

} // namespace

bool inbox_keep(coap_session_t* session, coap_resource_t* resource, const coap_pdu_t* message) {
    std::size_t length = 0;
    const std::uint8_t* data = nullptr;
    coap_get_data(message, &length, &data);
    // One message that libcoap has taken has room here, too, however large it is.
    if (s_size != 0 && s_size + kOverhead + length > kCapacity)
        return false;
    Message copy = copy_of(message, length, data);
    return copy && append({session, resource, {}, std::move(copy)}, kOverhead + length);
}

bool inbox_keep_event(coap_session_t* session, coap_event_t event) {
    return append({session, nullptr, event, nullptr}, kOverhead);
}

bool inbox_empty() {
    return s_first == nullptr;
}

bool inbox_take(Arrival& arrival) {
    assert(CoapLock::held());
    const std::unique_ptr<Entry, DeleteEntry> entry(s_first);
    if (!entry)
        return false;
    s_first = entry->next;
    if (s_first == nullptr)
        s_end = &s_first;
    s_size -= entry->size;
    arrival = std::move(entry->arrival);
    return true;
}

} // namespace vxq
