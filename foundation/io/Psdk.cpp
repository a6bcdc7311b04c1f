// SPDX-License-Identifier: MIT
#include "foundation/io/Psdk.h"

#include <chrono>

namespace vantrel {

std::uint32_t Psdk::getTickCount() noexcept {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

} // namespace vantrel
