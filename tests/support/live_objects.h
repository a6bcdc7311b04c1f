// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_LIVE_OBJECTS_H
#define TESTS_SUPPORT_LIVE_OBJECTS_H

#include "foundation/text/RefCountedObject.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace vantrel::test {

// Fails the test when its scope ends with more (or fewer) living reference-counted objects than it
// began with. Declare it first, so that everything else in the scope is gone by then.
class LiveObjectCheck final {
public:
    LiveObjectCheck() = default;
    LiveObjectCheck(const LiveObjectCheck&) = delete;
    LiveObjectCheck& operator=(const LiveObjectCheck&) = delete;
    ~LiveObjectCheck() {
        EXPECT_EQ(RefCountedObject::liveObjects(), m_before)
            << "reference-counted objects were leaked";
    }

private:
    const std::int64_t m_before = RefCountedObject::liveObjects();
};

} // namespace vantrel::test

#endif
