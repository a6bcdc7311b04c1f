// SPDX-License-Identifier: MIT
// The manifests of signatures in packages (XML Signature 1.1, 5.1). What the standard leaves to the
// application, these kinds of packages demand: a signature is worth nothing when a part that its
// manifest names has changed.

#include "dsig/document/child_elements.h"
#include "dsig/document/standards.h"
#include "dsig/package/package.h"
#include "dsig/reference/check_reference.h"
#include "dsig/reference/internal_reference.h"
#include "dsig/reference/reference_target.h"
#include "dsig/report/causes.h"
#include "dsig/report/coverage.h"
#include "dsig/report/warnings.h"
#include "foundation/base/LogContextExitor.h"

#include <algorithm>

namespace vantrel::dsig {

namespace {

// Whether a reference that matches digested all of the element. An element that came out of an
// entity has no place in the text and counts as not covered.
bool isCovered(const xml::XmlDocument& document, xml::ElementId element,
               const SignatureReport& report) {
    xml::TextRange range;
    if (!document.sourceRange(element, range)) {
        return false;
    }
    std::vector<xml::TextRange> digested;
    for (const ReferenceResult& reference : report.references) {
        if (reference.matched() && reference.isSigned && reference.coverageKnown) {
            appendDigested(document, reference, digested);
        }
    }
    return std::ranges::any_of(digested, [&](xml::TextRange one) { return isInside(range, one); });
}

// In these kinds a manifest may name what was taken out of the package, or never was in it: a
// signature for many messages goes with each of them. What is there has to match all the same.
bool mayLackParts(PackageKind kind) {
    return kind != PackageKind::Opc && kind != PackageKind::Epub && kind != PackageKind::Air;
}

ReferenceResult checkOne(const ReferenceQuery& query, const ClsXml& element, Rules& rules,
                         LogBase& log) {
    ReferenceResult result;
    result.index = query.index;
    result.checked = true;
    result.reason = RefReason::Other;
    DSigReference reference;
    reference.parseReference(element, log);
    result.describe(reference.m_uri, reference.m_digestMethod);
    result.text.edit().digest = reference.m_digestValue;
    if (!reference.digestMethodIsKnown() && standardsApply(log)) {
        reference.knowStandardDigests();
    }
    // As for references of SignedInfo, whose account these are charged to.
    query.document->account.noLimitPassed();
    const ReferenceTarget target = targetOf(reference.m_uri);
    if (target.kind == ReferenceTarget::Kind::External) {
        query.external.parts->check(query, reference, target.text, result, log);
    } else {
        checkInternalReference(query, reference, target.text, rules, result, log);
    }
    const std::string_view limit = query.document->account.passedLimit();
    if (!result.matched() && !limit.empty()) {
        result.cause = causeOfLimit(limit);
    }
    if (!reference.digestMethodIsKnown()) {
        result.accommodations.add(accommodation::kDigestUnknownSha1);
        result.reason =
            result.reason == RefReason::Mismatch ? RefReason::UnsupportedDigest : result.reason;
    }
    return result;
}

} // namespace

bool Package::checkManifests(Document& document, const Selection& selection, Rules& rules,
                             SignatureReport& report, LogBase& log) {
    const LogContextExitor context(log, "checkManifests");
    // A manifest that no reference covers is anybody's, and says nothing.
    const xml::XmlDocument& structure = *document.structure;
    const xml::ElementId end = structure.subtreeEnd(selection.element());
    bool all = true;
    for (const xml::ElementId manifest : document.manifests()) {
        // Those of other signatures are theirs.
        const bool isOwn = manifest > selection.element() && manifest < end;
        if (!isOwn || !isCovered(structure, manifest, report)) {
            continue;
        }
        const Ref<ClsXml> element = handleOn(*selection.signature, manifest);
        for (const xml::ElementId child : childElements(*element)) {
            const Ref<ClsXml> entry = handleOn(*element, child);
            if (entry->localName() != "Reference" ||
                entry->namespaceUri() != element->namespaceUri()) {
                continue;
            }
            const ReferenceQuery query{&document,
                                       selection,
                                       static_cast<int>(report.manifest.size()),
                                       {nullptr, selection.index, nullptr, this}};
            ReferenceResult result = checkOne(query, *entry, rules, log);
            if (!result.matched()) {
                log.LogError("A reference of the manifest does not hold.");
                log.LogDataLong("index", result.index);
                all = all && result.dataMissing && mayLackParts(m_kind);
            }
            report.manifest.push_back(std::move(result));
        }
    }
    return all;
}

} // namespace vantrel::dsig
