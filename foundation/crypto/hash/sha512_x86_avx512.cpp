#if defined(__x86_64__)

#include "foundation/crypto/hash/sha2_rounds.h"

namespace vantrel::crypto {

__attribute__((target("bmi,bmi2"))) void sha512CompressX86Avx512(HashState& state,
                                                                 const std::uint8_t* data,
                                                                 std::size_t blocks) noexcept {
    sha2Blocks(state.w64, data, blocks);
}

} // namespace vantrel::crypto

#endif
