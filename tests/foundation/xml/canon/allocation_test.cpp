#include "tests/foundation/xml/canon/canon_support.h"

#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

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
namespace {

// Lets each allocation of `action` fail in turn, until it succeeds; returns how many there were.
template <class Action> int failEachAllocation(const Action& action) {
    for (int n = 0; n < 100000; ++n) {
        g_allocationsLeft = n;
        const bool ok = action();
        const bool reached = g_allocationsLeft < 0;
        g_allocationsLeft = -1;
        if (!reached) {
            EXPECT_TRUE(ok);
            return n;
        }
        EXPECT_FALSE(ok) << "allocation " << n;
    }
    return -1;
}

TEST(XmlCanonMemory, EveryFailedAllocationIsAFailedCall) {
    const StringBuffer text{
        "<!DOCTYPE r [<!ENTITY e '<b/>'><!ATTLIST b x NMTOKENS ' 1  2 ' xml:lang CDATA 'en'>]>"
        "<r xmlns:p='urn:p' xml:base='x'><b Id='i' p:z='&quot;' a='2'>&e;<p:c/></b><S/></r>"};
    for (const char* const id : {"", "i"}) {
        const int count = failEachAllocation([&] {
            LogNull log;
            XmlCanon canon;
            StringBuffer out{"x"};
            const bool ok = canon.xmlCanonicalize(text, id, 0, out, log);
            EXPECT_EQ(out.getSize() > 1, ok);
            return ok;
        });
        EXPECT_GT(count, 10) << "none of them was seen to fail";
    }
}

} // namespace
} // namespace vantrel::test
