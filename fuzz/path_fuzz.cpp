// SPDX-License-Identifier: MIT
// A bag of certificates and lists in PEM, now and then signed anew, with answers of responders: the
// first certificate is the target and an anchor is the last. Whatever they are, the work stays
// bounded, a trusted path ends at the anchor (or at another copy of it), and one that holds with
// every status known holds without asking for it.

#include "foundation/text/LogBase.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/path/path_material.h"
#include "foundation/x509/path/path_query.h"
#include "fuzz/certificate_signer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace vantrel;

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

std::int64_t startOf(std::string_view pem) {
    LogNull log;
    x509::PathMaterial material;
    std::vector<const VantrelX509*> certificates;
    std::int64_t start = 0;
    std::int64_t end = 0;
    if (material.addCertificates(asBytes(pem), certificates, log)) {
        static_cast<void>(certificates.front()->validity(start, end));
    }
    return start + 3600; // lists are made after certificates
}

x509::PathResult pathOf(const x509::PathQuery& query) {
    x509::PathResult result = x509::findPath(query);
    require(result.work.signatureChecks <= query.limits.signatureChecks);
    require(result.trusted
                ? !result.path.empty() && x509::sameBytes(result.path.back()->certificate(),
                                                          query.anchors.front()->certificate())
                : !result.problems.empty());
    return result;
}

void ask(std::string_view pem, const std::vector<std::string>& answers, std::int64_t time) {
    LogNull log;
    x509::PathMaterial material;
    x509::PathQuery query;
    if (!material.addCertificates(asBytes(pem), query.candidates, log)) {
        return;
    }
    static_cast<void>(material.addCrls(asBytes(pem), query.crls, log));
    for (const std::string& answer : answers) {
        material.addOcspResponse(asBytes(answer), query.ocspResponses);
    }
    query.target = query.candidates.front();
    query.anchors = {query.candidates.back()};
    query.time = time;
    query.name = "dns:example.com";
    query.limits.visits = 200;
    query.limits.signatureChecks = 20;
    const bool trusted = pathOf(query).trusted;
    // That the name is not the certificate's ends most paths.
    query.name.clear();
    const bool trustedByAnyName = pathOf(query).trusted;
    query.checkRevocation = true;
    const x509::PathResult checked = pathOf(query);
    require(trustedByAnyName || (!trusted && !checked.trusted));
    const bool knowsAny = !query.crls.empty() || !query.ocspResponses.empty();
    require(!checked.trusted || checked.path.size() == 1 || knowsAny);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 65536) {
        return 0;
    }
    const std::string_view input = asText({data, size});
    const std::int64_t time = startOf(input);
    // What stands behind the last block.
    const std::size_t end = input.rfind("-----\n");
    if (size % 2 == 0 && end != std::string_view::npos) {
        const fuzz::SignedBag bag =
            fuzz::signedAnew(input.substr(0, end + 6), input.substr(end + 6), time);
        ask(bag.pem, bag.answers, time);
    } else {
        ask(input, {}, time);
    }
    return 0;
}
