// SPDX-License-Identifier: MIT
#include "dsig/verify/signed_octets.h"

#include "dsig/document/canonicalization_method.h"
#include "dsig/document/signed_info.h"
#include "dsig/transform/canonicalize_step.h"
#include "dsig/transform/doda.h"
#include "dsig/transform/recommended_transforms.h"
#include "dsig/transform/working_text.h"
#include "dsig/verify/signed_info_pattern.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/xml/canon/XmlCanon.h"
#include "foundation/xml/scan/start_tag.h"
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/ClsXml.h"

#include <memory>
#include <utility>

namespace vantrel::dsig {

namespace {

// XML Signature 4.4.1: sets the canonicalizer up as the signature asks for, and as the rules in
// force change it. `algorithm` := the identifier as written.
bool configure(const Selection& selection, const Rules& rules, StringBuffer& algorithm,
               XmlCanon& canonicalizer, CodeSet& leniencies, LogBase& log) {
    StringBuffer prefixList;
    if (!canonicalizationMethod(selection.signature, algorithm, prefixList, log)) {
        log.LogError("Unable to get SignedInfo CanonicalizationMethod.");
        return false;
    }
    if (!prefixList.isEmpty()) {
        setPrefixList(canonicalizer, prefixList);
    }
    // "xml-c14n11" is among the inclusive names and is read as Canonical XML 1.0; the two differ in
    // how attributes of the xml: prefix are inherited.
    canonicalizer.m_method = kInclusive;
    if (!namesInclusive(algorithm)) {
        if (namesExclusive(algorithm)) {
            canonicalizer.m_method = kExclusive;
        } else {
            // No failure: the inclusive method is tried, and the signature value decides.
            log.LogError("Unrecognized canonicalization method.");
            log.LogDataSb("canonicalizationMethod", algorithm);
            leniencies.add(accommodation::kUnknownInclusive);
        }
    }
    canonicalizer.m_withComments = namesComments(algorithm);
    configureAttrSort(canonicalizer, rules, log);
    // Signers of this profile left the namespaces of its ancestors out of SignedInfo.
    if (rules.skXmlSignedDoc) {
        canonicalizer.m_signedDocFlag = false;
    }
    return true;
}

// `offset`: where SignedInfo's start tag begins in `text`. `failure`: the error line.
bool canonicalizeFrom(const StringBuffer& text, std::uint32_t offset, XmlCanon& canonicalizer,
                      StringBuffer& out, const char* failure, LogBase& log) {
    if (!canonicalizer.xmlCanonicalize(text, nullptr, offset, out, log)) {
        log.LogError(failure);
        return false;
    }
    return true;
}

// No canonicalization: by the ZATCA rules the value is over the first reference's digest alone.
bool takeInvoiceHash(Document& document, const Selection& selection, const DSigReference& first,
                     SignedOctets& out, CodeSet& leniencies, LogBase& log) {
    leniencies.add(accommodation::kZatcaRules);
    // Of the first reference as the tree has it, whose digest the reference pass has compared where
    // it was asked for.
    const Ref<ClsXml> reference = referenceElement(&document, selection, 0, log);
    if (!reference) {
        log.LogError("Failed to get first reference for signature verification.");
        return false;
    }
    if (!reference->getChildContentUtf8("*:DigestValue", out.text, false)) {
        log.LogError("Failed to get invoiceHash for signature verification.");
        return false;
    }
    // One of anything but the invoice would let whatever stands in the document pass for signed.
    StringBuffer uri = first.m_uri;
    uri.trim2();
    if (first.m_uriOmitted != 0 || !uri.isEmpty()) {
        log.LogError("The first Reference is not to the whole document.");
        return false;
    }
    // Only a digest of the reference's method, raw or as its hexadecimal text, is one: otherwise
    // any bytes that the key ever signed could stand here.
    const std::size_t digestSize = crypto::hashDigestSize(first.getHashAlg());
    if (!out.invoiceHash.appendEncoded(out.text.view(), "base64") ||
        (out.invoiceHash.getSize() != digestSize && out.invoiceHash.getSize() != 2 * digestSize)) {
        log.LogError("The first DigestValue is not a digest of its method.");
        return false;
    }
    return true;
}

// Which text SignedInfo stands in decides which namespaces it inherits (Canonical XML 1.0, 2.4):
// signers that digest a cut-out canonicalize SignedInfo in the same one.
bool runRoute(Document& document, const Selection& selection, const Rules& rules,
              const XmlSigLocate& locator, const DSigReference& first, XmlCanon& canonicalizer,
              SignedOctets& out, CodeSet& leniencies, LogBase& log) {
    const xml::XmlDocument& structure = *document.structure;
    // Cut-outs are made from the text with its entities expanded.
    const xml::ElementId signedInfo = structure.elementAtSourceOffset(locator.m_signedInfoStart);
    const std::uint32_t start = signedInfo != xml::kNoElement ? structure.element(signedInfo).start
                                                              : locator.m_signedInfoStart;
    // A DTE behind SignedInfo cannot hold it, and the difference below would wrap.
    if (rules.siiDocument && !rules.siiDteXml.isEmpty() && rules.siiDteOffset != 0 &&
        rules.siiDteOffset < start) {
        out.route = "sii";
        return canonicalizeFrom(rules.siiDteXml, start - rules.siiDteOffset, canonicalizer,
                                out.text, "Failed to canonicalize sii.cl SignedInfo fragment.",
                                log);
    }
    // The doda element is found by a search of the text, which markup can mislead; what was found
    // counts only where it is a whole element.
    if (rules.satDoda) {
        out.route = "doda";
        WorkingText doda(document.structure, document.account);
        const xml::TextRange range = dodaRange(structure.text());
        const char* const failure = "Failed to canonicalize doda SignedInfo fragment.";
        if (!doda.cutDownTo(range, log)) {
            log.LogError(failure);
            return false;
        }
        // Where the element begins behind SignedInfo the difference wraps to an offset past the end
        // of any such text, and the canonicalizer refuses it.
        return canonicalizeFrom(doda.text(), start - range.start, canonicalizer, out.text, failure,
                                log);
    }
    if (!rules.zatca) {
        // Its own text is what is canonicalized, so it is not parsed again.
        canonicalizer.m_document = document.structure;
        return canonicalizeFrom(structure.sourceText(), locator.m_signedInfoStart, canonicalizer,
                                out.text, "Failed to canonicalize SignedInfo fragment.", log);
    }
    out.route = "zatca";
    return takeInvoiceHash(document, selection, first, out, leniencies, log);
}

// SignedInfo as it stands in the document, by the recommendations alone.
bool isOfNoProfile(const Rules& rules) noexcept {
    return !rules.siiDocument && !rules.satDoda && !rules.zatca && !rules.skXmlSignedDoc &&
           !rules.emulatesAttrSort();
}

// Where it reads like one that was canonicalized before.
bool takeByPattern(Document& document, const Selection& selection, xml::ElementId signedInfo,
                   SignedOctets& out) {
    if (document.signedInfoPattern == nullptr ||
        !document.signedInfoPattern->compose(document, selection, signedInfo, out.text)) {
        return false;
    }
    out.algorithm = document.signedInfoPattern->algorithm();
    return true;
}

// The same where others may read like this one, or its own references do.
bool learnPattern(Document& document, const Selection& selection, xml::ElementId signedInfo,
                  const XmlCanon& canonicalizer, SignedOctets& out, LogBase& log) {
    if (document.repeatedRun.signature != selection.element()) {
        return false;
    }
    auto learned = std::make_shared<SignedInfoPattern>();
    if (!learned->learn(document, selection, signedInfo, canonicalizer, out.algorithm, log)) {
        return false;
    }
    document.signedInfoPattern = std::move(learned);
    return takeByPattern(document, selection, signedInfo, out);
}

// The usual way, step by step.
bool makeStepByStep(Document& document, const Selection& selection, const Rules& rules,
                    const XmlSigLocate& locator, const DSigReference& first,
                    xml::ElementId repeatable, SignedOctets& out, CodeSet& leniencies,
                    LogBase& log) {
    const std::size_t bent = leniencies.codes().size();
    XmlCanon canonicalizer;
    if (!configure(selection, rules, out.algorithm, canonicalizer, leniencies, log)) {
        return false;
    }
    return (repeatable != xml::kNoElement && leniencies.codes().size() == bent &&
            learnPattern(document, selection, repeatable, canonicalizer, out, log)) ||
           runRoute(document, selection, rules, locator, first, canonicalizer, out, leniencies,
                    log);
}

} // namespace

bool makeSignedOctets(Document& document, const Selection& selection, const Rules& rules,
                      const XmlSigLocate& locator, const DSigReference& first, SignedOctets& out,
                      CodeSet& leniencies, LogBase& log) {
    // By the ZATCA rules the value is not over SignedInfo, and the log does not show it as such.
    if (!rules.zatca) {
        log.LogBracketedPart("signedInfo", document.structure->sourceText(),
                             locator.m_signedInfoStart, locator.m_signedInfoLength);
    }
    const bool mayRepeat = !document.repeatedRun.parts.empty() && isOfNoProfile(rules);
    const xml::ElementId repeatable =
        mayRepeat ? document.structure->elementAtSourceOffset(locator.m_signedInfoStart)
                  : xml::kNoElement;
    if ((repeatable == xml::kNoElement || !takeByPattern(document, selection, repeatable, out)) &&
        !makeStepByStep(document, selection, rules, locator, first, repeatable, out, leniencies,
                        log)) {
        return false;
    }
    if (log.verbose()) {
        log.LogBracketed("canonicalizedSignedInfo", out.text.view());
    }
    return true;
}

bool inheritsIdOrBase(const xml::XmlDocument& document, xml::ElementId element) {
    for (xml::ElementId above = document.parent(element); above != xml::kNoElement;
         above = document.parent(above)) {
        xml::StartTagReader tag(document.text(), document.element(above).start);
        for (xml::Attribute attribute; tag.next(attribute);) {
            if (attribute.name == "xml:id" || attribute.name == "xml:base") {
                return true;
            }
        }
    }
    return false;
}

bool makeCanonical11Octets(Document& document, const Selection& selection, SignedOctets& out,
                           CodeSet& standards, LogBase& log) {
    if (!out.isOfCanonical11()) {
        return false;
    }
    const Ref<ClsXml> signedInfo =
        Ref<ClsXml>::adopt(selection.signature->getChildWithTagUtf8("*:SignedInfo"));
    if (!signedInfo || signedInfo->document() != document.structure ||
        !inheritsIdOrBase(*document.structure, signedInfo->elementId()) ||
        !document.account.takeOctets(document.structure->text().size(), log)) {
        return false;
    }
    xml::WorkBudget budget(document.account.stepsLeft());
    auto index = document.nodes(budget);
    bool made = index != nullptr;
    if (made) {
        const xml::NodeId top = index->ofElement(signedInfo->elementId());
        xml::NodeBits subtree(index->size());
        subtree.addRange(top, (*index)[top].next);
        RecommendedData data(std::move(index));
        data.nodes() = std::move(subtree);
        made = RefReason::Match ==
               recommendedTransform(out.algorithm.view(),
                                    {*document.structure, xml::kNoElement, selection.element(),
                                     document.account, budget, standards},
                                    data, log);
        if (made) {
            out.text.setView(asText(data.octets().view()));
        }
    }
    return document.account.takeSteps(budget.taken(), !budget.passed(), log) && made;
}

} // namespace vantrel::dsig
