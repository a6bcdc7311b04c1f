// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_BASE_METHODFRAME_H
#define FOUNDATION_BASE_METHODFRAME_H

#include "foundation/base/ClsBase.h"
#include "foundation/base/CritSecExitor.h"
#include "foundation/base/LogContextExitor.h"

#include <new>
#include <type_traits>

namespace vantrel {

// The frame of a public operation: the object's lock and a log context for the whole call, its
// outcome, and a net under it, so that no exception leaves.
//
//     return MethodFrame::run(*this, "VerifySignature", [&](MethodFrame& frame) {
//         return frame.finish(verify(m_log));
//     });
class MethodFrame final {
public:
    MethodFrame(const MethodFrame&) = delete;
    MethodFrame& operator=(const MethodFrame&) = delete;

    // Runs body(MethodFrame&) in a frame and returns its result; false or null, and an error line,
    // when memory runs out. The structured result of the operation before is forgotten first.
    template <class Body>
    static std::invoke_result_t<Body, MethodFrame&> run(ClsBase& object, const char* name,
                                                        Body body) noexcept {
        return runLater(object, name, [&](MethodFrame& frame) {
            frame.begin();
            return body(frame);
        });
    }
    // The same for an operation that forgets that result later, by begin(), or keeps it.
    template <class Body>
    static std::invoke_result_t<Body, MethodFrame&> runLater(ClsBase& object, const char* name,
                                                             Body body) noexcept {
        try {
            MethodFrame frame(object, name);
            try {
                return body(frame);
            } catch (const std::bad_alloc&) {
                frame.outOfMemory();
            }
        } catch (const std::bad_alloc&) {
            // Not even a line in the log could be written.
        }
        return {};
    }

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

private:
    MethodFrame(ClsBase& object, const char* name)
        : m_object(object), m_lock(object.critSec()), m_context(object, name) {}

    void outOfMemory();

    ClsBase& m_object;
    CritSecExitor m_lock;
    LogContextExitor m_context;
};

} // namespace vantrel

#endif
