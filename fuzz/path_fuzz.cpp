// SPDX-License-Identifier: MIT
// A bag of certificates and lists in PEM: the first certificate is the target and an anchor is the
// last. Whatever they are, the work stays bounded and a trusted path ends at the anchor (or
// at another copy of it).

#include "foundation/text/LogBase.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/path/path_material.h"
#include "foundation/x509/path/path_query.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantrel;
    if (size > 65536) {
        return 0;
    }
    LogNull log;
    const ByteView input(data, size);
    x509::PathMaterial material;
    x509::PathQuery query;
    if (!material.addCertificates(input, query.candidates, log)) {
        return 0;
    }
    static_cast<void>(material.addCrls(input, query.crls, log));
    query.target = query.candidates.front();
    query.anchors = {query.candidates.back()};
    std::int64_t notAfter = 0;
    static_cast<void>(query.target->validity(query.time, notAfter));
    query.name = "dns:example.com";
    query.limits.visits = 200;
    query.limits.signatureChecks = 20;
    const x509::PathResult result = x509::findPath(query);
    if (result.work.signatureChecks > query.limits.signatureChecks ||
        (result.trusted
             ? result.path.empty() || !x509::sameBytes(result.path.back()->certificate(),
                                                       query.anchors.front()->certificate())
             : result.problems.empty())) {
        std::abort();
    }
    return 0;
}
