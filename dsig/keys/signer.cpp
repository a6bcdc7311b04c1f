// SPDX-License-Identifier: MIT
#include "dsig/keys/signer.h"

#include "dsig/keys/carried_certificates.h"
#include "dsig/keys/known_to_caller.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/x509/CertificateHolder.h"
#include "foundation/x509/SystemCerts.h"
#include "foundation/x509/keys/key_der.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace vantrel::dsig {

namespace {

void take(const VantrelX509& certificate, const std::shared_ptr<CertificateTexts>& texts,
          std::string_view source, SignerReport& signer) {
    signer.certificate = certificate;
    signer.certificateTexts = texts;
    signer.source = source;
}

// Another candidate of the same key that is a certificate.
bool findAmongCandidates(const std::vector<KeyReport>& keys, SignerReport& signer) {
    for (const KeyReport& key : keys) {
        if (key.certificateTexts != nullptr && key.certificate.isLoaded() &&
            key.spkiSha256() == signer.spkiSha256) {
            take(key.certificate, key.certificateTexts, key.source, signer);
            return true;
        }
    }
    return false;
}

// RFC 5280 4.2.1.2, method 1: the store finds a certificate by the SHA-1 of its key too. Another
// one may bear that identifier, so the keys are compared.
bool findInStore(SystemCerts* store, const _vlPublicKey& key, ByteView keyBits,
                 SignerReport& signer) {
    if (store == nullptr) {
        return false;
    }
    DataBuffer digest;
    _vlHash::doHash(keyBits.data(), static_cast<std::uint32_t>(keyBits.size()), kHashSha1, digest);
    StringBuffer identifier;
    digest.encodeDB("base64", identifier);
    LogNull log;
    CertRecord* const record = store->findBySubjectKeyId(identifier, log);
    const VantrelX509* const found = record != nullptr ? record->getX509Ptr() : nullptr;
    if (found == nullptr || !isCertificateOf(*found, key)) {
        return false;
    }
    take(*found, std::make_shared<CertificateTexts>(), kGivenCertificate, signer);
    return true;
}

void findInDocument(Document& document, const _vlPublicKey& key, ByteView keyBits,
                    SignerReport& signer) {
    const xml::ElementId element = carriedByKey(document, keyBits);
    if (element == xml::kNoElement) {
        return;
    }
    const CertificateCache::Entry entry = carriedCertificate(document, element);
    if (!isCertificateOf(entry->certificate, key)) {
        return;
    }
    const std::string_view name = document.structure->localName(element);
    take(entry->certificate, entry->texts, *std::ranges::find(kCertificateElements, name), signer);
}

} // namespace

SignerReport describeSigner(const std::vector<KeyReport>& keys, const KeyQuery& query) {
    SignerReport signer;
    const auto used = std::ranges::find_if(keys, [](const KeyReport& key) { return key.used; });
    if (used == keys.end()) {
        return signer;
    }
    signer.source = used->source;
    signer.spkiSha256 = used->spkiSha256();
    if (used->certificate.isLoaded()) {
        take(used->certificate, used->certificateTexts, used->source, signer);
        return signer;
    }
    if (!used->key || findAmongCandidates(keys, signer)) {
        return signer;
    }
    const _vlPublicKey& key = used->key->key();
    const std::vector<std::uint8_t> keyBits = x509::subjectPublicKeyBits(key);
    if (!findInStore(query.store, key, keyBits, signer) && query.document != nullptr) {
        findInDocument(*query.document, key, keyBits, signer);
    }
    return signer;
}

} // namespace vantrel::dsig
