// SPDX-License-Identifier: MIT
#include "foundation/x509/path/signature_checks.h"

#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_writer.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/text/LogBase.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/key_der.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/signature_algorithm.h"

#include <string_view>

namespace vantrel::x509 {

using asn1::DerReader;
using asn1::Tag;

namespace {

// In bits, as the key counts them.
constexpr unsigned kBrokenModulus = 1024; // below
constexpr unsigned kWeakModulus = 2048;
constexpr unsigned kWeakCurve = 224;

// A SubjectPublicKeyInfo in parts; false when it is malformed.
struct KeyInfo {
    ByteView algorithm;  // contents octets of the identifier
    ByteView parameters; // with header; empty when absent or NULL
    ByteView key;        // the BIT STRING with its header
};

bool readKeyInfo(ByteView der, KeyInfo& info) noexcept {
    DerReader reader(der);
    // SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier, subjectPublicKey ... }
    DerReader fields;
    DerReader algorithm;
    if (!reader.enter(Tag::Sequence, fields) || !fields.enter(Tag::Sequence, algorithm) ||
        !algorithm.read(Tag::Oid, info.algorithm) || !fields.readWhole(Tag::BitString, info.key)) {
        return false;
    }
    info.parameters = algorithm.nextIs(Tag::Null) ? ByteView() : algorithm.rest();
    return true;
}

bool isDsa(const KeyInfo& info) noexcept {
    return sameBytes(info.algorithm, oid::kDsa) || sameBytes(info.algorithm, oid::kDsaOiw);
}

// Null when the key is malformed or of a kind that is not known; which of them makes no difference
// to a path.
std::unique_ptr<_vlPublicKey> loadKey(ByteView keyInfo) {
    auto key = std::make_unique<_vlPublicKey>();
    std::string_view whyNot;
    if (!loadSubjectPublicKeyInfo(keyInfo, *key, whyNot)) {
        key.reset();
    }
    return key;
}

// The key with parameters that are not its own. Written anew as DER, since keys are read from
// nothing else.
std::unique_ptr<_vlPublicKey> loadWithParameters(const KeyInfo& info, ByteView parameters) {
    asn1::DerWriter writer;
    writer.open(Tag::Sequence);
    writer.open(Tag::Sequence);
    writer.write(Tag::Oid, info.algorithm);
    writer.writeRaw(parameters);
    writer.close();
    writer.writeRaw(info.key);
    writer.close();
    return loadKey(writer.bytes());
}

} // namespace

SignatureChecks::Key& SignatureChecks::keyOf(const VantrelX509& certificate) {
    const auto [place, added] = m_keys.try_emplace(&certificate);
    if (added) {
        KeyInfo info;
        place->second.inherits = readKeyInfo(certificate.publicKeyInfo(), info) && isDsa(info) &&
                                 info.parameters.empty();
        place->second.key = loadKey(certificate.publicKeyInfo());
    }
    return place->second;
}

SignatureVerdict SignatureChecks::prepare(const Key& key) noexcept {
    if (key.key == nullptr) {
        return key.inherits ? SignatureVerdict::NeedsParameters : SignatureVerdict::Unsupported;
    }
    // The limit is asked for with every key, before any work, so that hostile candidates cannot
    // cost more than it allows.
    m_exhausted = m_exhausted || m_count >= m_limit;
    return m_count >= m_limit ? SignatureVerdict::OverLimit : SignatureVerdict::Good;
}

SignatureVerdict SignatureChecks::certificate(const VantrelX509& subject,
                                              const VantrelX509& issuer) {
    // Searches meet the same two certificates on many paths; the addresses tell them apart, since
    // each is held once.
    const Pair pair(&subject, &issuer);
    const auto known = m_certificates.find(pair);
    if (known != m_certificates.end()) {
        return known->second;
    }
    SignatureAlgorithm algorithm;
    const Key& key = keyOf(issuer);
    SignatureVerdict verdict = prepare(key);
    if (verdict != SignatureVerdict::Good) {
        return verdict;
    }
    // Asked before the count: an unknown algorithm costs nothing.
    if (!parseSignatureAlgorithm(subject.signatureAlgorithm(), algorithm)) {
        return SignatureVerdict::Unsupported;
    }
    ++m_count;
    LogNull log;
    verdict = subject.isSignedBy(*key.key, log) ? SignatureVerdict::Good : SignatureVerdict::Bad;
    // What inherited parameters show holds on this path only.
    if (!key.inherits) {
        m_certificates.emplace(pair, verdict);
    }
    return verdict;
}

SignatureVerdict SignatureChecks::bytes(ByteView algorithm, ByteView signedBytes,
                                        ByteView signature, const VantrelX509& signer) {
    // Not remembered: lists and answers are asked for once a certificate, and their checks keep
    // their own results.
    SignatureAlgorithm parsed;
    const Key& key = keyOf(signer);
    const SignatureVerdict ready = prepare(key);
    if (ready != SignatureVerdict::Good) {
        return ready;
    }
    if (!parseSignatureAlgorithm(algorithm, parsed)) {
        return SignatureVerdict::Unsupported;
    }
    ++m_count;
    LogNull log;
    return verifySignedBytes(parsed, *key.key, signedBytes, signature, log) ? SignatureVerdict::Good
                                                                            : SignatureVerdict::Bad;
}

void SignatureChecks::inheritParameters(const VantrelX509& certificate, ByteView& parameters) {
    // RFC 5280 6.1.4 d to f: another kind of key in between ends what is handed down.
    KeyInfo info;
    // Another kind of key in the chain hands nothing down, not even what came from above it.
    if (!readKeyInfo(certificate.publicKeyInfo(), info) || !isDsa(info)) {
        parameters = {};
        return;
    }
    if (!info.parameters.empty()) {
        parameters = info.parameters;
        return;
    }
    Key& key = keyOf(certificate);
    // The same key may take other parameters on another path; then it is made anew.
    if (!sameBytes(key.inherited, parameters)) {
        key.key = loadWithParameters(info, parameters);
        key.inherited = parameters;
    }
}

Strength SignatureChecks::keyStrength(const VantrelX509& certificate) {
    const Key& key = keyOf(certificate);
    if (key.key == nullptr) {
        return Strength::Strong; // cannot be used, which others say
    }
    // The bounds of today's recommendations: 2048 bits, and 1024 as what has been broken or soon
    // will.
    const unsigned bits = key.key->bits();
    switch (key.key->kind()) {
    case KeyKind::Rsa:
    case KeyKind::Dsa:
        return bits < kBrokenModulus ? Strength::Broken
               : bits < kWeakModulus ? Strength::Weak
                                     : Strength::Strong;
    case KeyKind::Ec: return bits < kWeakCurve ? Strength::Weak : Strength::Strong;
    default: return Strength::Strong;
    }
}

// What is broken for certificates is not what is broken for digests: an issuer signs what others
// hand in, so that a collision is enough.
Strength SignatureChecks::algorithmStrength(ByteView algorithm) {
    SignatureAlgorithm parsed;
    // Not known, so not used: the verdict on the signature says it is unsupported.
    if (!parseSignatureAlgorithm(algorithm, parsed)) {
        return Strength::Strong;
    }
    switch (parsed.hashId) {
    case kHashMd2:
    case kHashMd5:
    case kHashRipemd128: return Strength::Broken;
    case kHashSha1:
    case kHashRipemd160: return Strength::Weak;
    default: return Strength::Strong;
    }
}

} // namespace vantrel::x509
