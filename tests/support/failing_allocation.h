// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_FAILING_ALLOCATION_H
#define TESTS_SUPPORT_FAILING_ALLOCATION_H

// Replaces the program's allocation by one that fails when it is told to, and counts what is given
// back. To be included by one source file of a test program. Sanitizers have a malloc of their own:
// under them operator new alone fails, and nothing is counted.

#include <cstdlib>
#include <new>

#include <malloc.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VANTREL_SANITIZED_MALLOC
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VANTREL_SANITIZED_MALLOC
#endif
#endif

namespace {

// The allocation that finds 0 here fails; below 0 none does.
thread_local long g_allocationsLeft = -1;
thread_local long g_liveBlocks = 0; // of this thread; tests that ask use no other

bool isDue() noexcept { return g_allocationsLeft >= 0 && g_allocationsLeft-- == 0; }

} // namespace

#if defined(VANTREL_SANITIZED_MALLOC) || !defined(__GLIBC__)
namespace {

void* allocate(std::size_t size) noexcept {
    return isDue() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void* allocateOrThrow(std::size_t size) {
    if (void* const memory = allocate(size); memory != nullptr) {
        return memory;
    }
    throw std::bad_alloc();
}

} // namespace

void* operator new(std::size_t size) { return allocateOrThrow(size); }
void* operator new[](std::size_t size) { return allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
#else
// Under the names by which the C library calls its own, that of the operators included.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);

void* malloc(std::size_t size) {
    void* const memory = isDue() ? nullptr : __libc_malloc(size);
    g_liveBlocks += memory != nullptr ? 1 : 0;
    return memory;
}
void* calloc(std::size_t count, std::size_t size) {
    void* const memory = isDue() ? nullptr : __libc_calloc(count, size);
    g_liveBlocks += memory != nullptr ? 1 : 0;
    return memory;
}
void* realloc(void* memory, std::size_t size) {
    void* const moved = isDue() ? nullptr : __libc_realloc(memory, size);
    g_liveBlocks += memory == nullptr && moved != nullptr ? 1 : 0;
    return moved;
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
    void* const memory = isDue() ? nullptr : __libc_memalign(alignment, size);
    g_liveBlocks += memory != nullptr ? 1 : 0;
    return memory;
}
void free(void* memory) {
    g_liveBlocks -= memory != nullptr ? 1 : 0;
    __libc_free(memory);
}
}
#endif

namespace vantrel::test {

// Runs `action` with its n-th allocation (from 0) failing. False when it has not so many.
template <class Action> bool withFailingAllocation(long n, const Action& action) {
    g_allocationsLeft = n;
    action();
    const bool reached = g_allocationsLeft < 0;
    g_allocationsLeft = -1;
    return reached;
}

// The number of blocks that this thread has allocated and not given back, for comparing.
inline long liveBlocks() noexcept { return g_liveBlocks; }

} // namespace vantrel::test

#endif
