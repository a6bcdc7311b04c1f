#ifndef FOUNDATION_LOG_CRITSECEXITOR_H
#define FOUNDATION_LOG_CRITSECEXITOR_H

#include "foundation/log/VantrelCritSec.h"

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
