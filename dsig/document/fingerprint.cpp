// SPDX-License-Identifier: MIT
#include "dsig/document/fingerprint.h"

#include "foundation/crypto/hash/hasher.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace vantrel::dsig {

std::string sha256Text(ByteView octets) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::array<std::uint8_t, crypto::kMaxDigestSize> bytes{};
    crypto::Hasher hasher(kHashSha256);
    hasher.update(octets);
    std::string text;
    for (const std::uint8_t byte : hasher.final(bytes)) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

} // namespace vantrel::dsig
