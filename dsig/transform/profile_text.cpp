// Corrections that document profiles apply to the text before and after the transforms of a
// reference. All are searches over the serialized text: that is how their signers' verifiers work.

#include "dsig/object/_clsXmlDSigBase.h"
#include "dsig/object/verification_report.h"
#include "dsig/transform/chunk_removal.h"
#include "dsig/transform/profile_markers.h"
#include "dsig/transform/working_text.h"
#include "foundation/log/LogContextExitor.h"
#include "foundation/text/strings.h"

#include <optional>
#include <string>

namespace vantrel {

namespace marker = dsig::marker;

namespace {

xml::TextRange rangeOf(std::size_t start, std::size_t end) {
    return {static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(end - start)};
}

// The DTE element around the Documento whose ID attribute, written with double quotes, has the
// value `id`. Nothing but white space or text may stand between the two start tags.
std::optional<xml::TextRange> findSiiDte(std::string_view text, std::string_view id) {
    const std::string attribute = "ID=\"" + std::string(id) + '"';
    const std::size_t match = text::findText(text, attribute);
    if (match == std::string_view::npos) {
        return std::nullopt;
    }
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
    return rangeOf(dte, end + endTag.size());
}

// The authentication block of a SWIFT message, which its digest leaves out.
std::optional<xml::TextRange> findSwiftLau(std::string_view text) {
    if (text::findText(text, marker::kSwift) == std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t start = text::findText(text, marker::kLauStart);
    const std::size_t end = text::findText(text, marker::kLauEnd);
    // A block at the very beginning stays.
    if (start == std::string_view::npos || end == std::string_view::npos || start == 0 ||
        end <= start) {
        return std::nullopt;
    }
    return rangeOf(start, end + marker::kLauEnd.size());
}

void keepOnly(StringBuffer& text, xml::TextRange range) {
    text.shorten(text.getSize() - range.end());
    text.removeChunk(0, range.start);
}

} // namespace

bool _clsXmlDSigBase::preprocessXmlToTransform(const StringBuffer& refId, const DSigReference& ref,
                                               StringBuffer& xml, LogBase& log) {
    dsig::onWorkingText(
        xml, [&](dsig::WorkingText& text) { preprocessWorkingText(refId, ref, text, log); });
    return true;
}

bool _clsXmlDSigBase::postProcessTransformedXml(const StringBuffer& refId, const DSigReference& ref,
                                                StringBuffer& xml, LogBase& log) {
    dsig::onWorkingText(
        xml, [&](dsig::WorkingText& text) { postProcessWorkingText(refId, ref, text, log); });
    return true;
}

void _clsXmlDSigBase::preprocessWorkingText(const StringBuffer& refId, const DSigReference& /*ref*/,
                                            dsig::WorkingText& text, LogBase& log) {
    const LogContextExitor context(log, "preprocessXmlToTransform");
    if (!m_isSiiDocument) {
        return;
    }
    log.LogInfo(("Preprocessing for " + std::string(marker::kSii)).c_str());
    StringBuffer xml = text.text();
    if (extract_sii_cl_dte(xml, refId.getString(), true, log)) {
        text.replace(xml);
        dsig::noteAccommodation(m_accommodations, dsig::accommodation::kProfileCutOut);
    }
}

bool _clsXmlDSigBase::extract_sii_cl_dte(StringBuffer& xml, const char* id, bool keepCopy,
                                         LogBase& log) {
    const LogContextExitor context(log, "extract_sii_cl_dte");
    const std::optional<xml::TextRange> dte = findSiiDte(xml.view(), id != nullptr ? id : "");
    if (!dte) {
        return false;
    }
    m_siiDteOffset = dte->start;
    keepOnly(xml, *dte);
    if (keepCopy) {
        m_siiDteXml = xml;
    }
    return true;
}

void _clsXmlDSigBase::postProcessWorkingText(const StringBuffer& /*refId*/,
                                             const DSigReference& /*ref*/, dsig::WorkingText& text,
                                             LogBase& log) {
    const LogContextExitor context(log, "postProcessTransformedXml");
    const std::optional<xml::TextRange> lau = findSwiftLau(text.text().view());
    if (!lau) {
        return;
    }
    log.LogInfo("Adjusting XML to canonicalized by removing <LAU ... </LAU>");
    text.change().removeChunk(lau->start, lau->length);
    dsig::noteAccommodation(m_accommodations, dsig::accommodation::kProfileRemoval);
}

bool _clsXmlDSigBase::removeXmlChunk(const char* start, const char* end, StringBuffer& xml,
                                     LogBase& /*log*/) {
    return dsig::removeChunks(xml, {start, end}, 1) == 1;
}

bool _clsXmlDSigBase::removeXmlChunkContaining(const char* start, const char* end,
                                               const char* needle, StringBuffer& xml,
                                               LogBase& /*log*/) {
    return dsig::removeChunks(xml, {start, end, needle}, 1) == 1;
}

bool _clsXmlDSigBase::zatcaTransformInvoice(StringBuffer& xml, LogBase& log) {
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
    xml.removeDelimited("<ext:UBLExtensions>", "</ext:UBLExtensions>", true, true);
    xml.removeDelimitedIfContains("<cac:AdditionalDocumentReference>",
                                  "</cac:AdditionalDocumentReference>", "<cbc:ID>QR", true, true);
    xml.removeDelimited("<cac:Signature>", "</cac:Signature>", true, true);
    return true;
}

} // namespace vantrel
