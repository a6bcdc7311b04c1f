// SPDX-License-Identifier: MIT
#include "dsig/transform/profile_steps.h"

#include "dsig/transform/profile_markers.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/text/strings.h"

#include <algorithm>
#include <optional>
#include <string>

namespace vantrel::dsig {

namespace {

// The DTE element around the Documento whose ID attribute, written with double quotes, has the
// value `id`. Nothing but white space or text may stand between the two start tags. The id comes
// from the document. It is only ever compared, and one with a quote in it finds at most what is
// written so.
std::optional<xml::TextRange> findSiiDte(std::string_view text, std::string_view id) {
    const std::string attribute = "ID=\"" + std::string(id) + '"';
    const std::size_t match = text::findText(text, attribute);
    if (match == std::string_view::npos) {
        return std::nullopt;
    }
    // The tag in which the attribute stands has to be the Documento's: the same ID on an element of
    // another name is no match, and no second match is looked for.
    const std::size_t documento = text.rfind('<', match);
    if (documento == std::string_view::npos || documento == 0 ||
        !text.substr(documento).starts_with("<Documento ")) {
        return std::nullopt;
    }
    const std::size_t dte = text.rfind('<', documento - 1);
    if (dte == std::string_view::npos || !text.substr(dte).starts_with("<DTE ")) {
        return std::nullopt;
    }
    const std::string_view endTag = "</DTE>";
    const std::size_t end = text::findText(text, endTag, dte);
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    return xml::rangeOf(dte, end + endTag.size());
}

// The authentication block of a SWIFT message, which its digest leaves out. The first block counts,
// from its start tag, attributes or not, to the first end tag. A start tag of a longer name would
// be found as well; the caller refuses it where the stretch is no element.
std::optional<xml::TextRange> findSwiftLau(const GappedText& text) {
    if (!text.contains(marker::kSwift)) {
        return std::nullopt;
    }
    const std::size_t start = text.find(marker::kLauStart, 0);
    const std::size_t end = text.find(marker::kLauEnd, 0);
    // A block at the very beginning stays.
    if (start == std::string_view::npos || end == std::string_view::npos || start == 0 ||
        end <= start) {
        return std::nullopt;
    }
    return xml::rangeOf(start, end + marker::kLauEnd.size());
}

// `range` lies within the text.
void keepOnly(StringBuffer& text, xml::TextRange range) {
    text.shorten(text.getSize() - range.end());
    text.removeChunk(0, range.start);
}

} // namespace

bool cutOutSiiDte(StringBuffer& xml, std::string_view id, Rules& rules, LogBase& log) {
    const LogContextExitor context(log, "extract_sii_cl_dte");
    const std::optional<xml::TextRange> dte = findSiiDte(xml.view(), id);
    if (!dte) {
        return false;
    }
    rules.siiDteOffset = dte->start;
    keepOnly(xml, *dte);
    rules.siiDteXml = xml;
    return true;
}

bool preprocess(const StringBuffer& fragmentId, WorkingText& text, Rules& rules,
                CodeSet& leniencies, LogBase& log) {
    const LogContextExitor context(log, "preprocessXmlToTransform");
    if (!rules.siiDocument) {
        return true;
    }
    log.LogInfo(("Preprocessing for " + std::string(marker::kSii)).c_str());
    StringBuffer cut = text.text();
    if (!cutOutSiiDte(cut, fragmentId.view(), rules, log)) {
        return true;
    }
    leniencies.add(accommodation::kProfileCutOut);
    // Nothing has been taken out so far, so a place in text() is the same in searchable(). The
    // length is that of what was kept.
    if (!text.cutDownTo({rules.siiDteOffset, cut.getSize()}, log)) {
        // SignedInfo must not be canonicalized in the place of a cut that was refused.
        rules.siiDteXml.clear();
        return false;
    }
    return true;
}

bool postprocess(WorkingText& text, CodeSet& leniencies, LogBase& log) {
    const LogContextExitor context(log, "postProcessTransformedXml");
    const std::optional<xml::TextRange> lau = findSwiftLau(text.searchable());
    if (!lau) {
        return true;
    }
    log.LogInfo("Adjusting XML to canonicalized by removing <LAU ... </LAU>");
    leniencies.add(accommodation::kProfileRemoval);
    return text.takeOut({*lau}, exclusion::kSwiftLau, log);
}

void zatcaTransformInvoice(StringBuffer& xml, LogBase& log) {
    const LogContextExitor context(log, "zatcaTransformInvoice");
    xml.toLF();
    xml.trim2();
    if (xml.beginsWith("<?")) {
        if (const std::size_t end = xml.view().find("?>"); end != std::string_view::npos) {
            const std::size_t rest = xml.view().find_first_not_of("\t\n\r ", end + 2);
            xml.removeChunk(0,
                            static_cast<std::uint32_t>(std::min<std::size_t>(rest, xml.getSize())));
        }
    }
    if (const std::size_t end = xml.view().find('>');
        xml.beginsWith("<Invoice") && end != std::string_view::npos) {
        StringBuffer startTag(xml.view().substr(0, end + 1));
        startTag.replaceChar5("\r\n\t\t\t", ' ');
        startTag.trimInsideSpaces();
        xml.removeChunk(0, static_cast<std::uint32_t>(end + 1));
        xml.insertAt(startTag, 0);
    }
    // The three parts that are added to an invoice after its hash was taken: the extensions with
    // the signature in them, the QR code, and the element that announces the signature.
    xml.removeDelimited("<ext:UBLExtensions>", "</ext:UBLExtensions>", true, true);
    xml.removeDelimitedIfContains("<cac:AdditionalDocumentReference>",
                                  "</cac:AdditionalDocumentReference>", "<cbc:ID>QR", true, true);
    xml.removeDelimited("<cac:Signature>", "</cac:Signature>", true, true);
}

} // namespace vantrel::dsig
