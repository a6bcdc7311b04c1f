// SPDX-License-Identifier: MIT
#include "dsig/keys/signer.h"

#include "dsig/document/fingerprint.h"
#include "dsig/keys/document_certificates.h"
#include "dsig/keys/known_to_caller.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/x509/CertificateHolder.h"
#include "foundation/x509/SystemCerts.h"
#include "foundation/x509/keys/key_der.h"

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <string_view>

namespace vantrel::dsig {

namespace {

// XML Signature 4.5.4, XAdES (ETSI TS 101 903), WS-Security: by local name in any namespace.
constexpr std::array<std::string_view, 3> kCertificateElements = {
    "X509Certificate", "EncapsulatedX509Certificate", "BinarySecurityToken"};

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

CertificateCache::Entry decoded(Document& document, xml::ElementId element) {
    StringBuffer base64;
    Ref<ClsXml>::adopt(ClsXml::onElement(document.structure, element))->getContentSb(base64);
    const LogNull log;
    return certificateOfText(document.certificates, base64, log);
}

// The certificates of the document by their keys, the first of each: one pass for all signatures.
const std::map<std::string, xml::ElementId>& certificatesByKey(Document& document) {
    if (document.certificatesByKey) {
        return *document.certificatesByKey;
    }
    std::map<std::string, xml::ElementId> found;
    const xml::XmlDocument& structure = *document.structure;
    for (xml::ElementId element = 0; element < structure.elementCount(); ++element) {
        if (std::ranges::find(kCertificateElements, structure.localName(element)) ==
            kCertificateElements.end()) {
            continue;
        }
        const CertificateCache::Entry entry = decoded(document, element);
        if (entry->certificate.isLoaded()) {
            found.emplace(sha256Text(entry->certificate.subjectPublicKeyBits()), element);
        }
    }
    document.certificatesByKey = std::move(found);
    return *document.certificatesByKey;
}

void findInDocument(Document& document, const _vlPublicKey& key, ByteView keyBits,
                    SignerReport& signer) {
    const auto& byKey = certificatesByKey(document);
    const auto found = byKey.find(sha256Text(keyBits));
    if (found == byKey.end()) {
        return;
    }
    const CertificateCache::Entry entry = decoded(document, found->second);
    if (!isCertificateOf(entry->certificate, key)) {
        return;
    }
    const std::string_view name = document.structure->localName(found->second);
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
