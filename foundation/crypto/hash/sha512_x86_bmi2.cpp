// SPDX-License-Identifier: MIT
#if defined(__x86_64__)

#include "foundation/crypto/hash/sha2_rounds.h"

namespace vantrel::crypto {

// The portable text with rotations that leave their source alone (rorx) and with andn.
__attribute__((target("bmi,bmi2"))) void sha512CompressX86Bmi2(HashState& state,
                                                               const std::uint8_t* data,
                                                               std::size_t blocks) noexcept {
    sha2Blocks(state.w64, data, blocks);
}

} // namespace vantrel::crypto

#endif
