// SPDX-License-Identifier: MIT
#if defined(__x86_64__)

#include "foundation/crypto/hash/sha3_rounds.h"

namespace vantrel::crypto {

// The portable text with andn, and with rotations that leave their source alone (rorx).
__attribute__((target("bmi,bmi2"))) void sha3CompressX86Bmi2(HashState& state,
                                                             const std::uint8_t* data,
                                                             std::size_t blocks) noexcept {
    sha3Blocks<Sha3Word>(state.sponge, data, blocks);
}

} // namespace vantrel::crypto

#endif
