// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/hash_ids.h"

namespace vantrel::crypto {

namespace {

constexpr HashInfo kHashes[] = {
    {kHashSha256, "SHA-256", "2.16.840.1.101.3.4.2.1", 32, 64},
    {kHashSha1, "SHA-1", "1.3.14.3.2.26", 20, 64},
    {kHashSha384, "SHA-384", "2.16.840.1.101.3.4.2.2", 48, 128},
    {kHashSha512, "SHA-512", "2.16.840.1.101.3.4.2.3", 64, 128},
    {kHashMd2, "MD2", "1.2.840.113549.2.2", 16, 16},
    {kHashMd5, "MD5", "1.2.840.113549.2.5", 16, 64},
    {kHashRipemd128, "RIPEMD-128", "1.3.36.3.2.2", 16, 64},
    {kHashRipemd160, "RIPEMD-160", "1.3.36.3.2.1", 20, 64},
    {kHashSha224, "SHA-224", "2.16.840.1.101.3.4.2.4", 28, 64},
    // FIPS 202, table 3: the block is the rate of the sponge.
    {kHashSha3_224, "SHA3-224", "2.16.840.1.101.3.4.2.7", 28, 144},
    {kHashSha3_256, "SHA3-256", "2.16.840.1.101.3.4.2.8", 32, 136},
    {kHashSha3_384, "SHA3-384", "2.16.840.1.101.3.4.2.9", 48, 104},
    {kHashSha3_512, "SHA3-512", "2.16.840.1.101.3.4.2.10", 64, 72},
};

} // namespace

const HashInfo* findHash(int id) noexcept {
    for (const HashInfo& hash : kHashes) {
        if (hash.id == id) {
            return &hash;
        }
    }
    return nullptr;
}

std::size_t hashDigestSize(int id) noexcept {
    const HashInfo* const hash = findHash(id);
    return hash != nullptr ? hash->digestSize : 0;
}

int hashFromOid(std::string_view oid) noexcept {
    for (const HashInfo& hash : kHashes) {
        if (hash.oid == oid) {
            return hash.id;
        }
    }
    return kHashNone;
}

} // namespace vantrel::crypto
