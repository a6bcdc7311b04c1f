// SPDX-License-Identifier: MIT
// The verifier's members that belong to transforms and document profiles: each hands its work to
// the step of its name, over a text of its own.

// Such a text knows nothing of a loaded document: it has no account and no coverage, leniencies are
// dropped, and what is found is taken out as text, whole elements or not. Verification calls the
// transform steps directly.
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/transform/canonicalize_step.h"
#include "dsig/transform/capture.h"
#include "dsig/transform/chunk_removal.h"
#include "dsig/transform/profile_detection.h"
#include "dsig/transform/profile_steps.h"
#include "dsig/transform/xpath_step.h"

namespace vantrel {

void _clsXmlDSigBase::detectSpecial(const StringBuffer& xml, LogBase& log) {
    dsig::Rules inForce = rules();
    dsig::detectProfile(xml.view(), inForce, log);
    keepRules(inForce);
}

bool _clsXmlDSigBase::transformCanonicalize(const ClsXml* transform, StringBuffer& xml,
                                            const StringBuffer& algorithm,
                                            const StringBuffer& fragmentId, LogBase& log) {
    dsig::WorkingText text(xml);
    dsig::CodeSet leniencies;
    const dsig::RefReason outcome =
        dsig::canonicalizeStep(dsig::chosenCanonicalization(algorithm, transform), text, fragmentId,
                               nullptr, rules(), leniencies, log);
    // A step that failed has left the text as it was, so this is right in both cases.
    xml = text.text();
    return outcome == dsig::RefReason::Match;
}

bool _clsXmlDSigBase::transformXPath(const ClsXml* transform, StringBuffer& xml,
                                     const StringBuffer& algorithm, const StringBuffer& xPath,
                                     LogBase& log) {
    dsig::WorkingText text(xml);
    dsig::CodeSet leniencies;
    const dsig::RefReason outcome =
        dsig::xPathStep(transform, text, algorithm, xPath, leniencies, log);
    xml = text.text();
    return outcome == dsig::RefReason::Match;
}

bool _clsXmlDSigBase::preprocessXmlToTransform(const StringBuffer& refId,
                                               const DSigReference& /*ref*/, StringBuffer& xml,
                                               LogBase& log) {
    dsig::WorkingText text(xml);
    dsig::CodeSet leniencies;
    dsig::Rules inForce = rules();
    // The result of this member is always true; a text that stands alone is not refused.
    static_cast<void>(dsig::preprocess(refId, text, inForce, leniencies, log));
    keepRules(inForce);
    xml = text.text();
    return true;
}

bool _clsXmlDSigBase::postProcessTransformedXml(const StringBuffer& /*refId*/,
                                                const DSigReference& /*ref*/, StringBuffer& xml,
                                                LogBase& log) {
    dsig::WorkingText text(xml);
    dsig::CodeSet leniencies;
    static_cast<void>(dsig::postprocess(text, leniencies, log));
    xml = text.text();
    return true;
}

bool _clsXmlDSigBase::extract_sii_cl_dte(StringBuffer& xml, const char* id, bool keepCopy,
                                         LogBase& log) {
    dsig::Rules inForce = rules();
    const bool cut = dsig::cutOutSiiDte(xml, id != nullptr ? id : "", inForce, log);
    // The step always notes what it cut. Without a copy the text of the cut before stays, while the
    // offset is the new one.
    if (!keepCopy) {
        inForce.siiDteXml = m_siiDteXml;
    }
    keepRules(inForce);
    return cut;
}

bool _clsXmlDSigBase::removeXmlChunk(const char* start, const char* end, StringBuffer& xml,
                                     LogBase& log) {
    return removeXmlChunkContaining(start, end, "", xml, log);
}

bool _clsXmlDSigBase::removeXmlChunkContaining(const char* start, const char* end,
                                               const char* needle, StringBuffer& xml,
                                               LogBase& /*log*/) {
    const dsig::FoundChunks found =
        // An empty needle makes every chunk count.
        dsig::findChunks(dsig::GappedText(xml.view()), {start, end, needle}, 1);
    dsig::cutOut(xml, found.chunks);
    return !found.chunks.empty();
}

bool _clsXmlDSigBase::zatcaTransformInvoice(StringBuffer& xml, LogBase& log) {
    dsig::zatcaTransformInvoice(xml, log);
    return true;
}

bool ClsXmlDSig::captureUniqueTagContent(const char* tagStart, const StringBuffer& xml,
                                         StringBuffer& out, LogBase& /*log*/) {
    return dsig::captureTagContent(tagStart, xml, out);
}

bool ClsXmlDSig::captureUniqueAttrContent(const char* tagStart, const char* attrName,
                                          const StringBuffer& xml, StringBuffer& out,
                                          LogBase& log) {
    return dsig::captureAttributeValue(tagStart, attrName, xml, out, log);
}

} // namespace vantrel
