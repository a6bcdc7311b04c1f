// SPDX-License-Identifier: MIT
#include "foundation/base/MethodFrame.h"

namespace vantrel {

void MethodFrame::outOfMemory() {
    m_object.log().LogError("Out of memory.");
    m_object.recordOutcome(false);
}

} // namespace vantrel
