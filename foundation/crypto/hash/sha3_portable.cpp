// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/sha3_rounds.h"

namespace vantrel::crypto {

void sha3Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept {
    sha3Blocks<Sha3Word>(state.sponge, data, blocks);
}

} // namespace vantrel::crypto
