#ifndef FOUNDATION_LOG_METHODFRAME_H
#define FOUNDATION_LOG_METHODFRAME_H

#include "foundation/log/ClsBase.h"
#include "foundation/log/CritSecExitor.h"
#include "foundation/log/LogContextExitor.h"

namespace vantrel {

// The frame of a public operation: the object's lock and a log context for the whole call.
//
//     MethodFrame frame(*this, "VerifySignature");
//     frame.begin();
//     return frame.finish(verify(m_log));
class MethodFrame final {
public:
    MethodFrame(ClsBase& object, const char* name)
        : m_object(object), m_lock(object.critSec()), m_context(object, name) {}
    MethodFrame(const MethodFrame&) = delete;
    MethodFrame& operator=(const MethodFrame&) = delete;

    // Forgets the structured result of the operation before.
    void begin() { m_object.log().clearLastJsonData(); }

    // Logs and remembers the outcome, and returns it.
    bool finish(bool success) {
        m_object.logSuccessFailure(success);
        return success;
    }
    // Remembers the outcome without a line in the log, and returns it.
    bool result(bool success) noexcept {
        m_object.recordOutcome(success);
        return success;
    }
    // The outcome of an operation that std::bad_alloc ended: an error line, and false.
    bool outOfMemory() noexcept;

private:
    ClsBase& m_object;
    CritSecExitor m_lock;
    LogContextExitor m_context;
};

} // namespace vantrel

#endif
