// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/sha2_rounds.h"

namespace vantrel::crypto {

void sha256Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept {
    sha2Blocks(state.w32, data, blocks);
}

void sha512Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept {
    sha2Blocks(state.w64, data, blocks);
}

} // namespace vantrel::crypto
