// XPath and XPath Filter 2.0 transforms. Expressions are not evaluated: those that signers use are
// recognised by their text, and what they take out is found by searching the text of the document.

#include "dsig/object/_clsXmlDSigBase.h"
#include "dsig/object/verification_report.h"
#include "dsig/transform/chunk_removal.h"
#include "dsig/transform/ebxml_fragments.h"
#include "dsig/transform/working_text.h"
#include "dsig/transform/xpath_shapes.h"
#include "foundation/log/LogContextExitor.h"
#include "foundation/xml/locate/XmlSigRemoval.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel {

namespace {

using dsig::XPathShape;

bool unhandled(int where, LogBase& log) {
    log.LogDataLong("unhandledXPath", where);
    return false;
}

// The `Filter` attribute and the text of the n-th child of an XPath Filter 2.0 transform.
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

bool takeOutSignatures(dsig::WorkingText& text, std::string_view why, LogBase& log) {
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
bool takeOutChunk(dsig::WorkingText& text, const dsig::ChunkPattern& pattern, std::string_view why,
                  LogBase& log) {
    return text.takeOut(dsig::findChunks(text.searchable(), pattern, 1).chunks, why, log);
}

} // namespace

bool _clsXmlDSigBase::transformXPath(const ClsXml* transform, StringBuffer& xml,
                                     const StringBuffer& algorithm, const StringBuffer& xPath,
                                     LogBase& log) {
    bool ok = false;
    dsig::onWorkingText(xml, [&](dsig::WorkingText& text) {
        ok = xPathWorkingText(transform, text, algorithm, xPath, log);
    });
    return ok;
}

bool _clsXmlDSigBase::xPathWorkingText(const ClsXml* transform, dsig::WorkingText& text,
                                       const StringBuffer& algorithm, const StringBuffer& xPath,
                                       LogBase& log) {
    const LogContextExitor context(log, "transformXPath");
    log.LogDataSb("transformAlgorithm", algorithm);
    log.LogDataSb("xPath", xPath);
    const bool ok = runXPathShape(transform, text, algorithm, xPath, log);
    log.LogDataBool("transformXPathSuccess", ok);
    return ok;
}

bool _clsXmlDSigBase::runXPathShape(const ClsXml* transform, dsig::WorkingText& text,
                                    const StringBuffer& algorithm, const StringBuffer& xPath,
                                    LogBase& log) {
    const dsig::RecognisedXPath& recognised = dsig::recogniseXPath(algorithm, xPath);
    if (recognised.option != 0) {
        log.LogDataLong("commonXPathOption", recognised.option);
    }
    switch (recognised.shape) {
    case XPathShape::BusinessSignatures:
        return removeRepeatedly(text, {"<cac:Signature>", "</cac:Signature>"}, log);
    case XPathShape::Signatures:
        log.LogInfo("removing all Signatures from the XML to be canonicalized");
        return takeOutSignatures(text, dsig::exclusion::kXPath, log);
    case XPathShape::EbXmlNextActor:
        return text.takeOut(dsig::findEbXmlFragments(text.searchable().text(), text.gaps()),
                            dsig::exclusion::kXPath, log);
    case XPathShape::UblDocumentSignatures:
        if (!takeOutChunk(text, {"<sig:UBLDocumentSignatures>", "</sig:UBLDocumentSignatures>"},
                          dsig::exclusion::kXPath, log)) {
            return false;
        }
        log.LogInfo("Found UBLDocumentSignatures transform.");
        return true;
    case XPathShape::SubtractSignatures: {
        StringBuffer filter;
        StringBuffer content;
        if (transform == nullptr || !readFilterChild(*transform, 0, filter, content) ||
            !filter.equals("subtract")) {
            return unhandled(1, log);
        }
        return takeOutSignatures(text, dsig::exclusion::kXPathFilter2, log);
    }
    case XPathShape::SubtractExtensions: {
        StringBuffer filter;
        StringBuffer content;
        if (transform == nullptr || !readFilterChild(*transform, 1, filter, content) ||
            !filter.equals("subtract") ||
            !content.containsSubstring("ancestor::ext:UBLExtensions/ext:UBLExtension")) {
            return unhandled(3, log);
        }
        return takeOutChunk(text, {"<ext:UBLExtensions>", "</ext:UBLExtensions>"},
                            dsig::exclusion::kXPathFilter2, log);
    }
    case XPathShape::ElementWithId: return removeElementsWithId(text, xPath, log);
    case XPathShape::Element: return removeElementsNamed(text, xPath, log);
    case XPathShape::Unknown: break;
    }
    return unhandled(2, log);
}

bool _clsXmlDSigBase::removeRepeatedly(dsig::WorkingText& text, const dsig::ChunkPattern& pattern,
                                       LogBase& log) {
    const dsig::FoundChunks found = dsig::findChunks(text.searchable(), pattern, dsig::kMostChunks);
    if (found.more) {
        dsig::noteAccommodation(m_accommodations, dsig::accommodation::kLimit100);
    }
    return text.takeOut(found.chunks, dsig::exclusion::kXPath, log);
}

// not(//ancestor-or-self::NAME): every NAME element whose start tag has no attributes.
bool _clsXmlDSigBase::removeElementsNamed(dsig::WorkingText& text, const StringBuffer& xPath,
                                          LogBase& log) {
    log.LogInfo("Matched not(//ancestor-or-self::*)");
    StringBuffer name = xPath;
    name.replaceFirstOccurance("not(//ancestor-or-self::", "", false);
    name.shorten(1);
    StringBuffer startTag;
    startTag.append3("<", name.getString(), ">");
    StringBuffer endTag;
    endTag.append3("</", name.getString(), ">");
    log.LogDataSb("startTag", startTag);
    log.LogDataSb("endTag", endTag);
    return removeRepeatedly(text, {startTag.view(), endTag.view()}, log);
}

// not(//ancestor-or-self::NAME[ID='VALUE']): the elements NAME with that child. Whatever the
// expression asks for, the child looked for is the QR code's of the ZATCA invoices.
bool _clsXmlDSigBase::removeElementsWithId(dsig::WorkingText& text, const StringBuffer& xPath,
                                           LogBase& log) {
    log.LogInfo("Matched not(//ancestor-or-self::*[*ID='*'])");
    const dsig::ElementWithIdTexts texts = dsig::elementWithIdTexts(xPath);
    log.LogDataSb("startTag", texts.startTag);
    log.LogDataSb("endTag", texts.endTag);
    log.LogDataSb("mustContain", texts.mustContain);
    return removeRepeatedly(
        text, {texts.startTag.view(), texts.endTag.view(), "<cbc:ID>QR</cbc:ID>"}, log);
}

} // namespace vantrel
