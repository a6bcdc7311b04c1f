// SPDX-License-Identifier: MIT
#include "tests/foundation/xml/canon/canon_support.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// Lets each allocation of `action` fail in turn, until it has not so many; returns how many there
// were.
template <class Action> int failEachAllocation(const Action& action) {
    for (int n = 0; n < 100000; ++n) {
        if (!withFailingAllocation(n, [&] { action(); })) {
            return n;
        }
    }
    return -1;
}

TEST(XmlCanonMemory, AFailedAllocationIsAFailedCallOrMakesNoDifference) {
    const StringBuffer text{
        "<!DOCTYPE r [<!ENTITY e '<b/>'><!ATTLIST b x NMTOKENS ' 1  2 ' xml:lang CDATA 'en'>]>"
        "<r xmlns:p='urn:p' xml:base='x'><b Id='i' p:z='&quot;' a='2'>&e;<p:c/></b><S/></r>"};
    for (const char* const id : {"", "i"}) {
        StringBuffer expected;
        LogNull log;
        ASSERT_TRUE(XmlCanon().xmlCanonicalize(text, id, 0, expected, log));
        const int count = failEachAllocation([&] {
            StringBuffer out;
            const bool ok = XmlCanon().xmlCanonicalize(text, id, 0, out, log);
            EXPECT_EQ(out.view(), ok ? expected.view() : "");
        });
        EXPECT_GT(count, 10) << "none of them was seen to fail";
    }
}

} // namespace
} // namespace vantrel::test
