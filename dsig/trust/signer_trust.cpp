#include "dsig/trust/signer_trust.h"

#include "dsig/keys/document_certificates.h"
#include "dsig/trust/xades_parts.h"
#include "foundation/cms/Pkcs7SignedData.h"
#include "foundation/cms/cms_oids.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/SystemCerts.h"

#include <algorithm>
#include <chrono>

namespace vantrel::dsig {

namespace {

// What all signatures of a document may cost here, in steps that each take about a microsecond.
// Honest documents stay far below; a hostile one has as many signatures, each with as many
// certificates, as it likes.
constexpr std::uint64_t kMostWork = 10'000'000;
// A signature check in such steps.
constexpr std::uint64_t kCheckWork = 200;
constexpr std::uint64_t kOctetsPerStep = 64;
constexpr std::uint64_t kElementsPerStep = 64;
constexpr std::uint64_t kListOctetsPerStep = 512;
// RFC 5280 4.2.1.3: a key that signs documents may be for either (bits 0 and 1).
constexpr std::uint32_t kForSignatures = 0x3;

std::int64_t secondsNow() {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::seconds>(since).count();
}

StringBuffer contentOf(const Document& document, xml::ElementId element) {
    StringBuffer text;
    Ref<ClsXml>::adopt(ClsXml::onElement(document.structure, element))->getContentSb(text);
    return text;
}

// What both paths of a signature have in common.
x509::PathQuery queryBy(const Policy& policy, const Material& material) {
    x509::PathQuery query;
    query.candidates = material.certificates();
    query.anchors = policy.anchors;
    query.crls = policy.crls;
    query.crls.insert(query.crls.end(), material.crls().begin(), material.crls().end());
    query.ocspResponses = material.ocspResponses();
    query.checkRevocation = policy.checkRevocation;
    query.keyUsage = kForSignatures;
    return query;
}

// A path that was not looked for: why not, and of which certificate (an empty one: of none).
void refuse(x509::PathResult& result, x509::PathFault fault, const VantrelX509& certificate,
            const char* text) {
    result.trusted = false;
    result.problems.push_back({fault, &certificate, text});
}

std::uint64_t octetsOf(const std::vector<ByteView>& lists) {
    std::uint64_t octets = 0;
    for (const ByteView list : lists) {
        octets += list.size();
    }
    return octets;
}

bool isSame(const VantrelX509& one, const VantrelX509& other) {
    return std::ranges::equal(one.certificate(), other.certificate());
}

// The path, within what is left of the document's account.
x509::PathResult findPathFor(x509::PathQuery& query, Document* document) {
    const std::uint64_t spent = document != nullptr ? document->trustWork : 0;
    const std::uint64_t left = kMostWork - std::min(spent, kMostWork);
    query.limits.visits =
        static_cast<std::size_t>(std::min<std::uint64_t>(query.limits.visits, left));
    query.limits.signatureChecks = static_cast<std::size_t>(
        std::min<std::uint64_t>(query.limits.signatureChecks, left / kCheckWork));
    x509::PathResult result;
    if (query.limits.signatureChecks == 0) {
        result.time = query.time;
        refuse(result, x509::PathFault::Limit, *query.target,
               "the document's signatures have asked for too many certification paths");
        return result;
    }
    result = x509::findPath(query);
    if (document != nullptr) {
        document->trustWork += result.work.visits + result.work.signatureChecks * kCheckWork +
                               query.candidates.size() + query.anchors.size() +
                               octetsOf(query.crls) / kListOctetsPerStep;
    }
    return result;
}

// RFC 3161 4.3: what an authority signed stays good after its certificate has expired, unless its
// key is known to have been in other hands by then.
bool isAuthorityTrusted(const Policy& policy, const SignatureReport& report, Document* document,
                        const Material& material) {
    if (report.stamp == nullptr) {
        return false;
    }
    x509::PathQuery query = queryBy(policy, material);
    query.target = &report.stamp->authority;
    query.time = report.stamp->time;
    query.revocationTime = secondsNow();
    query.purposes = {std::string(cms::oid::kTimeStampingPurpose)};
    return findPathFor(query, document).trusted;
}

} // namespace

Material::Material(const SignatureReport& report, Document* document, SystemCerts* store) {
    for (const KeyReport& key : report.keys) {
        add(key.certificate);
    }
    add(report.signer.certificate);
    if (report.stamp != nullptr) {
        addStamp(*report.stamp);
    }
    for (std::size_t i = 0; store != nullptr && store->certificateAt(i) != nullptr; ++i) {
        m_certificates.push_back(store->certificateAt(i));
    }
    if (document != nullptr && report.signatureElement != xml::kNoElement) {
        addCarried(report, *document);
    }
}

// A copy shares the certificate's octets.
void Material::add(const VantrelX509& certificate) {
    if (certificate.isLoaded()) {
        m_certificates.push_back(&m_owned.emplace_back(certificate));
    }
}

void Material::addStamp(const StampReport& stamp) {
    LogNull discard;
    Pkcs7SignedData token;
    bool otherContentType = false;
    add(stamp.authority);
    if (token.loadPkcs7Der(stamp.token, nullptr, 2, otherContentType, nullptr, discard)) {
        for (const VantrelX509& certificate : token.carriedCertificates()) {
            add(certificate);
        }
    }
}

void Material::addCarried(const SignatureReport& report, Document& document) {
    const xml::ElementId signature = report.signatureElement;
    const xml::ElementId elements = document.structure->element(signature).next - signature;
    if (!charge(document, elements / kElementsPerStep)) {
        return;
    }
    const Evidence evidence = findEvidence(*document.structure, signature);
    for (const xml::ElementId element : evidence.certificates) {
        const LogNull log;
        const StringBuffer base64 = contentOf(document, element);
        if (!charge(document, base64.getSize() / kOctetsPerStep)) {
            return;
        }
        add(certificateOfText(document.certificates, base64, log)->certificate);
    }
    addOctets(document, evidence.crls, m_crls);
    addOctets(document, evidence.ocspResponses, m_answers);
}

// What is no base64 is no evidence.
void Material::addOctets(Document& document, const std::vector<xml::ElementId>& elements,
                         std::vector<ByteView>& out) {
    for (const xml::ElementId element : elements) {
        const StringBuffer base64 = contentOf(document, element);
        DataBuffer der;
        if (!charge(document, base64.getSize() / kOctetsPerStep)) {
            return;
        }
        if (text::decodeBase64(base64.view(), der) && !der.isEmpty()) {
            out.push_back(m_octets.emplace_back(std::move(der)).view());
        }
    }
}

bool Material::charge(Document& document, std::uint64_t work) {
    document.trustWork += work + 1;
    m_complete = m_complete && document.trustWork <= kMostWork;
    return m_complete;
}

SignerTrust judgeSigner(const Policy& policy, const SignatureReport& report, Document* document,
                        std::shared_ptr<const Material> material) {
    static const VantrelX509 none;
    SignerTrust trust;
    trust.material = std::move(material);
    trust.authorityTrusted = isAuthorityTrusted(policy, report, document, *trust.material);
    trust.atStampTime = trust.authorityTrusted && !policy.at;
    const std::int64_t now = secondsNow();
    x509::PathQuery query = queryBy(policy, *trust.material);
    query.time = policy.at ? *policy.at : trust.atStampTime ? report.stamp->time : now;
    if (trust.atStampTime) {
        query.revocationTime = now;
    }
    query.purposes = policy.purposes;
    trust.path.time = query.time;
    // The material's copy, since the report may go before the result.
    const auto isSigners = [&](const VantrelX509* one) {
        return isSame(*one, report.signer.certificate);
    };
    const auto& known = trust.material->certificates();
    const auto target = std::ranges::find_if(known, isSigners);
    if (!report.signer.certificate.isLoaded() || target == known.end()) {
        refuse(trust.path, x509::PathFault::NoPath, none,
               "no certificate of the key that verified is at hand");
        return trust;
    }
    query.target = *target;
    // Whoever names a certificate as an anchor trusts it as it is.
    if (std::ranges::any_of(policy.anchors, isSigners)) {
        query.keyUsage = 0;
    }
    trust.path = findPathFor(query, document);
    if (!trust.path.trusted && !trust.material->complete()) {
        refuse(trust.path, x509::PathFault::Limit, *query.target,
               "the document carries more certificates and lists than are looked at");
    }
    return trust;
}

} // namespace vantrel::dsig
