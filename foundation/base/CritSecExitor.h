// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_BASE_CRITSECEXITOR_H
#define FOUNDATION_BASE_CRITSECEXITOR_H

#include "foundation/base/VantrelCritSec.h"

namespace vantrel {

// Holds a critical section for the length of its scope.
class CritSecExitor final {
public:
    explicit CritSecExitor(VantrelCritSec& critSec) : m_critSec(critSec) {
        m_critSec.enterCriticalSection();
    }
    CritSecExitor(const CritSecExitor&) = delete;
    CritSecExitor& operator=(const CritSecExitor&) = delete;
    ~CritSecExitor() { m_critSec.leaveCriticalSection(); }

private:
    VantrelCritSec& m_critSec;
};

} // namespace vantrel

#endif
