// SPDX-License-Identifier: MIT
#include "dsig/verify/report_steps.h"

#include "dsig/document/signed_info.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/reference/internal_reference.h"
#include "dsig/reference/reference_target.h"

#include <memory>
#include <type_traits>

namespace vantrel::dsig {

void startReport(Document* document, const Selection& selection, const Rules& rules,
                 SignatureReport& report) {
    // Taking the members of a new one over costs twice as much, but may have to be.
    if constexpr (std::is_nothrow_default_constructible_v<SignatureReport>) {
        std::destroy_at(&report);
        std::construct_at(&report);
    } else {
        report = SignatureReport();
    }
    report.present = true;
    report.profile = rules.profileName;
    report.index = selection.index;
    if (document == nullptr || selection.signature == nullptr) {
        return;
    }
    // What makes other readers of the same document see another one.
    if (document->encodingMismatch) {
        report.warnings.add(warning::kEncodingMismatch);
    }
    if (document->structure->hasUnreadDeclarations()) {
        report.warnings.add(warning::kExternalDtdNotRead);
    }
    report.id = selection.id;
    report.signatureElement = selection.element();
    // A second look at one signature does not use up the budget of the others.
    document->account.begin(selection.index);
    // Until the time-stamp pass has looked at it.
    if (document->timeStamps.within(*document->structure, report.signatureElement)) {
        report.timestamp = "not-checked";
    }
}

void describeMethods(const Selection& selection, SignatureReport& report) {
    LogNull log;
    static_cast<void>(signedInfoField(selection.signature, "SignatureMethod", "Algorithm",
                                      report.signatureMethod, log));
    StringBuffer prefixList;
    static_cast<void>(canonicalizationMethod(selection.signature, report.canonicalizationMethod,
                                             prefixList, log));
}

// What a reference names is shown as it is before any transform takes a part of it away.
void describeUncheckedReferences(Document& document, const Selection& selection,
                                 SignatureReport& report) {
    LogNull log;
    const int count = selection.signature != nullptr ? numReferences(*selection.signature) : 0;
    for (int index = 0; index < count; ++index) {
        const Ref<ClsXml> element = referenceElement(&document, selection, index, log);
        if (!element) {
            continue;
        }
        DSigReference reference;
        reference.parseReference(*element, log);
        ReferenceResult& described = report.reference(index);
        // The URI decides alone: the text that an external one leads to is not fetched.
        described.describe(reference.m_uri, reference.m_digestMethod);
        const ReferenceTarget target = targetOf(reference.m_uri);
        if (target.kind == ReferenceTarget::Kind::External) {
            described.covers = "external";
        } else {
            describeTarget(document, target.text, described);
        }
    }
}

void finishReport(std::string_view lastErrorLine, SignatureReport& report) {
    // A step that knows better has set it: the line of a wrong key is no error line.
    if (!report.valid && report.reason.empty()) {
        report.reason = lastErrorLine;
    }
}

} // namespace vantrel::dsig
