// SPDX-License-Identifier: MIT
#include "foundation/x509/signature_algorithm.h"

#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/oid.h"
#include "foundation/crypto/dsa/DsaKeyData.h"
#include "foundation/crypto/dsa/DsaVerifier.h"
#include "foundation/crypto/ecc/EccVerifier.h"
#include "foundation/crypto/edwards/edwards_key.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/crypto/mldsa/mldsa_key.h"
#include "foundation/crypto/rsa/RsaKeyData.h"
#include "foundation/crypto/rsa/RsaVerifier.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/no_throw.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/oids.h"

#include <cstdint>
#include <limits>

namespace vantrel::x509 {

using asn1::DerReader;
using asn1::Tag;

namespace {

constexpr std::string_view kRsaPssOid = "1.2.840.113549.1.1.10";
constexpr std::string_view kEd25519Oid = "1.3.101.112";
constexpr std::string_view kEd448Oid = "1.3.101.113";

struct KnownAlgorithm {
    std::string_view oid;
    std::string_view name;
    KeyKind kind;
    int hashId;
};

// The most usual first. Those that name a key alone, without a hash, are known by name and verify
// nothing.
constexpr KnownAlgorithm kAlgorithms[] = {
    {"1.2.840.113549.1.1.11", "sha256WithRSAEncryption", KeyKind::Rsa, kHashSha256},
    {"1.2.840.113549.1.1.12", "sha384WithRSAEncryption", KeyKind::Rsa, kHashSha384},
    {"1.2.840.113549.1.1.13", "sha512WithRSAEncryption", KeyKind::Rsa, kHashSha512},
    {"1.2.840.113549.1.1.14", "sha224WithRSAEncryption", KeyKind::Rsa, kHashSha224},
    {"2.16.840.1.101.3.4.3.13", "id-rsassa-pkcs1-v1_5-with-sha3-224", KeyKind::Rsa, kHashSha3_224},
    {"2.16.840.1.101.3.4.3.14", "id-rsassa-pkcs1-v1_5-with-sha3-256", KeyKind::Rsa, kHashSha3_256},
    {"2.16.840.1.101.3.4.3.15", "id-rsassa-pkcs1-v1_5-with-sha3-384", KeyKind::Rsa, kHashSha3_384},
    {"2.16.840.1.101.3.4.3.16", "id-rsassa-pkcs1-v1_5-with-sha3-512", KeyKind::Rsa, kHashSha3_512},
    {"1.2.840.113549.1.1.5", "sha1WithRSAEncryption", KeyKind::Rsa, kHashSha1},
    {"1.2.840.113549.1.1.4", "md5WithRSAEncryption", KeyKind::Rsa, kHashMd5},
    {"1.2.840.113549.1.1.2", "md2WithRSAEncryption", KeyKind::Rsa, kHashMd2},
    {"1.3.14.3.2.29", "sha1WithRSA", KeyKind::Rsa, kHashSha1},
    {"1.3.36.3.3.1.2", "ripemd160WithRSA", KeyKind::Rsa, kHashRipemd160},
    {kRsaPssOid, "rsassaPss", KeyKind::Rsa, kHashNone},
    {"1.2.840.113549.1.1.1", "rsaEncryption", KeyKind::Rsa, kHashNone},
    {"1.2.840.10045.4.3.2", "ecdsa-with-SHA256", KeyKind::Ec, kHashSha256},
    {"1.2.840.10045.4.3.3", "ecdsa-with-SHA384", KeyKind::Ec, kHashSha384},
    {"1.2.840.10045.4.3.4", "ecdsa-with-SHA512", KeyKind::Ec, kHashSha512},
    {"1.2.840.10045.4.3.1", "ecdsa-with-SHA224", KeyKind::Ec, kHashSha224},
    {"2.16.840.1.101.3.4.3.9", "id-ecdsa-with-sha3-224", KeyKind::Ec, kHashSha3_224},
    {"2.16.840.1.101.3.4.3.10", "id-ecdsa-with-sha3-256", KeyKind::Ec, kHashSha3_256},
    {"2.16.840.1.101.3.4.3.11", "id-ecdsa-with-sha3-384", KeyKind::Ec, kHashSha3_384},
    {"2.16.840.1.101.3.4.3.12", "id-ecdsa-with-sha3-512", KeyKind::Ec, kHashSha3_512},
    {"1.2.840.10045.4.1", "ecdsa-with-SHA1", KeyKind::Ec, kHashSha1},
    {"1.2.840.10045.2.1", "id-ecPublicKey", KeyKind::Ec, kHashNone},
    {"2.16.840.1.101.3.4.3.2", "dsa_with_SHA256", KeyKind::Dsa, kHashSha256},
    {"2.16.840.1.101.3.4.3.1", "dsa_with_SHA224", KeyKind::Dsa, kHashSha224},
    {kEd25519Oid, "Ed25519", KeyKind::Edwards, kHashNone},
    {kEd448Oid, "Ed448", KeyKind::Edwards, kHashNone},
    {"2.16.840.1.101.3.4.3.17", "ML-DSA-44", KeyKind::MlDsa, kHashNone},
    {"2.16.840.1.101.3.4.3.18", "ML-DSA-65", KeyKind::MlDsa, kHashNone},
    {"2.16.840.1.101.3.4.3.19", "ML-DSA-87", KeyKind::MlDsa, kHashNone},
    {"1.2.840.10040.4.3", "dsaWithSHA1", KeyKind::Dsa, kHashSha1},
    {"1.2.840.10040.4.1", "dsaEncryption", KeyKind::Dsa, kHashNone},
};

bool readIdentifier(ByteView algorithmIdentifier, std::string& oid, DerReader& parameters) {
    DerReader reader(algorithmIdentifier);
    // AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }
    DerReader fields;
    ByteView id;
    if (!reader.enter(Tag::Sequence, fields) || !fields.read(Tag::Oid, id)) {
        return false;
    }
    parameters = fields;
    return asn1::oidToText(id, oid);
}

const KnownAlgorithm* findAlgorithm(std::string_view oid) noexcept {
    for (const KnownAlgorithm& known : kAlgorithms) {
        if (known.oid == oid) {
            return &known;
        }
    }
    return nullptr;
}

// RFC 4055 3.1
bool readPssParameters(DerReader reader, SignatureAlgorithm& out) {
    // What is left out is SHA-1, also where the parameters are missing as a whole.
    out.pss = true;
    out.hashId = kHashSha1;
    out.mgfHashId = kHashSha1;
    if (reader.atEnd()) {
        return true;
    }
    // RSASSA-PSS-params ::= SEQUENCE {
    DerReader parameters;
    if (!reader.enter(Tag::Sequence, parameters)) {
        return false;
    }
    //     hashAlgorithm     [0] HashAlgorithm DEFAULT sha1Identifier,
    ByteView contents;
    if (parameters.read(asn1::contextConstructed(0), contents)) {
        out.hashId = parseDigestAlgorithm(contents);
    }
    //     maskGenAlgorithm  [1] MaskGenAlgorithm DEFAULT mgf1SHA1Identifier,
    DerReader wrapper;
    if (parameters.enter(asn1::contextConstructed(1), wrapper)) {
        DerReader mgf;
        ByteView function;
        if (!wrapper.enter(Tag::Sequence, mgf) || !mgf.read(Tag::Oid, function) ||
            !sameBytes(function, oid::kMgf1)) {
            return false;
        }
        out.mgfHashId = parseDigestAlgorithm(mgf.rest());
    }
    //     saltLength        [2] INTEGER DEFAULT 20,
    //     trailerField      [3] INTEGER DEFAULT 1 }
    // Neither is needed: the encoding shows the length of its salt, and there is one trailer only.
    return parameters.skipOptional(asn1::contextConstructed(2)) &&
           parameters.skipOptional(asn1::contextConstructed(3)) && parameters.atEnd() &&
           out.hashId != kHashNone && out.mgfHashId != kHashNone;
}

struct Signed {
    const std::uint8_t* signature;
    std::uint32_t signatureSize;
    const std::uint8_t* hash;
    std::uint32_t hashSize;
};

bool verifyRsa(const SignatureAlgorithm& algorithm, RsaKeyData& key, const Signed& s,
               LogBase& log) {
    bool verified = false;
    bool wrongKey = false;
    const int mgf = algorithm.pss ? algorithm.mgfHashId : algorithm.hashId;
    return RsaVerifier::verifyHashExt(s.signature, s.signatureSize, s.hash, s.hashSize,
                                      algorithm.hashId, algorithm.pss ? kPaddingPss : kPaddingPkcs1,
                                      mgf, verified, key, 0, true, wrongKey, log) &&
           verified;
}

} // namespace

bool parseSignatureAlgorithm(ByteView algorithmIdentifier, SignatureAlgorithm& out) {
    std::string oid;
    DerReader parameters;
    if (!readIdentifier(algorithmIdentifier, oid, parameters)) {
        return false;
    }
    const KnownAlgorithm* const known = findAlgorithm(oid);
    if (known == nullptr) {
        return false;
    }
    out = {known->kind, false, known->hashId, kHashNone, known->name};
    // RFC 8410 3, RFC 9881 2: the parameters must be absent.
    if (known->kind == KeyKind::Edwards || known->kind == KeyKind::MlDsa) {
        return parameters.atEnd();
    }
    return known->oid != kRsaPssOid || readPssParameters(parameters, out);
}

bool appendSignatureAlgorithmName(ByteView algorithmIdentifier, std::string& out) {
    std::string oid;
    DerReader parameters;
    if (!readIdentifier(algorithmIdentifier, oid, parameters)) {
        return false;
    }
    const KnownAlgorithm* const known = findAlgorithm(oid);
    out += known != nullptr ? known->name : std::string_view(oid);
    return true;
}

int parseDigestAlgorithm(ByteView algorithmIdentifier) {
    std::string oid;
    DerReader parameters;
    return readIdentifier(algorithmIdentifier, oid, parameters) ? crypto::hashFromOid(oid)
                                                                : kHashNone;
}

bool verifySignedBytes(const SignatureAlgorithm& algorithm, const _vlPublicKey& key,
                       ByteView signedBytes, ByteView signature, LogBase& log) {
    if (algorithm.kind != key.kind() ||
        signature.size() > std::numeric_limits<std::uint32_t>::max()) {
        return false;
    }
    if (algorithm.kind == KeyKind::Edwards) {
        // RFC 8032: it hashes in its own way. The algorithm names the key's own curve.
        const crypto::EdwardsKey& edwards = *key.getEdwardsKeyPtr();
        return algorithm.name == edwards.curve().name && edwards.verify(signedBytes, signature);
    }
    if (algorithm.kind == KeyKind::MlDsa) {
        // RFC 9881, 3: the same, with an empty context.
        const crypto::MlDsaKey& mlDsa = *key.getMlDsaKeyPtr();
        return algorithm.name == mlDsa.set().name && mlDsa.verify(signedBytes, {}, signature);
    }
    std::uint8_t digest[crypto::kMaxDigestSize];
    // No hash, no signature: an empty one must not verify under any key.
    const ByteView hash = crypto::hashBytes(algorithm.hashId, signedBytes, digest);
    if (hash.empty()) {
        return false;
    }
    const Signed s{signature.data(), static_cast<std::uint32_t>(signature.size()), hash.data(),
                   static_cast<std::uint32_t>(hash.size())};
    bool verified = false;
    switch (algorithm.kind) {
    case KeyKind::Rsa: return verifyRsa(algorithm, *key.getRsaKeyPtr(), s, log);
    case KeyKind::Dsa:
        return DsaVerifier::verifyHash(*key.getDsaKeyPtr(), s.signature, s.signatureSize, false,
                                       s.hash, s.hashSize, verified, log) &&
               verified;
    case KeyKind::Ec:
        return key.getEccKeyPtr()->eccVerifyHash(s.signature, s.signatureSize, true, s.hash,
                                                 s.hashSize, verified, log, 0) &&
               verified;
    case KeyKind::Edwards:
    case KeyKind::MlDsa:
    case KeyKind::None: break;
    }
    return false;
}

} // namespace vantrel::x509

namespace vantrel {

bool VantrelX509::signatureAlgorithmName(StringBuffer& out) const {
    return text::noThrow(false, [&] {
        std::string name;
        return x509::appendSignatureAlgorithmName(signatureAlgorithm(), name) &&
               out.appendView(name);
    });
}

bool VantrelX509::isSignedBy(const _vlPublicKey& issuerKey, LogBase& log) const {
    return text::noThrow(false, [&] {
        // RFC 5280 4.1.1.2: the algorithm stands twice, and alike.
        x509::SignatureAlgorithm algorithm;
        return isLoaded() && x509::sameBytes(signatureAlgorithm(), part(kTbsAlgorithm)) &&
               x509::parseSignatureAlgorithm(signatureAlgorithm(), algorithm) &&
               x509::verifySignedBytes(algorithm, issuerKey, tbsCertificate(), signatureValue(),
                                       log);
    });
}

} // namespace vantrel
