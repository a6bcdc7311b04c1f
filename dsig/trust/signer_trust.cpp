// SPDX-License-Identifier: MIT
#include "dsig/trust/signer_trust.h"

#include "dsig/keys/known_to_caller.h"
#include "foundation/cms/cms_oids.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel::dsig {

namespace {

// A signature check in steps of kMostTrustWork.
constexpr std::uint64_t kCheckWork = 200;
// Of a certificate: reading all its extensions.
constexpr std::uint64_t kCertificateWork = 2;
constexpr std::uint64_t kListOctetsPerStep = 512;
// RFC 5280 4.2.1.3: a key that signs documents may be for either (bits 0 and 1).
constexpr std::uint32_t kForSignatures = 0x3;

std::int64_t secondsNow() {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::seconds>(since).count();
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

// The path, within what is left of the document's account.
x509::PathResult findPathFor(x509::PathQuery& query, Document* document) {
    const std::uint64_t spent = document != nullptr ? document->trustWork : 0;
    const std::uint64_t left = kMostTrustWork - std::min(spent, kMostTrustWork);
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
        document->trustWork +=
            result.work.visits + result.work.signatureChecks * kCheckWork +
            kCertificateWork *
                (query.candidates.size() + query.anchors.size() + query.alternatives.size()) +
            (octetsOf(query.crls) + octetsOf(query.ocspResponses)) / kListOctetsPerStep;
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

// The certificates of the material that have the key that verified, that of the report first. Each
// once, however often it is carried.
std::vector<const VantrelX509*> certificatesToJudge(const SignatureReport& report,
                                                    const Material& material,
                                                    const VantrelX509* signedFor) {
    const VantrelX509& first = signedFor != nullptr ? *signedFor : report.signer.certificate;
    std::vector<const VantrelX509*> found;
    if (!first.isLoaded()) {
        return found;
    }
    // Pointers to the material's copies, since the report may go before the result.
    std::set<std::string_view> known;
    for (const VantrelX509* const one : material.certificates()) {
        const bool counts =
            signedFor != nullptr ? isSameCertificate(*one, first) : haveSameKey(*one, first);
        if (counts && known.insert(asText(one->certificate())).second) {
            found.push_back(one);
        }
    }
    std::stable_partition(found.begin(), found.end(), [&first](const VantrelX509* one) {
        return isSameCertificate(*one, first);
    });
    return found;
}

} // namespace

SignerTrust judgeSigner(const Policy& policy, const SignatureReport& report, Document* document,
                        std::shared_ptr<const Material> material, const VantrelX509* signedFor) {
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
    const std::vector<const VantrelX509*> targets =
        certificatesToJudge(report, *trust.material, signedFor);
    if (targets.empty()) {
        refuse(trust.path, x509::PathFault::NoPath, none,
               "no certificate of the key that verified is at hand");
        return trust;
    }
    query.target = targets.front();
    query.alternatives.assign(targets.begin() + 1, targets.end());
    // Whoever asks for strong algorithms gets a path of such where there is one.
    query.refuseWeak = policy.demands.contains(Demand::Strong);
    trust.path = findPathFor(query, document);
    if (!trust.path.trusted && query.refuseWeak) {
        query.refuseWeak = false;
        trust.path = findPathFor(query, document);
    }
    if (!trust.path.trusted && !trust.material->complete()) {
        refuse(trust.path, x509::PathFault::Limit, *targets.front(),
               "the document carries more certificates and lists than are looked at");
    }
    return trust;
}

} // namespace vantrel::dsig
