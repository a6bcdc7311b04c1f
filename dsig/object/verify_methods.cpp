// SPDX-License-Identifier: MIT
// The public operation that verifies a signature.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/object_state.h"
#include "dsig/verify/report_steps.h"
#include "dsig/verify/verify_selection.h"
#include "foundation/base/MethodFrame.h"

namespace vantrel {

bool ClsXmlDSig::VerifySignature(bool verifyReferenceDigests) {
    return MethodFrame::run(*this, "VerifySignature", [&](MethodFrame& frame) {
        const dsig::Selection selected = selection();
        beginReport(selected);
        dsig::SignatureReport& report = m_state->report;
        report.valueWanted = true;
        if (!verifyReferenceDigests) {
            // What the references name is still described, so that the coverage can be warned of;
            // whether their digests match stays open.
            report.accommodations.add(dsig::accommodation::kReferencesUnchecked);
            if (document() != nullptr) {
                dsig::describeUncheckedReferences(*document(), selected, report);
            }
        }
        dsig::Rules inForce = logRulesByOptions(m_log);
        const dsig::KeyQuery keys = keyQuery(false);
        const bool summarise = dsig::verifySelection(
            {document(), selected, keys, m_hmacKey, &m_externalData, m_externalRefDirs, *this,
             m_state->limits, verifyReferenceDigests, m_ignoreExternalRefs, m_state->parts.get()},
            inForce, report, m_log);
        // Kept for the operations that follow on this document: they need not find out again which
        // rules help. ResetDocumentRules undoes it.
        keepRules(inForce);
        // All references are checked even after one failed, so this is the outcome of the last.
        if (verifyReferenceDigests && !report.references.empty()) {
            m_refFailReason = dsig::publicCode(report.references.back().reason);
        }
        finishReport();
        // A verification that ends before the value is looked at leaves no summary in the log; its
        // outcome is recorded all the same.
        return summarise ? frame.finish(report.valid) : frame.result(report.valid);
    });
}

} // namespace vantrel
