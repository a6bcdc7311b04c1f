// SPDX-License-Identifier: MIT
#include "dsig/explain/other_keys.h"

#include "dsig/document/child_elements.h"
#include "dsig/explain/change.h"
#include "dsig/explain/codes.h"
#include "dsig/keys/candidate_keys.h"
#include "dsig/keys/certificate_keys.h"
#include "dsig/keys/key_values.h"
#include "dsig/keys/known_to_caller.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/text/encoders.h"

#include <algorithm>

namespace vantrel::dsig::explain {

namespace {

// A document can hold any number of certificates, and each becomes a key of some kilobytes. Text of
// a certificate of 48 KB; real ones are a twentieth of that.
constexpr std::size_t kMostKeys = 100;
constexpr std::size_t kMostCertificateText = 64 * 1024;

// Quoted, for it comes from a document.
std::string subjectOf(const VantrelX509& certificate) {
    LogNull log;
    XString name;
    certificate.getDN(true, true, name, log, 0);
    return quoted(name.getUtf8Sb().view());
}

// One that gives no key is passed over, as everything here that cannot be read. Broken certificates
// in a document are no failure of its signature.
void addCertificate(const VantrelX509& certificate, std::string_view code, std::string_view where,
                    KeyCollection& keys) {
    LogNull log;
    Ref<ClsPublicKey> key = publicKeyFromX509(certificate, log);
    if (key) {
        keys.add(std::move(key), {code, "the key of the certificate of " + subjectOf(certificate) +
                                            ", which " + std::string(where) + ", made the value"});
    }
}

// `any`: a handle into the document, from which others are made.
void addCertificateElement(const xml::XmlDocument& document, const ClsXml& any,
                           xml::ElementId element, KeyCollection& keys) {
    LogNull log;
    StringBuffer text;
    DataBuffer der;
    VantrelX509 certificate;
    if (document.element(element).end - document.element(element).start > kMostCertificateText) {
        return;
    }
    // Base64 with line ends and blanks, as it stands in documents.
    handleOn(any, element)->getContentSb(text);
    if (text::decodeBase64(text.view(), der) && certificate.loadX509Der(der, log)) {
        addCertificate(certificate, cause::kOtherKeyInDocument, "stands elsewhere in the document",
                       keys);
    }
}

// By local names, wherever they stand: in KeyInfo elements of other signatures, in tokens, in the
// certificate values of XAdES. A prefix is nobody's promise: gateways rename them.
void addDocumentKeys(const KeyQuery& query, KeyCollection& keys) {
    const xml::XmlDocument& document = *query.document->structure;
    const ClsXml& any = *query.selection.signature;
    LogNull log;
    for (xml::ElementId id = 0; id < document.elementCount() && keys.tried.size() < kMostKeys;
         ++id) {
        const std::string_view name = document.localName(id);
        if (name == "X509Certificate" || name == "BinarySecurityToken" ||
            name == "EncapsulatedX509Certificate") {
            addCertificateElement(document, any, id, keys);
        } else if (name == "KeyValue" && document.parent(id) != xml::kNoElement) {
            // The parent is what readKeyValues expects: the element that holds a KeyValue.
            std::vector<Ref<ClsPublicKey>> found;
            LastKeyValue none;
            static_cast<void>(readKeyValues(*handleOn(any, document.parent(id)), none, found, log));
            for (Ref<ClsPublicKey>& key : found) {
                keys.add(std::move(key), {cause::kOtherKeyInDocument,
                                          "a KeyValue elsewhere in the document made the value"});
            }
        }
    }
}

} // namespace

bool KeyCollection::add(Ref<ClsPublicKey> key, Deviation deviation) {
    // The first entry of a key keeps it: keys that a verification tries come first.
    const bool known = std::any_of(tried.begin(), tried.end(), [&](const TriedKey& each) {
        return isSameKey(*each.key, key->key());
    });
    if (known || tried.size() >= kMostKeys) {
        return false;
    }
    tried.push_back({&key->key(), std::move(deviation)});
    owned.push_back(std::move(key));
    return true;
}

// At most kMostKeys of all kinds together; each may cost an operation for every candidate.
KeyCollection collectKeys(const KeyQuery& query) {
    KeyCollection keys;
    LogNull log;
    // What is found to be lenient in here was told by the verification.
    CodeSet leniencies;
    for (CandidateKey& candidate : candidateKeys(query, leniencies, log)) {
        keys.add(std::move(candidate.key), {});
    }
    // Behind the candidates, so that only other keys count as others.
    addDocumentKeys(query, keys);
    // The store has no count, so it is walked to its end.
    for (std::size_t i = 0; query.store != nullptr && i < kMostKeys; ++i) {
        const VantrelX509* const certificate = query.store->certificateAt(i);
        if (certificate == nullptr) {
            break;
        }
        addCertificate(*certificate, cause::kOtherGivenKey, "was given", keys);
    }
    return keys;
}

} // namespace vantrel::dsig::explain
