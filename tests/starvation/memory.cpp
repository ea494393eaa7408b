// SPDX-License-Identifier: MIT
#include "memory.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <string_view>
#include <utility>

#include <dlfcn.h>
#include <link.h>
#include <unwind.h>

namespace starvation {

namespace {

struct Heap {
    void* (*allocate)(std::size_t);
    void* (*allocate_zeroed)(std::size_t, std::size_t);
    void* (*resize)(void*, std::size_t);
    int (*allocate_aligned)(void**, std::size_t, std::size_t);
    void (*release)(void*);
};

Heap s_heap;
bool s_looking = false; // for the heap, on the process's only thread

// What the loader asks for while it looks for the heap; never given back.
alignas(std::max_align_t) char s_first_bytes[16 * 1024];
std::size_t s_first_used = 0;

bool is_of_first(const void* block) {
    return block >= s_first_bytes && block < s_first_bytes + sizeof s_first_bytes;
}

void* take_of_first(std::size_t size) {
    const std::size_t begin = s_first_used;
    s_first_used += (size + alignof(std::max_align_t) - 1) & ~(alignof(std::max_align_t) - 1);
    return s_first_used <= sizeof s_first_bytes ? s_first_bytes + begin : nullptr;
}

template <typename Function>
void find(Function& function, const char* name) {
    function = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/** The heap behind this one: the C library's, or a sanitizer's in front of it. */
bool find_heap() {
    if (s_heap.release != nullptr)
        return true;
    if (s_looking)
        return false;
    s_looking = true;
    Heap heap{};
    find(heap.allocate, "malloc");
    find(heap.allocate_zeroed, "calloc");
    find(heap.resize, "realloc");
    find(heap.allocate_aligned, "posix_memalign");
    find(heap.release, "free");
    s_heap = heap;
    s_looking = false;
    return true;
}

/** Where a library lies in memory. */
struct Range {
    std::uintptr_t begin;
    std::uintptr_t end;
    Owner owner;
};

std::array<Range, 16> s_ranges{};
std::atomic<std::size_t> s_range_count{0};

struct LibraryName {
    const char* part;
    Owner owner;
};

constexpr LibraryName kLibraries[] = {
    {"/libcjson", Owner::json},    {"/libcoap", Owner::coap},   {"/libssl", Owner::crypto},
    {"/libcrypto", Owner::crypto}, {"/libc.so", Owner::system},
};

Owner owner_of_library(const char* path) {
    if (*path == '\0')
        return Owner::daemon; // the program itself
    for (const LibraryName& library : kLibraries) {
        if (std::strstr(path, library.part) != nullptr)
            return library.owner;
    }
    return Owner::none;
}

int learn(dl_phdr_info* info, std::size_t, void*) {
    const Owner owner = owner_of_library(info->dlpi_name);
    for (int index = 0; index < info->dlpi_phnum; ++index) {
        const auto& header = info->dlpi_phdr[index];
        if (owner == Owner::none || header.p_type != PT_LOAD || (header.p_flags & PF_X) == 0)
            continue;
        const std::uintptr_t begin = info->dlpi_addr + header.p_vaddr;
        s_ranges.at(s_range_count) = {begin, begin + header.p_memsz, owner};
        ++s_range_count;
    }
    return 0;
}

// Until then nobody is counted: what libraries take when they are loaded stays with them.
const bool s_learnt = dl_iterate_phdr(learn, nullptr) == 0;

Owner owner_of(const void* caller) {
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    const std::size_t count = s_range_count;
    for (std::size_t index = 0; index < count; ++index) {
        if (address >= s_ranges[index].begin && address < s_ranges[index].end)
            return s_ranges[index].owner;
    }
    return Owner::none;
}

/** The library's function in which an address lies, as far as the library tells. */
const char* function_at(const void* address, const char*& library) {
    Dl_info info{};
    library = "";
    if (dladdr(address, &info) == 0)
        return "";
    const char* const slash = std::strrchr(info.dli_fname, '/');
    library = slash != nullptr ? slash + 1 : info.dli_fname;
    return info.dli_sname != nullptr ? info.dli_sname : "?";
}

std::string describe(const void* caller) {
    const char* library = nullptr;
    const char* const function = function_at(caller, library);
    return std::string(function) + " in " + library;
}

/** A block that belongs to the daemon or one of its libraries. */
struct Block {
    const void* address;
    const void* caller;
    long serial;
};

constexpr std::size_t kSlots = std::size_t{1} << 16;
std::array<Block, kSlots> s_blocks{};
std::atomic_flag s_busy = ATOMIC_FLAG_INIT;
long s_live = 0;
long s_serial = 0;
long s_mark = 0;

/** The table of blocks belongs to one thread at a time; nothing is allocated meanwhile. */
class Table {
public:
    Table() {
        while (s_busy.test_and_set(std::memory_order_acquire)) {
        }
    }
    ~Table() { s_busy.clear(std::memory_order_release); }
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

    static void add(const void* address, const void* caller) {
        std::size_t slot = first_slot(address);
        while (s_blocks[slot].address != nullptr)
            slot = (slot + 1) % kSlots;
        s_blocks[slot] = {address, caller, ++s_serial};
        ++s_live;
    }

    static void remove(const void* address) {
        std::size_t slot = first_slot(address);
        while (s_blocks[slot].address != address) {
            if (s_blocks[slot].address == nullptr)
                return;
            slot = (slot + 1) % kSlots;
        }
        --s_live;
        close_gap(slot);
    }

private:
    static std::size_t first_slot(const void* address) {
        const auto number = reinterpret_cast<std::uintptr_t>(address);
        return (number / 16 * 40503U) % kSlots;
    }

    /** Moves what was displaced by the removed block, so that searches still find it. */
    static void close_gap(std::size_t gap) {
        s_blocks[gap].address = nullptr;
        for (std::size_t slot = (gap + 1) % kSlots; s_blocks[slot].address != nullptr;
             slot = (slot + 1) % kSlots) {
            const std::size_t wanted = first_slot(s_blocks[slot].address);
            const bool reachable =
                gap <= slot ? gap < wanted && wanted <= slot : gap < wanted || wanted <= slot;
            if (reachable)
                continue;
            s_blocks[gap] = s_blocks[slot];
            s_blocks[slot].address = nullptr;
            gap = slot;
        }
    }
};

struct Plan {
    bool active = false;
    long requests = 0;
    long first = kForGood;
    long last = kForGood;
    const void* refused = nullptr;
};

thread_local Plan t_plan;

/** A request of libcoap's hash tables, which call exit when it is refused. */
bool ends_the_process(const void* caller, std::size_t size) {
    constexpr std::size_t kTable = 64;    // of 64-bit machines, and
    constexpr std::size_t kBuckets = 512; // what it begins with
    if (size != kTable && size != kBuckets)
        return false;
    const char* library = nullptr;
    const std::string function = function_at(caller, library);
    return function == "coap_add_resource" || function == "?"; // sessions: a function of its own
}

/** A look at the callers, from the nearest on. */
struct Look {
    int frames = 0;
    bool for_session = false;
    bool granted = false;
};

_Unwind_Reason_Code look_at_frame(_Unwind_Context* context, void* place) {
    constexpr int kFarthest = 12;
    auto& look = *static_cast<Look*>(place);
    const char* library = nullptr;
    const std::string_view function =
        function_at(reinterpret_cast<const void*>(_Unwind_GetIP(context)), library);
    if (function == "CRYPTO_set_ex_data" || function == "X509_VERIFY_PARAM_new")
        look.for_session = true;
    const bool inside_coap = function == "coap_io_do_epoll";
    look.granted = inside_coap && look.for_session;
    return inside_coap || ++look.frames == kFarthest ? _URC_END_OF_STACK : _URC_NO_REASON;
}

/** A request for a new TLS session: libcoap, inside its processing, uses it without a look. */
bool is_taken_for_granted() {
    Look look;
    _Unwind_Backtrace(look_at_frame, &look);
    return look.granted;
}

bool refuse(Owner owner, const void* caller, std::size_t size) {
    if (!t_plan.active || owner == Owner::none)
        return false;
    if (owner == Owner::coap && ends_the_process(caller, size))
        return false;
    const long request = t_plan.requests++;
    if (request < t_plan.first || request > t_plan.last)
        return false;
    if (owner == Owner::crypto && is_taken_for_granted())
        return false;
    t_plan.refused = caller;
    errno = ENOMEM;
    return true;
}

void note(void* block, Owner owner, const void* caller) {
    if (block == nullptr || owner == Owner::none)
        return;
    const Table table;
    Table::add(block, caller);
}

void forget(const void* block) {
    const Table table;
    Table::remove(block);
}

} // namespace

Ration::Ration() : Ration(kForGood, kForGood) {}

Ration::Ration(long first, long last) {
    t_plan = {true, 0, first, last, nullptr};
}

Ration::~Ration() {
    t_plan.active = false;
}

long Ration::requests() {
    return t_plan.requests;
}

bool Ration::refused() {
    return t_plan.refused != nullptr;
}

Spared::Spared() : active_(std::exchange(t_plan.active, false)) {}

Spared::~Spared() {
    t_plan.active = active_;
}

std::string refused_caller() {
    return t_plan.refused != nullptr ? describe(t_plan.refused) : "nobody";
}

long live_blocks() {
    const Table table;
    return s_live;
}

void mark() {
    const Table table;
    s_mark = s_serial;
}

std::string live_since_mark() {
    std::map<std::string, int> callers;
    // operator new is nobody's, so the table does not change under this.
    for (const Block& block : s_blocks) {
        if (block.address != nullptr && block.serial > s_mark)
            ++callers[describe(block.caller)];
    }
    std::string text;
    for (const auto& [caller, count] : callers)
        text += std::to_string(count) + " by " + caller + "\n";
    return text;
}

bool heap_is_ours() {
    return s_learnt && s_range_count != 0 && s_heap.release != nullptr;
}

} // namespace starvation

using namespace starvation;

extern "C" {

void* malloc(std::size_t size) noexcept {
    if (!find_heap())
        return take_of_first(size);
    const void* const caller = __builtin_return_address(0);
    const Owner owner = owner_of(caller);
    if (refuse(owner, caller, size))
        return nullptr;
    void* const block = s_heap.allocate(size);
    note(block, owner, caller);
    return block;
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    if (!find_heap())
        return take_of_first(count * size);
    const void* const caller = __builtin_return_address(0);
    const Owner owner = owner_of(caller);
    if (refuse(owner, caller, count * size))
        return nullptr;
    void* const block = s_heap.allocate_zeroed(count, size);
    note(block, owner, caller);
    return block;
}

void* realloc(void* old, std::size_t size) noexcept {
    const void* const caller = __builtin_return_address(0);
    const Owner owner = owner_of(caller);
    if (!find_heap() || is_of_first(old) || refuse(owner, caller, size))
        return nullptr;
    forget(old);
    void* const block = s_heap.resize(old, size);
    note(block != nullptr || size == 0 ? block : old, owner, caller);
    return block;
}

int posix_memalign(void** out, std::size_t alignment, std::size_t size) noexcept {
    const void* const caller = __builtin_return_address(0);
    const Owner owner = owner_of(caller);
    if (!find_heap() || refuse(owner, caller, size))
        return ENOMEM;
    const int error = s_heap.allocate_aligned(out, alignment, size);
    if (error == 0)
        note(*out, owner, caller);
    return error;
}

void free(void* block) noexcept {
    if (block == nullptr || is_of_first(block) || !find_heap())
        return;
    forget(block);
    s_heap.release(block);
}
}
