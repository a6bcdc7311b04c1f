// SPDX-License-Identifier: MIT
#include "dsig/transform/xpath_step.h"

#include "dsig/transform/chunk_removal.h"
#include "dsig/transform/ebxml_fragments.h"
#include "dsig/transform/xpath_shapes.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/xml/locate/XmlSigRemoval.h"

#include <string_view>
#include <vector>

namespace vantrel::dsig {

namespace {

// The number tells the three places apart: the first and second kind of Filter 2.0 (1 and 3), and
// an expression of no known shape (2).
RefReason unhandled(int where, LogBase& log) {
    log.LogDataLong("unhandledXPath", where);
    return RefReason::UnsupportedTransform;
}

RefReason asReason(bool takenOut) {
    return takenOut ? RefReason::Match : RefReason::TransformFailed;
}

// The `Filter` attribute and the text of the n-th child of an XPath Filter 2.0 transform. `filter`
// stays empty without the attribute, which equals no filter that is known.
bool readFilterChild(const ClsXml& transform, int child, StringBuffer& filter,
                     StringBuffer& content) {
    const Ref<ClsXml> xPath = Ref<ClsXml>::adopt(transform.GetChild(child));
    if (!xPath) {
        return false;
    }
    xPath->getAttrValue("Filter", filter);
    xPath->getContentSb(content);
    return true;
}

// All XML signatures of the text, the one being verified among them. Those that an earlier
// transform took out are still in the structure and are passed over.
bool takeOutSignatures(WorkingText& text, std::string_view why, LogBase& log) {
    const auto document = text.structure(log);
    if (document == nullptr) {
        return false;
    }
    std::vector<xml::TextRange> signatures = XmlSigRemoval::signatureRanges(*document);
    std::erase_if(signatures, [&](xml::TextRange range) {
        return text.isTakenOut(document->elementAt(range.start));
    });
    return text.takeOut(signatures, why, log);
}

// The first such chunk, where there is one.
bool takeOutChunk(WorkingText& text, const ChunkPattern& pattern, std::string_view why,
                  LogBase& log) {
    return text.takeOut(findChunks(text.searchable(), pattern, 1).chunks, why, log);
}

// All such chunks up to the limit. Those beyond it stay in the digested text, which a signer that
// stops there digested as well; the leniency says so.
bool removeRepeatedly(WorkingText& text, const ChunkPattern& pattern, CodeSet& leniencies,
                      LogBase& log) {
    const FoundChunks found = findChunks(text.searchable(), pattern, kMostChunks);
    if (found.more) {
        leniencies.add(accommodation::kLimit100);
    }
    return text.takeOut(found.chunks, exclusion::kXPath, log);
}

// not(//ancestor-or-self::NAME): every NAME element whose start tag has no attributes.
bool removeElementsNamed(WorkingText& text, const StringBuffer& xPath, CodeSet& leniencies,
                         LogBase& log) {
    log.LogInfo("Matched not(//ancestor-or-self::*)");
    StringBuffer name = xPath;
    name.replaceFirstOccurance("not(//ancestor-or-self::", "", false);
    // The closing parenthesis; the shape has made sure that both ends are there.
    name.shorten(1);
    StringBuffer startTag;
    startTag.append3("<", name.getString(), ">");
    StringBuffer endTag;
    endTag.append3("</", name.getString(), ">");
    log.LogDataSb("startTag", startTag);
    log.LogDataSb("endTag", endTag);
    return removeRepeatedly(text, {startTag.view(), endTag.view()}, leniencies, log);
}

// not(//ancestor-or-self::NAME[ID='VALUE']): the elements NAME with that child. Whatever the
// expression asks for, the child looked for is the QR code's of the ZATCA invoices.
bool removeElementsWithId(WorkingText& text, const StringBuffer& xPath, CodeSet& leniencies,
                          LogBase& log) {
    log.LogInfo("Matched not(//ancestor-or-self::*[*ID='*'])");
    const ElementWithIdTexts texts = elementWithIdTexts(xPath);
    log.LogDataSb("startTag", texts.startTag);
    log.LogDataSb("endTag", texts.endTag);
    log.LogDataSb("mustContain", texts.mustContain);
    return removeRepeatedly(
        text, {texts.startTag.view(), texts.endTag.view(), "<cbc:ID>QR</cbc:ID>"}, leniencies, log);
}

bool removeEbXmlFragments(WorkingText& text, CodeSet& leniencies, LogBase& log) {
    const FoundChunks found = findEbXmlFragments(text.searchable().text(), text.gaps());
    if (found.more) {
        leniencies.add(accommodation::kLimit13);
    }
    return text.takeOut(found.chunks, exclusion::kXPath, log);
}

RefReason runShape(const ClsXml* transform, WorkingText& text, const StringBuffer& algorithm,
                   const StringBuffer& xPath, CodeSet& leniencies, LogBase& log) {
    const RecognisedXPath& recognised = recogniseXPath(algorithm, xPath);
    if (recognised.option != 0) {
        log.LogDataLong("commonXPathOption", recognised.option);
    }
    switch (recognised.shape) {
    case XPathShape::BusinessSignatures:
        return asReason(
            removeRepeatedly(text, {"<cac:Signature>", "</cac:Signature>"}, leniencies, log));
    case XPathShape::Signatures:
        log.LogInfo("removing all Signatures from the XML to be canonicalized");
        return asReason(takeOutSignatures(text, exclusion::kXPath, log));
    case XPathShape::EbXmlNextActor: return asReason(removeEbXmlFragments(text, leniencies, log));
    case XPathShape::UblDocumentSignatures:
        if (!takeOutChunk(text, {"<sig:UBLDocumentSignatures>", "</sig:UBLDocumentSignatures>"},
                          exclusion::kXPath, log)) {
            return RefReason::TransformFailed;
        }
        log.LogInfo("Found UBLDocumentSignatures transform.");
        return RefReason::Match;
    // XPath Filter 2.0 knows intersect, subtract and union. Only subtract can be carried out by
    // taking something out; with another filter the transform is refused, not guessed.
    case XPathShape::SubtractSignatures: {
        StringBuffer filter;
        StringBuffer content;
        if (transform == nullptr || !readFilterChild(*transform, 0, filter, content) ||
            !filter.equals("subtract")) {
            return unhandled(1, log);
        }
        return asReason(takeOutSignatures(text, exclusion::kXPathFilter2, log));
    }
    // Any Filter 2.0 transform that no rule before has recognised comes here, so it is the second
    // child that shows whether this is the known pair.
    case XPathShape::SubtractExtensions: {
        StringBuffer filter;
        StringBuffer content;
        if (transform == nullptr || !readFilterChild(*transform, 1, filter, content) ||
            !filter.equals("subtract") ||
            !content.containsSubstring("ancestor::ext:UBLExtensions/ext:UBLExtension")) {
            return unhandled(3, log);
        }
        return asReason(takeOutChunk(text, {"<ext:UBLExtensions>", "</ext:UBLExtensions>"},
                                     exclusion::kXPathFilter2, log));
    }
    case XPathShape::ElementWithId:
        return asReason(removeElementsWithId(text, xPath, leniencies, log));
    case XPathShape::Element: return asReason(removeElementsNamed(text, xPath, leniencies, log));
    case XPathShape::Unknown: break;
    }
    return unhandled(2, log);
}

} // namespace

RefReason xPathStep(const ClsXml* transform, WorkingText& text, const StringBuffer& algorithm,
                    const StringBuffer& xPath, CodeSet& leniencies, LogBase& log) {
    const LogContextExitor context(log, "transformXPath");
    log.LogDataSb("transformAlgorithm", algorithm);
    log.LogDataSb("xPath", xPath);
    const RefReason outcome = runShape(transform, text, algorithm, xPath, leniencies, log);
    log.LogDataBool("transformXPathSuccess", outcome == RefReason::Match);
    return outcome;
}

} // namespace vantrel::dsig
