// SPDX-License-Identifier: MIT
// The verifier's members that belong to references: each hands its work to the step of its name.

#include "dsig/document/signed_info.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/object_state.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/reference/adjacent_signatures.h"
#include "dsig/reference/check_reference.h"
#include "dsig/reference/enveloped_signature.h"
#include "dsig/reference/internal_reference.h"

namespace vantrel {

// The record belongs to the verifier and is null where there is none.
DSigRefExternalData* ClsXmlDSig::getExtRef(int index, bool create, LogBase& log) {
    return dsig::givenData({&m_externalData, m_selector, nullptr}, index, create, log);
}

// Runs a step of a reference by the rules in force, and keeps what it made of them and found out.
template <class Step>
bool ClsXmlDSig::checkReferenceBy(Step step, int index, bool& externalMissing, ExtPtrArraySb& dirs,
                                  LogBase& log) {
    const dsig::Selection selected = selection();
    const dsig::ReferenceQuery query{
        document(), selected, index, {&m_externalData, m_selector, &dirs, m_state->parts.get()}};
    dsig::Rules inForce = rules();
    dsig::ReferenceResult result = step(query, inForce, log);
    keepRules(inForce);
    m_refFailReason = dsig::publicCode(result.reason);
    externalMissing = result.dataMissing;
    const bool matched = result.matched();
    m_state->report.reference(index) = std::move(result);
    return matched;
}

bool ClsXmlDSig::verifyReferenceDigest(int index, bool& externalMissing, ExtPtrArraySb& dirs,
                                       LogBase& log) {
    return checkReferenceBy(dsig::checkReference, index, externalMissing, dirs, log);
}

bool ClsXmlDSig::verifyReferenceDigest2(int index, bool& externalMissing, ExtPtrArraySb& dirs,
                                        LogBase& log) {
    return checkReferenceBy(dsig::attemptReference, index, externalMissing, dirs, log);
}

// A parsed reference is checked as one into the document, whatever its URI says; data from outside
// is never asked for, so there are no folders.
bool ClsXmlDSig::verifyInternalReference(int index, StringBuffer& fragmentId, DSigReference& ref,
                                         LogBase& log) {
    bool externalMissing = false;
    ExtPtrArraySb dirs;
    const auto step = [&](const dsig::ReferenceQuery& query, dsig::Rules& inForce, LogBase& to) {
        dsig::ReferenceResult result;
        result.index = index;
        result.checked = true;
        dsig::checkInternalReference(query, ref, fragmentId, inForce, result, to);
        return result;
    };
    return checkReferenceBy(step, index, externalMissing, dirs, log);
}

bool ClsXmlDSig::transformEnvelopedSignature(StringBuffer& workingText, StringBuffer& /*unused1*/,
                                             StringBuffer& /*unused2*/, DSigReference& ref,
                                             LogBase& log) {
    dsig::WorkingText text(workingText);
    dsig::CodeSet leniencies;
    // The text stands for itself: what is found goes as text, and there is nothing that could be
    // refused.
    static_cast<void>(
        dsig::removeEnvelopedSignature(selection(), ref, rules(), text, leniencies, log));
    workingText = text.text();
    return true;
}

bool ClsXmlDSig::removeSignatureAndFollowingSigs(StringBuffer& text, std::uint32_t start,
                                                 std::uint32_t length, LogBase& log) {
    const std::optional<dsig::SignatureRow> row =
        dsig::signatureRow(text.view(), start, length, nullptr, log);
    text.removeChunk(start, row ? row->length : length);
    return true;
}

} // namespace vantrel
