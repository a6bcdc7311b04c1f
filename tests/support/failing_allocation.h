// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_FAILING_ALLOCATION_H
#define TESTS_SUPPORT_FAILING_ALLOCATION_H

// Replaces the program's operator new by one that fails when it is told to. To be included by one
// source file of a test program.

#include <cstdlib>
#include <new>

namespace {

long g_allocationsLeft = -1; // the allocation that finds 0 here fails; below 0 none does

void* allocate(std::size_t size) {
    if (g_allocationsLeft >= 0 && g_allocationsLeft-- == 0) {
        throw std::bad_alloc();
    }
    if (void* const memory = std::malloc(size == 0 ? 1 : size); memory != nullptr) {
        return memory;
    }
    throw std::bad_alloc();
}

} // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace vantrel::test {

// Runs `action` with its n-th allocation (from 0) failing. False when it has not so many.
template <class Action> bool withFailingAllocation(long n, const Action& action) {
    g_allocationsLeft = n;
    action();
    const bool reached = g_allocationsLeft < 0;
    g_allocationsLeft = -1;
    return reached;
}

} // namespace vantrel::test

#endif
