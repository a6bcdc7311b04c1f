// SPDX-License-Identifier: MIT
#include "dsig/reference/check_reference.h"

#include "dsig/document/signed_info.h"
#include "dsig/document/standards.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/reference/external_reference.h"
#include "dsig/reference/internal_reference.h"
#include "dsig/reference/recommended_reference.h"
#include "dsig/reference/reference_target.h"
#include "dsig/reference/repeated_reference.h"
#include "dsig/report/causes.h"
#include "foundation/base/LogContextExitor.h"

namespace vantrel::dsig {

namespace {

// The retry; the octets and the coverage of the first attempt stand when it does not help. Only a
// digest that was computed and differs is worth it: another order of attributes does not help where
// a transform failed. Retries end once so many references have failed, so that a document of wrong
// digests costs little more than one of right ones. A null document has no reference and ends at
// the first test.
void retry(const ReferenceQuery& query, Rules& rules, ReferenceResult& result, LogBase& log) {
    log.LogDataLong("invalidDigestReason", publicCode(result.reason));
    if (publicCode(result.reason) != publicCode(RefReason::Mismatch) ||
        !query.document->account.takeRetry(log)) {
        return;
    }
    const bool wasOn = rules.attrSortBug;
    if (wasOn) {
        log.LogInfo(
            "Retry without duplication of common XML canonicalization attribute sorting bug...");
    } else if (rules.noAttrSortRetry) {
        return;
    } else {
        log.LogInfo(
            "Retry with duplication of common XML canonicalization attribute sorting bug...");
    }
    // Kept: it stays switched when the retry does not help, too.
    rules.attrSortBug = !wasOn;
    ReferenceResult second = attemptReference(query, rules, log);
    if (second.matched()) {
        result = std::move(second);
        if (!wasOn) {
            log.LogInfo(
                "This signature was produced by software having the attribute sorting bug.");
        }
    } else {
        result.reason = second.reason;
        result.cause = std::move(second.cause);
    }
}

// The usual way.
ReferenceResult checkStepByStep(const ReferenceQuery& query, Rules& rules, LogBase& log) {
    const LogContextExitor context(log, "verifyReferenceDigest");
    const bool attrSortBug = rules.attrSortBug;
    const bool noAttrSortRetry = rules.noAttrSortRetry;
    const bool zatca = rules.zatca;
    ReferenceResult result = attemptReference(query, rules, log);
    if (!result.matched()) {
        retry(query, rules, result, log);
    }
    if (!result.matched() && matchesAsRecommended(query, result, log)) {
        // What the attempts before found to be needed was not.
        rules.attrSortBug = attrSortBug;
        rules.noAttrSortRetry = noAttrSortRetry;
        rules.zatca = zatca;
    }
    if (!result.matched() && query.document != nullptr) {
        query.document->account.noteFailedReference();
    }
    return result;
}

// The same, and what others may repeat is learned from it.
ReferenceResult checkAndLearn(const ReferenceQuery& query, Rules& rules, LogBase& log) {
    const LogBase::Place before = log.place();
    ReferenceResult result = checkStepByStep(query, rules, log);
    learnRepeated(query, rules, result, before, log);
    return result;
}

} // namespace

ReferenceResult checkReference(const ReferenceQuery& query, Rules& rules, LogBase& log) {
    if (query.document == nullptr || query.document->repeatedReference == nullptr) {
        return checkAndLearn(query, rules, log);
    }
    ReferenceResult result;
    if (!matchesRepeated(query, rules, result, log)) {
        result = checkAndLearn(query, rules, log);
    }
    return result;
}

ReferenceResult attemptReference(const ReferenceQuery& query, Rules& rules, LogBase& log) {
    const LogContextExitor context(log, "verifyReferenceDigest_inner");
    ReferenceResult result;
    result.index = query.index;
    result.checked = true;
    // What stands when a check returns without a reason of its own.
    result.reason = RefReason::Other;
    log.LogDataSb("selectedSignatureId", query.selection.id);
    log.LogDataLong("index", query.index);

    const xml::ElementId element = referenceId(query.document, query.selection, query.index, log);
    if (element == xml::kNoElement) {
        log.LogError("No Reference at index");
        result.reason = RefReason::NoReference;
        return result;
    }
    DSigReference reference;
    reference.parseReference(*query.document->structure, element, query.document->lastReference,
                             log);
    result.describe(reference.m_uri, reference.m_digestMethod);
    if (!reference.digestMethodIsKnown() && standardsApply(log)) {
        reference.knowStandardDigests();
    }
    query.document->account.noLimitPassed();

    const ReferenceTarget target = targetOf(reference.m_uri);
    switch (target.kind) {
    case ReferenceTarget::Kind::Fragment:
        log.LogDataSb("sameDocumentUri", target.text);
        checkInternalReference(query, reference, target.text, rules, result, log);
        break;
    case ReferenceTarget::Kind::Document:
        if (!rules.cmaStpDocument) {
            log.LogInfo("URI is the entire XML document.");
        }
        checkInternalReference(query, reference, target.text, rules, result, log);
        break;
    case ReferenceTarget::Kind::External:
        checkExternalReference(query, reference, target.text, result, log);
        break;
    }
    const std::string_view limit = query.document->account.passedLimit();
    if (!result.matched() && !limit.empty()) {
        // Known only here; whoever writes the report works the other causes out.
        result.cause = causeOfLimit(limit);
    }
    // SHA-1 was a guess. Where it failed, the unknown method is the likelier cause and is named.
    if (!reference.digestMethodIsKnown()) {
        result.accommodations.add(accommodation::kDigestUnknownSha1);
        if (result.reason == RefReason::Mismatch) {
            result.reason = RefReason::UnsupportedDigest;
        }
    }
    return result;
}

} // namespace vantrel::dsig
