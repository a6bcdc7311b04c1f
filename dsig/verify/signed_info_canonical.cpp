// The octets that the signature value covers: the canonical SignedInfo, by the route that the
// document's profile asks for.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/loaded_structure.h"
#include "dsig/transform/canonicalization_method.h"
#include "dsig/transform/doda.h"
#include "dsig/transform/working_text.h"
#include "dsig/verify/verify_run.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/text/encoders.h"
#include "foundation/xml/canon/XmlCanon.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel {

bool ClsXmlDSig::configureCanonicalizer(dsig::VerifyRun& run, XmlCanon& canonicalizer,
                                        LogBase& log) {
    if (!getCanonicalizationMethod(run.c14nAlgorithm, run.prefixList, log)) {
        log.LogError("Unable to get SignedInfo CanonicalizationMethod.");
        return false;
    }
    if (!run.prefixList.isEmpty()) {
        dsig::setPrefixList(canonicalizer, run.prefixList);
    }
    canonicalizer.m_method = dsig::kInclusive;
    if (!dsig::namesInclusive(run.c14nAlgorithm)) {
        if (dsig::namesExclusive(run.c14nAlgorithm)) {
            canonicalizer.m_method = dsig::kExclusive;
        } else {
            // No failure: the inclusive method is tried, and the signature value decides.
            log.LogError("Unrecognized canonicalization method.");
            log.LogDataSb("canonicalizationMethod", run.c14nAlgorithm);
            m_report.accommodations.add(dsig::accommodation::kUnknownInclusive);
        }
    }
    canonicalizer.m_withComments = run.c14nAlgorithm.containsSubstringNoCase("WithComments");
    configureAttrSort(canonicalizer, log);
    if (m_isSkXmlSignedDoc) {
        canonicalizer.m_signedDocFlag = false;
    }
    return true;
}

bool ClsXmlDSig::runSignedInfoRoute(dsig::VerifyRun& run, XmlCanon& canonicalizer, LogBase& log) {
    StringBuffer& out = run.canonicalSignedInfo;
    const auto document = structure().document;
    // Cut-outs are made from the text with its entities expanded.
    const xml::ElementId signedInfo =
        document->elementAtSourceOffset(run.locator.m_signedInfoStart);
    const std::uint32_t start = signedInfo != xml::kNoElement ? document->element(signedInfo).start
                                                              : run.locator.m_signedInfoStart;
    if (m_isSiiDocument && !m_siiDteXml.isEmpty() && m_siiDteOffset != 0 &&
        m_siiDteOffset < start) {
        return canonicalizeFrom(m_siiDteXml, start - m_siiDteOffset, canonicalizer, out,
                                "Failed to canonicalize sii.cl SignedInfo fragment.", log);
    }
    if (m_isSatDoda) {
        dsig::WorkingText doda(document, structure().account);
        const xml::TextRange range = dsig::dodaRange(document->text());
        const char* const failure = "Failed to canonicalize doda SignedInfo fragment.";
        if (!doda.cutDownTo(range, log)) {
            log.LogError(failure);
            return false;
        }
        return canonicalizeFrom(doda.text(), start - range.start, canonicalizer, out, failure, log);
    }
    if (!m_zatcaRules) {
        canonicalizer.m_document = document;
        return canonicalizeFrom(m_xmlText, run.locator.m_signedInfoStart, canonicalizer, out,
                                "Failed to canonicalize SignedInfo fragment.", log);
    }
    return takeZatcaInvoiceHash(run, log);
}

bool ClsXmlDSig::canonicalizeFrom(const StringBuffer& text, std::uint32_t offset,
                                  XmlCanon& canonicalizer, StringBuffer& out, const char* failure,
                                  LogBase& log) {
    if (!canonicalizer.xmlCanonicalize(text, nullptr, offset, out, log)) {
        log.LogError(failure);
        return false;
    }
    return true;
}

bool ClsXmlDSig::takeZatcaInvoiceHash(dsig::VerifyRun& run, LogBase& log) {
    m_report.accommodations.add(dsig::accommodation::kZatcaRules);
    const Ref<ClsXml> reference = Ref<ClsXml>::adopt(getReference(0, log));
    if (!reference) {
        log.LogError("Failed to get first reference for signature verification.");
        return false;
    }
    if (!reference->getChildContentUtf8("*:DigestValue", run.canonicalSignedInfo, false)) {
        log.LogError("Failed to get invoiceHash for signature verification.");
        return false;
    }
    // The value is over this digest alone: one of anything but the invoice would let whatever
    // stands in the document pass for signed.
    StringBuffer uri = run.firstReference.m_uri;
    uri.trim2();
    if (run.firstReference.m_uriOmitted != 0 || !uri.isEmpty()) {
        log.LogError("The first Reference is not to the whole document.");
        return false;
    }
    for (dsig::ReferenceReport& other : m_report.references) {
        other.isSigned = other.index == 0;
    }
    // Only a digest of the reference's method, raw or as its hexadecimal text, is one: otherwise
    // any bytes that the key ever signed could stand here.
    DataBuffer invoiceHash;
    const std::size_t digestSize = crypto::hashDigestSize(run.firstReference.getHashAlg());
    if (!invoiceHash.appendEncoded(run.canonicalSignedInfo.view(), "base64") ||
        (invoiceHash.getSize() != digestSize && invoiceHash.getSize() != 2 * digestSize)) {
        log.LogError("The first DigestValue is not a digest of its method.");
        return false;
    }
    return true;
}

} // namespace vantrel
