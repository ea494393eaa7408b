// SPDX-License-Identifier: MIT
// Counts the heap in use of the program that it is preloaded into, to the byte: the bytes that were
// asked for and not given back yet, all threads together. The C library's own figures count whole
// chunks, which for the same request are 16 bytes larger now and then.
//
//   SOAK_HEAP  file for a HeapCount, which others read while the program runs
//
// Each block is asked for with eight bytes more, and its last eight bytes say what was wanted, and
// whether the dynamic loader wanted it. That keeps a record for each stack, and the C library keeps
// the stacks of threads that have ended: as many as have ever lived at the same time.

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <link.h>
#include <malloc.h>
#include <sys/auxv.h>

#include "shared.h"
#include "shared_file.h"

#define EXPORTED __attribute__((visibility("default")))

extern "C" {
// The C library's own allocator, by the names that it keeps for those who stand in its place.
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}

namespace {

constexpr std::size_t kNote = 8;
constexpr std::uint64_t kProgram = 0x50A4ULL << 48;
constexpr std::uint64_t kLoader = 0x50A5ULL << 48;
constexpr std::uint64_t kSizeMask = (1ULL << 48) - 1;

soak::HeapCount s_early; // of what is allocated before the file is there
soak::HeapCount* s_count = &s_early;

// Where the loader's code lies; nowhere until that is known.
std::uintptr_t s_loader_begin = 0;
std::uintptr_t s_loader_end = 0;

std::uint64_t mark_of(const void* caller) {
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    return address >= s_loader_begin && address < s_loader_end ? kLoader : kProgram;
}

soak::HeapShare& share_of(std::uint64_t mark) {
    return mark == kLoader ? s_count->loader : s_count->program;
}

std::size_t usable_size(void* block) {
    // The chunk's size lies in front of the block; the C library's function of that name is hidden
    // by the one below.
    std::size_t size;
    std::memcpy(&size, static_cast<char*>(block) - sizeof size, sizeof size);
    constexpr std::size_t kFlags = 7, kMapped = 2;
    return (size & ~kFlags) - ((size & kMapped) != 0 ? 2 : 1) * sizeof size;
}

/** What to ask for so that the note fits in; too much stays too much. */
std::size_t with_note(std::size_t size) {
    return size <= SIZE_MAX - kNote ? size + kNote : size;
}

char* note_of(void* block) {
    return static_cast<char*>(block) + usable_size(block) - kNote;
}

void* enter(void* block, std::size_t size, std::uint64_t mark) {
    if (block == nullptr)
        return nullptr;
    const std::uint64_t note = mark | size;
    std::memcpy(note_of(block), &note, kNote);
    share_of(mark).bytes += static_cast<std::int64_t>(size);
    ++share_of(mark).blocks;
    return block;
}

/** Takes a block off the books, and gives its note; 0 for one that the program did not get here. */
std::uint64_t leave(void* block) {
    std::uint64_t note;
    std::memcpy(&note, note_of(block), kNote);
    const std::uint64_t mark = note & ~kSizeMask;
    if (mark != kProgram && mark != kLoader) {
        ++s_count->strange;
        return 0;
    }
    std::memset(note_of(block), 0, kNote);
    share_of(mark).bytes -= static_cast<std::int64_t>(note & kSizeMask);
    --share_of(mark).blocks;
    return note;
}

int find_loader(dl_phdr_info* library, std::size_t, void* base) {
    if (library->dlpi_addr != *static_cast<const ElfW(Addr)*>(base))
        return 0;
    s_loader_begin = library->dlpi_addr;
    for (int index = 0; index < library->dlpi_phnum; ++index) {
        const ElfW(Phdr)& part = library->dlpi_phdr[index];
        if (part.p_type == PT_LOAD)
            s_loader_end = library->dlpi_addr + part.p_vaddr + part.p_memsz;
    }
    return 1;
}

void keep(soak::HeapShare& place, const soak::HeapShare& early) {
    place.bytes = early.bytes.load();
    place.blocks = early.blocks.load();
}

__attribute__((constructor)) void open_count() {
    auto* const count = bench::map_shared_file<soak::HeapCount>("SOAK_HEAP");
    unsetenv("SOAK_HEAP"); // programs that this one starts are not counted
    if (count == nullptr)
        return;
    keep(count->program, s_early.program);
    keep(count->loader, s_early.loader);
    count->strange = s_early.strange.load();
    s_count = count;
    ElfW(Addr) base = getauxval(AT_BASE);
    dl_iterate_phdr(find_loader, &base);
}

} // namespace

extern "C" {

EXPORTED void* malloc(std::size_t size) {
    return enter(__libc_malloc(with_note(size)), size, mark_of(__builtin_return_address(0)));
}

EXPORTED void* calloc(std::size_t count, std::size_t each) {
    std::size_t size;
    if (__builtin_mul_overflow(count, each, &size)) {
        errno = ENOMEM;
        return nullptr;
    }
    return enter(__libc_calloc(1, with_note(size)), size, mark_of(__builtin_return_address(0)));
}

EXPORTED void free(void* block) {
    if (block == nullptr)
        return;
    leave(block);
    __libc_free(block);
}

EXPORTED void* realloc(void* block, std::size_t size) {
    const std::uint64_t caller = mark_of(__builtin_return_address(0));
    if (block == nullptr)
        return enter(__libc_malloc(with_note(size)), size, caller);
    if (size == 0) {
        free(block);
        return nullptr;
    }
    const std::uint64_t note = leave(block);
    void* const moved = __libc_realloc(block, with_note(size));
    if (moved == nullptr && note != 0)
        enter(block, note & kSizeMask, note & ~kSizeMask);
    return enter(moved, size, note != 0 ? note & ~kSizeMask : caller);
}

EXPORTED void* memalign(std::size_t alignment, std::size_t size) {
    return enter(__libc_memalign(alignment, with_note(size)), size,
                 mark_of(__builtin_return_address(0)));
}

EXPORTED void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return memalign(alignment, size);
}

EXPORTED int posix_memalign(void** place, std::size_t alignment, std::size_t size) {
    void* const block = memalign(alignment, size);
    if (block == nullptr)
        return ENOMEM;
    *place = block;
    return 0;
}

EXPORTED std::size_t malloc_usable_size(void* block) {
    return block != nullptr ? usable_size(block) - kNote : 0;
}

} // extern "C"
