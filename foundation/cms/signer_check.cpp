// SPDX-License-Identifier: MIT
#include "foundation/cms/signer_check.h"

#include "foundation/cms/certificate_source.h"
#include "foundation/cms/cms_oids.h"
#include "foundation/cms/signed_attributes.h"
#include "foundation/cms/signed_data.h"
#include "foundation/cms/signing_certificate.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/text/LogBase.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/_vlPublicKey.h"
#include "foundation/x509/keys/key_der.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/signature_algorithm.h"

#include <string>
#include <vector>

namespace vantrel::cms {

using x509::sameBytes;
using x509::SignatureAlgorithm;

namespace {

// Bits of KeyUsage that allow a signature over data.
constexpr std::uint32_t kSigningUsages = 1U << 0 | 1U << 1; // digitalSignature, nonRepudiation

// Certificates of one issuer and serial number that are tried: more than one is odd already, and
// each may cost several verifications with a key of the sender's choice.
constexpr std::size_t kMaxSignerCandidates = 4;

// What the signature is over, and how it was made.
struct Claim {
    SignatureAlgorithm algorithm;
    int digestId = kHashNone;
    std::vector<std::uint8_t> attributes; // the encoded set, when there are signed attributes
    ByteView signedBytes;                 // of `attributes`, or the content
    ByteView signature;
};

// digestAlgorithm and signatureAlgorithm of SignerInfo, and the signature itself.
bool readAlgorithms(const SignerInfo& signer, Claim& claim, LogBase& log) {
    claim.digestId = x509::parseDigestAlgorithm(signer.digestAlgorithm);
    if (claim.digestId == kHashNone) {
        log.LogError("The digest algorithm of the signed data is not supported.");
        return false;
    }
    // The parameters are parsed with it: those of RSA-PSS say which hash and mask (RFC 8017 A.2.3).
    if (!x509::parseSignatureAlgorithm(signer.signatureAlgorithm, claim.algorithm)) {
        std::string name;
        log.LogError("The signature algorithm of the signed data is not supported.");
        if (x509::appendSignatureAlgorithmName(signer.signatureAlgorithm, name)) {
            log.logText("signatureAlgorithm", name);
        }
        return false;
    }
    claim.signature = signer.signature;
    return true;
}

// RFC 5652 11.1, 11.2: the attributes belong to this content, by its type and by its digest.
bool attributesMatch(const SignedData& data, const SignedAttributes& attributes, int digestId,
                     ContentDigests& digests, LogBase& log) {
    if (!sameBytes(attributes.contentType, data.contentType)) {
        log.LogError("The content-type attribute is not the type of the content.");
        return false;
    }
    if (!sameBytes(attributes.messageDigest, digests.digest(digestId))) {
        log.LogError("The message-digest attribute is not the digest of the content.");
        return false;
    }
    return true;
}

// One verification, of one order of the attributes, with one key.
bool verifies(const Claim& claim, const _vlPublicKey& key, LogBase& log) {
    SignatureAlgorithm algorithm = claim.algorithm;
    if (algorithm.hashId != kHashNone &&
        x509::verifySignedBytes(algorithm, key, claim.signedBytes, claim.signature, log)) {
        return true;
    }
    // "rsaEncryption" and the like name no hash: the digest algorithm does. Where the two disagree
    // signers in the wild mean the digest algorithm. RSA-PSS has its own parameters.
    if (algorithm.pss || algorithm.hashId == claim.digestId) {
        return false;
    }
    algorithm.hashId = claim.digestId;
    return x509::verifySignedBytes(algorithm, key, claim.signedBytes, claim.signature, log);
}

// The signature over the set of attributes as DER has it (RFC 5652 5.4), or over the order in which
// it stands: some signers hash what they wrote and did not sort. Without attributes it is over the
// content.
bool verifiesInAnyOrder(Claim& claim, const SignerInfo& signer, const _vlPublicKey& key,
                        LogBase& log) {
    if (!signer.hasSignedAttributes) {
        return verifies(claim, key, log);
    }
    // First as DER has it, which nearly all signers mean; then, if that is another order at all, as
    // it stands.
    const bool reordered = encodeSignedAttributes(signer.signedAttributes, true, claim.attributes);
    claim.signedBytes = claim.attributes;
    if (verifies(claim, key, log)) {
        return true;
    }
    if (!reordered) {
        return false;
    }
    static_cast<void>(encodeSignedAttributes(signer.signedAttributes, false, claim.attributes));
    claim.signedBytes = claim.attributes;
    if (!verifies(claim, key, log)) {
        return false;
    }
    log.LogInfo("The signed attributes were signed in an order that DER does not allow.");
    return true;
}

// A certificate whose key cannot be read may be one of several of that name; so it is no error, and
// the log says only what was wrong with it.
bool verifiesWith(Claim& claim, const SignerInfo& signer, const VantrelX509& certificate,
                  LogBase& log) {
    _vlPublicKey key;
    std::string_view whyNot;
    if (!x509::loadSubjectPublicKeyInfo(certificate.publicKeyInfo(), key, whyNot)) {
        log.logText("signerKeyFault", whyNot);
        return false;
    }
    return verifiesInAnyOrder(claim, signer, key, log);
}

// RFC 5035 2: an attribute that is there must name the certificate. A key may have several
// certificates; the attribute keeps somebody else from putting another of them in its place.
bool isNamedBy(const SignedAttributes& attributes, const VantrelX509& certificate) {
    return (attributes.signingCertificate.empty() ||
            namesCertificate(attributes.signingCertificate, certificate)) &&
           (attributes.signingCertificateV2.empty() ||
            namesCertificateV2(attributes.signingCertificateV2, certificate));
}

// Tries the candidates in their order. The two ways to fail are told apart, since "the signature is
// invalid" would be a wrong answer where it is only that the certificate was exchanged.
bool findVerifyingCertificate(Claim& claim, const SignerInfo& signer,
                              const SignedAttributes& attributes, const CertificateSource& source,
                              const VantrelX509*& certificate, LogBase& log) {
    const std::vector<const VantrelX509*> candidates = source.signerCandidates(signer);
    if (candidates.empty()) {
        log.LogError("The signer's certificate is neither in the signed data nor in the store.");
        return false;
    }
    if (candidates.size() > kMaxSignerCandidates) {
        log.LogError("Too many certificates have the name and number of the signer's.");
        return false;
    }
    bool verified = false;
    for (const VantrelX509* const candidate : candidates) {
        if (!verifiesWith(claim, signer, *candidate, log)) {
            continue;
        }
        verified = true;
        if (isNamedBy(attributes, *candidate)) {
            certificate = candidate;
            return true;
        }
    }
    if (verified) {
        log.LogError("The signing-certificate attribute does not name the signer's certificate.");
    } else {
        log.LogError("The signature of the signed data is invalid.");
    }
    return false;
}

} // namespace

ByteView ContentDigests::digest(int hashId) noexcept {
    if (crypto::hashDigestSize(hashId) == 0) {
        return {};
    }
    Entry& entry = m_entries[static_cast<std::size_t>(hashId) % m_entries.size()];
    if (entry.size == 0) {
        entry.size = crypto::hashBytes(hashId, m_content, entry.bytes).size();
    }
    return ByteView(entry.bytes).first(entry.size);
}

bool checkSigner(const SignedData& data, const SignerInfo& signer, ContentDigests& digests,
                 const CertificateSource& source, const VantrelX509*& certificate, LogBase& log) {
    Claim claim;
    if (!readAlgorithms(signer, claim, log)) {
        return false;
    }
    // RFC 5652 5.4: what is signed is the encoding of the attributes, or without them the content.
    SignedAttributes attributes;
    if (signer.hasSignedAttributes) {
        if (!parseSignedAttributes(signer.signedAttributes, attributes)) {
            log.LogError("The signed attributes are malformed or incomplete.");
            return false;
        }
        if (!attributesMatch(data, attributes, claim.digestId, digests, log)) {
            return false;
        }
    } else if (!sameBytes(data.contentType, oid::kData)) {
        // RFC 5652 5.3. Without this rule the signed attributes of one message could be passed off
        // as the content of another.
        log.LogError("There are no signed attributes, although the content is not plain data.");
        return false;
    } else {
        claim.signedBytes = data.content;
    }
    return findVerifyingCertificate(claim, signer, attributes, source, certificate, log);
}

bool isMadeForTimeStamping(const VantrelX509& certificate, LogBase& log) {
    // id-kp-timeStamping alone, and critical (RFC 3161 2.3). KeyUsage may be absent: then the key
    // may do everything (RFC 5280 4.2.1.3).
    bool present = false;
    bool named = false;
    bool onlyOne = false;
    bool critical = false;
    certificate.extendedKeyUsage(oid::kTimeStampingPurpose, present, named, onlyOne, critical);
    std::uint32_t usage = 0;
    const bool maySign = !certificate.keyUsage(usage) || (usage & kSigningUsages) != 0;
    if (named && onlyOne && critical && maySign) {
        return true;
    }
    log.LogError("The signer's certificate is not made for time-stamping.");
    log.logText("reason", !named      ? "its extended key usage is not time-stamping"
                          : !onlyOne  ? "it has other extended key usages"
                          : !critical ? "its extended key usage is not critical"
                                      : "its key usage does not allow signatures");
    return false;
}

} // namespace vantrel::cms
