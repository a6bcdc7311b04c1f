// SPDX-License-Identifier: MIT
#include "dsig/keys/standard_keys.h"

#include "dsig/document/standards.h"
#include "dsig/keys/carried_certificates.h"
#include "dsig/keys/certificate_keys.h"
#include "dsig/keys/document_certificates.h"
#include "dsig/keys/known_to_caller.h"
#include "dsig/keys/retrieval_method.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/text/encoders.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <utility>

namespace vantrel::dsig {

namespace {

// Far above any KeyInfo in use: elements that are looked at, and keys that are tried.
constexpr std::size_t kMostParts = 1000;
constexpr std::size_t kMostKeys = 100;
// References that are followed, and digests that certificates are looked for by.
constexpr std::size_t kMostLookUps = 16;

// A part of a KeyInfo that is still to be read, and where a key in it comes from. A part that was
// referred to is read as a whole; of the KeyInfo itself the usual forms were read before.
struct Part {
    xml::ElementId element;
    bool referredTo;
    KeySource source;
};

// Reads parts in turn, without recursion: references may lead anywhere, and in a circle.
class StandardKeyWalk {
public:
    StandardKeyWalk(const KeyQuery& query, std::span<const CandidateKey> before,
                    LogBase& log) noexcept
        : m_query(query), m_before(before), m_log(log) {}

    [[nodiscard]] std::vector<CandidateKey> run(xml::ElementId keyInfo) {
        m_parts.push_back({keyInfo, false, {}});
        for (std::size_t i = 0; i < m_parts.size() && m_keys.size() < kMostKeys; ++i) {
            const Part part = m_parts[i];
            if (m_seen.insert(part.element).second) {
                read(part);
            }
        }
        return std::move(m_keys);
    }

private:
    void read(const Part& part) {
        const std::string_view name = structure().localName(part.element);
        if (name == "KeyInfo" || name == "KeyValue" || name == "X509Data") {
            readChildren(part);
        } else if (name == "DEREncodedKeyValue") {
            addDerKey(part, sourceOf(part, keysource::kDerEncodedKeyValue));
        } else if (name == "ECDSAKeyValue") {
            addXmlKey(part, sourceOf(part, keysource::kEcdsaKeyValue));
        } else if (name == "X509Digest") {
            addByDigest(part);
        } else if (name == "RetrievalMethod") {
            follow(part, keysource::kRetrievalMethod);
        } else if (name == "KeyInfoReference") {
            follow(part, keysource::kKeyInfoReference);
        } else if (part.referredTo) {
            readUsualForm(part, name);
        }
    }

    void readUsualForm(const Part& part, std::string_view name) {
        if (name == "RSAKeyValue" || name == "DSAKeyValue" || name == "ECKeyValue") {
            addXmlKey(part, part.source);
        } else if (name == "X509Certificate") {
            addCertificate(part);
        }
    }

    void readChildren(const Part& part) {
        for (xml::ElementId child = structure().firstChild(part.element);
             child != xml::kNoElement && m_parts.size() < kMostParts;
             child = structure().nextChild(part.element, child)) {
            m_parts.push_back({child, part.referredTo, part.source});
        }
    }

    void follow(const Part& part, const KeySource& source) {
        if (++m_lookUps > kMostLookUps) {
            return;
        }
        const RetrievedKey target = retrievedKey(structure(), part.element);
        if (target.element == xml::kNoElement) {
            m_log.LogInfo("A reference of the KeyInfo leads to no key.");
        } else if (target.isRawCertificate) {
            addCertificate({target.element, true, source});
        } else if (m_parts.size() < kMostParts) {
            m_parts.push_back({target.element, true, source});
        }
    }

    // XML Signature 1.1, 4.5.9: a SubjectPublicKeyInfo.
    void addDerKey(const Part& part, const KeySource& source) {
        DataBuffer der;
        Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
        if (text::decodeBase64(contentOf(part.element).view(), der) && key &&
            key->loadAnyDer(der, m_log)) {
            add({.key = std::move(key),
                 .source = source,
                 .certificate = {},
                 .certificateTexts = nullptr});
        }
    }

    void addXmlKey(const Part& part, const KeySource& source) {
        XString xml;
        handle(part.element)->GetXml(xml);
        Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
        if (key && key->loadXml(xml, m_log)) {
            add({.key = std::move(key),
                 .source = source,
                 .certificate = {},
                 .certificateTexts = nullptr});
        }
    }

    void addCertificate(const Part& part) {
        const CertificateCache::Entry entry =
            certificateOfText(m_query.document->certificates, contentOf(part.element), m_log);
        SeenCertificates seen;
        add(candidateOf(m_query.document->certificates, entry, part.source, seen, m_log));
    }

    // XML Signature 1.1, 4.5.4.1: the digest of a whole certificate. It proves nothing: it only
    // says which certificate is tried, of the caller's or else of the document's.
    void addByDigest(const Part& part) {
        StringBuffer algorithm;
        DataBuffer stored;
        handle(part.element)->getAttrValue("Algorithm", algorithm);
        const int hashAlg = digestByIdentifier(algorithm.view());
        if (hashAlg == 0 || ++m_lookUps > kMostLookUps ||
            !text::decodeBase64(contentOf(part.element).view(), stored) || stored.isEmpty()) {
            return;
        }
        if (const VantrelX509* const certificate = givenWithDigest(hashAlg, stored)) {
            add(candidateOf(*certificate, keysource::kX509Digest, m_log));
            return;
        }
        const xml::ElementId carried = carriedByDigest(*m_query.document, hashAlg, stored.view());
        if (carried != xml::kNoElement) {
            addCertificate({carried, true, keysource::kX509DigestOfCarried});
        }
    }

    [[nodiscard]] const VantrelX509* givenWithDigest(int hashAlg, const DataBuffer& stored) const {
        return m_query.store != nullptr ? m_query.store->findByDigest(hashAlg, stored.view())
                                        : nullptr;
    }

    void add(CandidateKey candidate) {
        if (!candidate.key) {
            return;
        }
        candidate.certificateGiven =
            candidate.certificate.isLoaded() &&
            (!candidate.source.inDocument || storeHolds(m_query.store, candidate.certificate));
        candidate.keyGiven = std::ranges::any_of(m_before, [&](const CandidateKey& one) {
            return one.keyGiven && isSameKey(one.key->key(), candidate.key->key());
        });
        m_keys.push_back(std::move(candidate));
    }

    static const KeySource& sourceOf(const Part& part, const KeySource& own) {
        return part.referredTo ? part.source : own;
    }
    [[nodiscard]] const xml::XmlDocument& structure() const { return *m_query.document->structure; }
    [[nodiscard]] Ref<ClsXml> handle(xml::ElementId element) const {
        return Ref<ClsXml>::adopt(ClsXml::onElement(m_query.document->structure, element));
    }
    [[nodiscard]] StringBuffer contentOf(xml::ElementId element) const {
        StringBuffer content;
        handle(element)->getContentSb(content);
        return content;
    }

    const KeyQuery& m_query;
    std::span<const CandidateKey> m_before;
    LogBase& m_log;
    std::size_t m_lookUps = 0;
    std::vector<Part> m_parts;
    std::set<xml::ElementId> m_seen;
    std::vector<CandidateKey> m_keys;
};

} // namespace

std::vector<CandidateKey> standardKeys(const KeyQuery& query, std::span<const CandidateKey> before,
                                       LogBase& log) {
    const LogContextExitor context(log, "standardKeys");
    const Ref<ClsXml> keyInfo =
        query.document == nullptr || query.selection.signature == nullptr
            ? Ref<ClsXml>()
            : Ref<ClsXml>::adopt(query.selection.signature->findChild("*:KeyInfo"));
    return keyInfo ? StandardKeyWalk(query, before, log).run(keyInfo->elementId())
                   : std::vector<CandidateKey>();
}

std::string_view standardOfSource(std::string_view source) {
    constexpr std::pair<std::string_view, std::string_view> kCodes[] = {
        {keysource::kDerEncodedKeyValue.name, standard::kDerKey},
        {keysource::kEcdsaKeyValue.name, standard::kRfc4050},
        {keysource::kX509Digest.name, standard::kX509Digest},
        {keysource::kKeyName.name, standard::kKeyName},
        {keysource::kRetrievalMethod.name, standard::kRetrievalMethod},
        {keysource::kKeyInfoReference.name, standard::kKeyInfoReference},
    };
    for (const auto& [name, code] : kCodes) {
        if (name == source) {
            return code;
        }
    }
    return {};
}

} // namespace vantrel::dsig
