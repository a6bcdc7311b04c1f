// SPDX-License-Identifier: MIT
#include "dsig/document/standards.h"

#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/text/LogBase.h"

#include <span>

namespace vantrel::dsig {

namespace {

struct DigestIdentifier {
    std::string_view algorithm;
    StandardDigest digest;
};

// RFC 9231, 2.1.1 to 2.1.5
constexpr DigestIdentifier kDigests[] = {
    {"http://www.w3.org/2001/04/xmldsig-more#sha224", {kHashSha224, standard::kSha224}},
    {"http://www.w3.org/2007/05/xmldsig-more#sha3-224", {kHashSha3_224, standard::kSha3}},
    {"http://www.w3.org/2007/05/xmldsig-more#sha3-256", {kHashSha3_256, standard::kSha3}},
    {"http://www.w3.org/2007/05/xmldsig-more#sha3-384", {kHashSha3_384, standard::kSha3}},
    {"http://www.w3.org/2007/05/xmldsig-more#sha3-512", {kHashSha3_512, standard::kSha3}},
};
// XML Signature 1.1, 6.2
constexpr DigestIdentifier kUsualDigests[] = {
    {"http://www.w3.org/2001/04/xmlenc#sha256", {kHashSha256, {}}},
    {"http://www.w3.org/2000/09/xmldsig#sha1", {kHashSha1, {}}},
    {"http://www.w3.org/2001/04/xmldsig-more#sha384", {kHashSha384, {}}},
    {"http://www.w3.org/2001/04/xmlenc#sha512", {kHashSha512, {}}},
};

StandardDigest findDigest(std::span<const DigestIdentifier> table, std::string_view algorithm) {
    for (const DigestIdentifier& known : table) {
        if (known.algorithm == algorithm) {
            return known.digest;
        }
    }
    return {};
}

} // namespace

bool standardsApply(const LogBase& log) {
    return !log.options().containsSubstring(kGivenRulesOnly);
}

StandardDigest standardDigest(std::string_view algorithm) {
    return findDigest(kDigests, algorithm);
}

int digestByIdentifier(std::string_view algorithm) {
    const StandardDigest usual = findDigest(kUsualDigests, algorithm);
    return usual.hashAlg != kHashNone ? usual.hashAlg : standardDigest(algorithm).hashAlg;
}

} // namespace vantrel::dsig
