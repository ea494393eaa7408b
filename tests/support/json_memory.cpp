// SPDX-License-Identifier: MIT
#include "support/json_memory.h"

#include <cstdlib>
#include <limits>

#include <cJSON.h>

namespace {

constexpr long kNever = std::numeric_limits<long>::max();

// cJSON's hooks take no argument of their own.
struct {
    long blocks = 0;
    long requests = 0;
    long first_refused = kNever;
    long last_refused = kNever;
    bool refused = false;
} s_memory;

void* counted_malloc(std::size_t size) {
    const long request = s_memory.requests++;
    if (request >= s_memory.first_refused && request <= s_memory.last_refused) {
        s_memory.refused = true;
        return nullptr;
    }
    ++s_memory.blocks;
    return std::malloc(size);
}

void counted_free(void* block) {
    if (block != nullptr)
        --s_memory.blocks;
    std::free(block);
}

void refuse_requests(long first, long last) {
    s_memory.requests = 0;
    s_memory.first_refused = first;
    s_memory.last_refused = last;
    s_memory.refused = false;
}

} // namespace

JsonMemory::JsonMemory() {
    s_memory = {};
    cJSON_Hooks hooks{counted_malloc, counted_free};
    cJSON_InitHooks(&hooks);
}

JsonMemory::~JsonMemory() {
    cJSON_InitHooks(nullptr);
}

void JsonMemory::refuse(long request) {
    refuse_requests(request, request);
}

void JsonMemory::refuse_from(long request) {
    refuse_requests(request, kNever);
}

void JsonMemory::refuse_none() {
    refuse_requests(kNever, kNever);
}

bool JsonMemory::refused() const {
    return s_memory.refused;
}

long JsonMemory::in_use() const {
    return s_memory.blocks;
}
