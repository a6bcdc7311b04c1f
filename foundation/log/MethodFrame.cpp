#include "foundation/log/MethodFrame.h"

namespace vantrel {

bool MethodFrame::outOfMemory() noexcept {
    m_object.log().LogError("Out of memory.");
    m_object.recordOutcome(false);
    return false;
}

} // namespace vantrel
