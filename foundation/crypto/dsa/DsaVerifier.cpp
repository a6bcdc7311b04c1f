// SPDX-License-Identifier: MIT
#include "foundation/crypto/dsa/DsaVerifier.h"

#include "foundation/crypto/dsa/DsaKeyData.h"
#include "foundation/crypto/dsa/dsa_numbers.h"
#include "foundation/crypto/signature/scalars.h"
#include "foundation/crypto/signature/signature_value.h"
#include "foundation/text/LogBase.h"

#include <array>
#include <span>

namespace vantrel {

using crypto::Limb;

namespace {

bool check(const DsaKeyData::Numbers& numbers, ByteView rBytes, ByteView sBytes,
           ByteView hash) noexcept {
    std::array<std::array<Limb, crypto::kMaxDsaOrderLimbs>, 3> buffers;
    const std::size_t k = numbers.order().size();
    const std::span<Limb> r = std::span(buffers[0]).first(k);
    const std::span<Limb> u1 = std::span(buffers[1]).first(k);
    const std::span<Limb> u2 = std::span(buffers[2]).first(k);
    return crypto::signatureScalars(numbers.order(), rBytes, sBytes, hash, r, u1, u2) &&
           numbers.satisfies(u1, u2, r);
}

} // namespace

bool DsaVerifier::verifyHash(DsaKeyData& key, const std::uint8_t* signature,
                             std::uint32_t signatureLength, bool rawFirst, const std::uint8_t* hash,
                             std::uint32_t hashLength, bool& verified, LogBase& log) {
    verified = false;
    const DsaKeyData::Numbers* const numbers = key.numbers();
    if (numbers == nullptr) {
        log.LogError("The DSA key is empty.");
        return false;
    }
    if (hash == nullptr || hashLength == 0) {
        log.LogError("There is no hash to be verified with the DSA key.");
        return false;
    }
    if (signature == nullptr) {
        return true;
    }
    const ByteView bytes(signature, signatureLength);
    const ByteView digest(hash, hashLength);
    verified = crypto::satisfiesInEitherForm(
        bytes, (numbers->orderBits + 7) / 8, rawFirst,
        [&](ByteView r, ByteView s) { return check(*numbers, r, s, digest); });
    return true;
}

} // namespace vantrel
