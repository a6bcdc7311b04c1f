// SPDX-License-Identifier: MIT
#include "dsig/keys/carried_certificates.h"

#include "dsig/document/fingerprint.h"
#include "dsig/keys/document_certificates.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/text/LogBase.h"
#include "foundation/xml/tree/ClsXml.h"

#include <algorithm>
#include <map>
#include <string>

namespace vantrel::dsig {

namespace {

using CarriedTable = std::map<std::string, xml::ElementId, std::less<>>;

// Of equal keys the first element stays.
template <class KeyOf> CarriedTable makeCarriedTable(Document& document, const KeyOf& keyOf) {
    CarriedTable table;
    const xml::XmlDocument& structure = *document.structure;
    for (xml::ElementId element = 0; element < structure.elementCount(); ++element) {
        if (std::ranges::find(kCertificateElements, structure.localName(element)) ==
            kCertificateElements.end()) {
            continue;
        }
        const CertificateCache::Entry entry = carriedCertificate(document, element);
        if (entry->certificate.isLoaded()) {
            table.emplace(keyOf(entry->certificate), element);
        }
    }
    return table;
}

xml::ElementId find(const CarriedTable& table, std::string_view key) {
    const auto found = table.find(key);
    return found != table.end() ? found->second : xml::kNoElement;
}

} // namespace

CertificateCache::Entry carriedCertificate(Document& document, xml::ElementId element) {
    StringBuffer base64;
    Ref<ClsXml>::adopt(ClsXml::onElement(document.structure, element))->getContentSb(base64);
    const LogNull log;
    return certificateOfText(document.certificates, base64, log);
}

xml::ElementId carriedByKey(Document& document, ByteView keyBits) {
    if (!document.certificatesByKey) {
        document.certificatesByKey = makeCarriedTable(document, [](const VantrelX509& certificate) {
            return sha256Text(certificate.subjectPublicKeyBits());
        });
    }
    return find(*document.certificatesByKey, sha256Text(keyBits));
}

xml::ElementId carriedByDigest(Document& document, int hashAlg, ByteView digest) {
    auto table = document.certificatesByDigest.find(hashAlg);
    // Entered when it is complete: without memory on the way there is none.
    if (table == document.certificatesByDigest.end()) {
        const auto digestOf = [&](const VantrelX509& certificate) {
            std::uint8_t octets[crypto::kMaxDigestSize];
            return std::string(
                asText(crypto::hashBytes(hashAlg, certificate.certificate(), octets)));
        };
        table = document.certificatesByDigest.emplace(hashAlg, makeCarriedTable(document, digestOf))
                    .first;
    }
    return find(table->second, asText(digest));
}

} // namespace vantrel::dsig
