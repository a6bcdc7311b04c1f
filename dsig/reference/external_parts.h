// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_EXTERNAL_PARTS_H
#define DSIG_REFERENCE_EXTERNAL_PARTS_H

#include "dsig/document/document.h"
#include "dsig/document/rules.h"
#include "dsig/document/selection.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/report/signature_report.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"

namespace vantrel::dsig {

struct ReferenceQuery;

// The package in which a signature document stands, as its verification sees it: where external
// references lead, which are never files then, and what the kind of package asks for. dsig/package
// implements it. One thread at a time.
class ExternalParts {
public:
    ExternalParts() noexcept = default;
    ExternalParts(const ExternalParts&) = delete;
    ExternalParts& operator=(const ExternalParts&) = delete;
    virtual ~ExternalParts() = default;

    // The digest of a reference to a part, its transforms carried out; `uri` as it stands there.
    // `result` gets all that a check finds out. Not const, since digests are kept.
    virtual void check(const ReferenceQuery& query, const DSigReference& reference,
                       const StringBuffer& uri, ReferenceResult& result, LogBase& log) = 0;
    // The references of the manifests that the signature's own references cover: in a package they
    // count like these, but that some kinds of packages need not have every part. False when one
    // fails that counts. The results are `report.manifest`.
    [[nodiscard]] virtual bool checkManifests(Document& document, const Selection& selection,
                                              Rules& rules, SignatureReport& report,
                                              LogBase& log) = 0;
    // Which parts the signature covers and which it does not: `report.parts`.
    virtual void describeCoverage(SignatureReport& report) const = 0;
};

} // namespace vantrel::dsig

#endif
