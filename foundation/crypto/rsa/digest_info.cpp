// SPDX-License-Identifier: MIT
#include "foundation/crypto/rsa/digest_info.h"

#include "foundation/crypto/hash/hash_ids.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::crypto {
namespace {

struct Prefix {
    std::array<std::uint8_t, 20> bytes;
    std::size_t size;
};

struct Row {
    int hashId;
    Prefix withNull;
    Prefix withoutNull;
};

// DigestInfo ::= SEQUENCE {
//     digestAlgorithm SEQUENCE { OBJECT IDENTIFIER, NULL OPTIONAL },
//     digest          OCTET STRING }
template <std::size_t N>
constexpr Prefix makePrefix(const std::uint8_t (&oid)[N], std::uint8_t digestSize, bool withNull) {
    Prefix prefix{};
    const auto put = [&prefix](std::size_t byte) {
        prefix.bytes[prefix.size++] = static_cast<std::uint8_t>(byte);
    };
    const std::size_t algorithm = 2 + N + (withNull ? 2 : 0);
    put(0x30);
    put(2 + algorithm + 2 + digestSize);
    put(0x30);
    put(algorithm);
    put(0x06);
    put(N);
    for (const std::uint8_t byte : oid) {
        put(byte);
    }
    if (withNull) {
        put(0x05);
        put(0x00);
    }
    put(0x04);
    put(digestSize);
    return prefix;
}

template <std::size_t N>
constexpr Row makeRow(int hashId, const std::uint8_t (&oid)[N], std::uint8_t digestSize) {
    return {hashId, makePrefix(oid, digestSize, true), makePrefix(oid, digestSize, false)};
}

constexpr Row kRows[] = {
    makeRow(kHashSha256, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01}, 32),
    makeRow(kHashSha1, {0x2b, 0x0e, 0x03, 0x02, 0x1a}, 20),
    makeRow(kHashSha384, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x02}, 48),
    makeRow(kHashSha512, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x03}, 64),
    makeRow(kHashSha224, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x04}, 28),
    makeRow(kHashSha3_224, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x07}, 28),
    makeRow(kHashSha3_256, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x08}, 32),
    makeRow(kHashSha3_384, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x09}, 48),
    makeRow(kHashSha3_512, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x0a}, 64),
    makeRow(kHashMd2, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x02, 0x02}, 16),
    makeRow(kHashMd5, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x02, 0x05}, 16),
    makeRow(kHashRipemd128, {0x2b, 0x24, 0x03, 0x02, 0x02}, 16),
    makeRow(kHashRipemd160, {0x2b, 0x24, 0x03, 0x02, 0x01}, 20),
};

} // namespace

ByteView digestInfoPrefix(int hashId, bool withNull) noexcept {
    for (const Row& row : kRows) {
        if (row.hashId == hashId) {
            const Prefix& prefix = withNull ? row.withNull : row.withoutNull;
            return {prefix.bytes.data(), prefix.size};
        }
    }
    return {};
}

} // namespace vantrel::crypto
