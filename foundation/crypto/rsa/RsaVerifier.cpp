// SPDX-License-Identifier: MIT
#include "foundation/crypto/rsa/RsaVerifier.h"

#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/rsa/RsaKeyData.h"
#include "foundation/crypto/rsa/padding.h"
#include "foundation/text/LogBase.h"

#include <algorithm>
#include <array>
#include <span>

namespace vantrel {

using crypto::PaddingVerdict;

bool RsaVerifier::verifyHashExt(const std::uint8_t* signature, std::uint32_t signatureLength,
                                const std::uint8_t* hash, std::uint32_t hashLength, int hashId,
                                int padding, int mgfHashId, bool& verified, RsaKeyData& key,
                                int /*reserved*/, bool /*strict*/, bool& wrongKey, LogBase& log,
                                int saltLength, ByteView recovered) {
    verified = false;
    wrongKey = false;
    if (!key.isLoaded()) {
        log.LogError("The RSA key is empty.");
        return false;
    }
    if (padding != kPaddingPkcs1 && padding != kPaddingPss) {
        log.LogError("The RSA padding scheme is not known.");
        return false;
    }
    const bool pss = padding == kPaddingPss;
    const std::size_t digestSize = crypto::hashDigestSize(hashId);
    if (digestSize == 0 || (pss && crypto::hashDigestSize(mgfHashId) == 0)) {
        log.LogError("The hash algorithm of the RSA signature is not known.");
        return false;
    }
    if (hash == nullptr || hashLength != digestSize) {
        log.LogError("The hash to be verified has not the size of its algorithm.");
        return false;
    }

    std::array<std::uint8_t, kMaxRsaBits / 8> buffer;
    const std::span<std::uint8_t> block(buffer.data(), key.sizeInBytes());
    if (recovered.size() == block.size()) {
        std::copy(recovered.begin(), recovered.end(), block.begin());
    } else if (signature == nullptr || !key.recover({signature, signatureLength}, block)) {
        wrongKey = true;
        return false;
    }
    const ByteView expected(hash, hashLength);
    const PaddingVerdict verdict =
        pss ? crypto::checkPss(block, key.bits(), hashId, mgfHashId, expected, saltLength)
            : crypto::checkPkcs1(block, hashId, expected);
    wrongKey = verdict == PaddingVerdict::NoForm;
    verified = verdict == PaddingVerdict::Match;
    return !wrongKey;
}

} // namespace vantrel
