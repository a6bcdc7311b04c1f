// SPDX-License-Identifier: MIT
#include "foundation/cms/certificate_path.h"

#include "foundation/cms/certificate_source.h"
#include "foundation/cms/cms_oids.h"
#include "foundation/x509/path/path_query.h"
#include "foundation/x509/path/path_report.h"

namespace vantrel::cms {

namespace {

// Authorities have short paths. What a message carries beyond that is there to cost time.
constexpr std::size_t kMaxVisits = 200;
constexpr std::size_t kMaxSignatureChecks = 40;

} // namespace

bool leadsToStore(const VantrelX509& certificate, const CertificateSource& source,
                  std::int64_t time, std::string& whyNot) {
    x509::PathQuery query;
    query.target = &certificate;
    query.time = time;
    query.purposes = {std::string(oid::kTimeStampingPurpose)};
    query.limits.visits = kMaxVisits;
    query.limits.signatureChecks = kMaxSignatureChecks;
    source.collectPathCertificates(certificate, query.candidates, query.anchors);
    if (query.anchors.empty()) {
        whyNot = "no issuer is in the store";
        return false;
    }
    const x509::PathResult result = x509::findPath(query);
    if (!result.trusted) {
        const x509::PathProblem& problem = result.problems.front();
        whyNot = std::string(x509::pathFaultWord(problem.fault)) + ": " +
                 x509::subjectText(*problem.certificate) + ": " + problem.text;
    }
    return result.trusted;
}

} // namespace vantrel::cms
