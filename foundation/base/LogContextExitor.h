// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_BASE_LOGCONTEXTEXITOR_H
#define FOUNDATION_BASE_LOGCONTEXTEXITOR_H

#include "foundation/base/ClsBase.h"
#include "foundation/text/LogBase.h"

namespace vantrel {

// Opens a named context and closes it at the end of its scope.
class LogContextExitor final {
public:
    LogContextExitor(LogBase& log, const char* name) : m_log(&log) { log.enterContext(name); }
    // On the object's own log, as the object's current method. The caller holds the object's lock.
    LogContextExitor(ClsBase& object, const char* name) : m_object(&object) {
        object.enterMethod(name);
    }
    LogContextExitor(const LogContextExitor&) = delete;
    LogContextExitor& operator=(const LogContextExitor&) = delete;
    ~LogContextExitor() {
        if (m_object != nullptr) {
            m_object->leaveMethod();
        } else {
            m_log->leaveContext();
        }
    }

private:
    LogBase* m_log = nullptr;
    ClsBase* m_object = nullptr;
};

} // namespace vantrel

#endif
