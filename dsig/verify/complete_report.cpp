// SPDX-License-Identifier: MIT
#include "dsig/verify/complete_report.h"

#include "dsig/document/child_elements.h"
#include "dsig/document/signed_info.h"
#include "dsig/document/standards.h"
#include "dsig/keys/key_hints.h"
#include "dsig/keys/signer.h"
#include "dsig/keys/standard_keys.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/report/causes.h"
#include "dsig/report/warnings.h"
#include "dsig/transform/signature_profile.h"
#include "dsig/verify/bent_readings.h"
#include "dsig/verify/report_steps.h"
#include "dsig/verify/signature_method.h"

#include <utility>

namespace vantrel::dsig {

namespace {

void addStandard(std::string_view code, SignatureReport& report) {
    if (!code.empty()) {
        report.standards.add(code);
    }
}

// The identifier, and what parametrises it (XML Signature 6.6, Exclusive XML Canonicalization 3,
// XPath Filter 2.0).
TransformReport describeTransform(const ClsXml& transform) {
    TransformReport report;
    report.algorithm = attributeOf(transform, "Algorithm");
    for (const xml::ElementId child : childElements(transform)) {
        const Ref<ClsXml> part = handleOn(transform, child);
        if (part->localName() == "InclusiveNamespaces") {
            report.prefixList = attributeOf(*part, "PrefixList");
        } else if (part->localName() == "XPath") {
            StringBuffer expression;
            part->getContentSb(expression);
            report.expressions.push_back(
                {attributeOf(*part, "Filter"), std::string(expression.view())});
        }
    }
    return report;
}

void takeText(const ClsXml& element, ReferenceResult& result) {
    LogNull log;
    DSigReference reference;
    reference.parseReference(element, log);
    if (result.asWritten) {
        result.describe(reference.m_uri, reference.m_digestMethod);
        result.computedDigest = reference.m_digestValue;
    }
    ReferenceText text;
    text.digest = reference.m_digestValue;
    if (const Ref<ClsXml> transforms =
            Ref<ClsXml>::adopt(element.getChildWithTagUtf8("*:Transforms"))) {
        for (const xml::ElementId child : childElements(*transforms)) {
            text.transforms.push_back(describeTransform(*handleOn(*transforms, child)));
        }
    }
    result.text = std::move(text);
}

// What of the recommendations the methods and the key needed. A digest that was found by the guess
// of SHA-1 was not read by any of them.
void nameStandards(SignatureReport& report) {
    if (report.givenRulesOnly) {
        return;
    }
    if (report.value == ValueCheck::Valid || report.value == ValueCheck::Mismatch ||
        report.value == ValueCheck::WrongKey) {
        addStandard(standardOfMethod(report.signatureMethod.view()), report);
    }
    for (const KeyReport& key : report.keys) {
        if (key.used) {
            addStandard(standardOfSource(key.source), report);
        }
    }
    for (const std::vector<ReferenceResult>* const list : {&report.references, &report.manifest}) {
        for (const ReferenceResult& reference : *list) {
            if (reference.checked &&
                !reference.accommodations.contains(accommodation::kDigestUnknownSha1)) {
                addStandard(standardDigest(reference.digestMethod.view()).code, report);
            }
        }
    }
}

// Warnings stand in the order in which they are added, behind those of the steps before.
void warn(Document* document, SignatureReport& report) {
    warnOfHash(report.signatureMethod, report);
    // In a package the document is only what holds the signature; parts are what has to be covered.
    if (report.parts) {
        if (!report.parts->missing.empty()) {
            report.warnings.add(warning::kPartsNotCovered);
        }
    } else if (document != nullptr) {
        warnOfCoverage(*document->structure, report);
    }
    warnOfReferences(report);
    if (document != nullptr) {
        warnOfStructure(*document, report);
        warnOfReading(*document, report);
    }
    warnOfUnusedKey(report);
    // What the keys are that did not verify is no concern of the outcome.
    for (const KeyReport& key : report.keys) {
        if (key.used) {
            warnOfKey(key, report);
        }
    }
}

} // namespace

void completeReport(const VerifyQuery& query, const Rules& rules, SignatureReport& report) {
    if (report.complete) {
        return;
    }
    if (query.document != nullptr) {
        report.profile = profileName(query.selection, report.profile);
        describeMethods(query.selection, report);
        report.referenceCount = numReferences(*query.selection.signature);
        if (report.valueWanted && report.value == ValueCheck::NotReached &&
            report.referenceCount > 0) {
            LogNull log;
            if (report.givenRulesOnly) {
                log.options().append(kGivenRulesOnly);
            }
            lookAtValue(query, rules, report, log);
        }
        for (ReferenceResult& reference : report.references) {
            LogNull log;
            if (const Ref<ClsXml> element =
                    referenceElement(query.document, query.selection, reference.index, log)) {
                takeText(*element, reference);
            }
        }
        report.signer = describeSigner(report.keys, query.keys);
        noteBentReadings(query, report);
    }
    if (query.parts != nullptr) {
        query.parts->describeCoverage(report);
    }
    nameStandards(report);
    warn(query.document, report);
    for (std::vector<ReferenceResult>* const list : {&report.references, &report.manifest}) {
        for (ReferenceResult& reference : *list) {
            for (const std::string_view code : reference.standards->codes()) {
                report.standards.add(code);
            }
            // A passed limit was noted by the check.
            if (!reference.matched() && reference.cause->empty()) {
                reference.cause = causeOf(reference);
            }
        }
    }
    report.cause = causeOf(report, report.valid ? KeyHints() : keyHints(query.selection));
    report.complete = true;
}

} // namespace vantrel::dsig
