// The canonicalization step of a reference's transforms.

#include "dsig/object/_clsXmlDSigBase.h"
#include "dsig/object/verification_report.h"
#include "dsig/transform/canonicalization_method.h"
#include "dsig/transform/working_text.h"
#include "foundation/log/LogContextExitor.h"
#include "foundation/xml/canon/XmlCanon.h"
#include "foundation/xml/tree/ClsXml.h"

#include <span>
#include <string_view>
#include <vector>

namespace vantrel {

namespace {

// EBICS messages sign all elements that are marked, together; at most this many of them.
constexpr std::size_t kMostEbicsElements = 100;

bool isEbicsFragment(const StringBuffer& fragmentId) {
    return fragmentId.equals("EBICS") ||
           (fragmentId.containsSubstring("xpointer") &&
            fragmentId.containsSubstring("authenticate") && fragmentId.containsSubstring("true"));
}

void readPrefixList(const ClsXml& transform, XmlCanon& canonicalizer, LogBase& log) {
    StringBuffer prefixList;
    if (!transform.getChildAttrValue("*:InclusiveNamespaces", "PrefixList", prefixList)) {
        return;
    }
    if (log.verbose()) {
        log.LogDataSb("inclusiveNamespacesPrefixList", prefixList);
    }
    dsig::setPrefixList(canonicalizer, prefixList);
}

// Hands octets on as long as the document's account allows.
class ChargingSink final : public xml::CanonSink {
public:
    ChargingSink(xml::CanonSink& next, dsig::WorkAccount* account, LogBase& log) noexcept
        : m_next(next), m_account(account), m_log(log) {}

    [[nodiscard]] bool write(const char* data, std::size_t size) override {
        return (m_account == nullptr || m_account->takeOctets(size, m_log)) &&
               m_next.write(data, size);
    }

private:
    xml::CanonSink& m_next;
    dsig::WorkAccount* m_account;
    LogBase& m_log;
};

// What is to be read counts as well as what is written.
bool takeExtents(const xml::XmlDocument& document, std::span<const xml::ElementId> apexes,
                 const dsig::WorkingText& text, LogBase& log) {
    std::uint64_t octets = apexes.empty() ? document.text().size() : 0;
    for (const xml::ElementId apex : apexes) {
        octets += document.element(apex).end - document.element(apex).start;
    }
    return text.account() == nullptr || text.account()->takeOctets(octets, log);
}

// Canonicalizes elements of the text one behind the other, or the whole text, into its place or
// into the sink.
bool canonicalizeElements(const XmlCanon& canonicalizer, std::span<const xml::ElementId> apexes,
                          dsig::WorkingText& text, xml::CanonSink* sink, LogBase& log) {
    const auto document = text.structure(log);
    if (document == nullptr) {
        return false;
    }
    if (!takeExtents(*document, apexes, text, log)) {
        return false;
    }
    StringBuffer octets;
    if (sink == nullptr && apexes.empty()) {
        static_cast<void>(octets.reserve(document->textBuffer().getSize())); // spares growing
    }
    xml::StringBufferSink buffer(octets);
    ChargingSink out(sink != nullptr ? *sink : buffer, text.account(), log);
    const xml::ElementId whole[] = {xml::kNoElement};
    for (const xml::ElementId apex : apexes.empty() ? std::span(whole) : apexes) {
        if (!canonicalizer.canonicalizeElement(*document, apex, text.gaps(), out, log)) {
            return false;
        }
    }
    if (sink != nullptr) {
        text.streamed(apexes);
    } else {
        text.canonicalized(apexes, octets);
    }
    return true;
}

// The element of the text that a fragment identifier names: looked up in the loaded document, where
// it must be unique, whatever has been taken out since.
bool findTarget(std::string_view fragment, dsig::WorkingText& text,
                std::vector<xml::ElementId>& apexes, LogBase& log) {
    const auto document = text.loaded() != nullptr ? text.loaded() : text.structure(log);
    xml::ElementId element = xml::kNoElement;
    if (document == nullptr || !XmlCanon::findFragment(*document, fragment, element, log)) {
        return false;
    }
    if (element == xml::kNoElement) {
        return true;
    }
    const xml::ElementId inText = text.elementOf(element);
    if (inText == xml::kNoElement) {
        log.LogError("The element with the Id is not in the XML any more.");
        log.logText("fragmentId", fragment);
        return false;
    }
    apexes.push_back(inText);
    return true;
}

void logFailure(LogBase& log) { log.LogError("Failed to canonicalize XML fragment."); }

} // namespace

bool _clsXmlDSigBase::transformCanonicalize(const ClsXml* transform, StringBuffer& xml,
                                            const StringBuffer& algorithm,
                                            const StringBuffer& fragmentId, LogBase& log) {
    bool ok = false;
    dsig::onWorkingText(xml, [&](dsig::WorkingText& text) {
        ok = canonicalizeWorkingText(transform, text, algorithm, fragmentId, nullptr, log);
    });
    return ok;
}

bool _clsXmlDSigBase::canonicalizeWorkingText(const ClsXml* transform, dsig::WorkingText& text,
                                              const StringBuffer& algorithm,
                                              const StringBuffer& fragmentId, xml::CanonSink* sink,
                                              LogBase& log) {
    const LogContextExitor context(log, "transformCanonicalize");
    XmlCanon canonicalizer;
    dsig::selectTransformMethod(algorithm, canonicalizer);
    if (transform != nullptr && canonicalizer.m_method == dsig::kExclusive) {
        readPrefixList(*transform, canonicalizer, log);
    }
    configureAttrSort(canonicalizer, log);

    if (isEbicsFragment(fragmentId)) {
        return canonicalizeForEbics(canonicalizer, text, sink, log);
    }
    const bool cutOutFirst = m_cmaStpDocument && fragmentId.isEmpty();
    std::vector<xml::ElementId> apexes;
    if ((cutOutFirst && !cutDownToCmaStpDocument(text, log)) ||
        !findTarget(fragmentId.view(), text, apexes, log) ||
        !canonicalizeElements(canonicalizer, apexes, text, sink, log)) {
        logFailure(log);
        return false;
    }
    return true;
}

// Messages of this profile sign their Document element, whatever stands around it.
bool _clsXmlDSigBase::cutDownToCmaStpDocument(dsig::WorkingText& text, LogBase& log) const {
    constexpr std::string_view kStart = "<Document ";
    constexpr std::string_view kEnd = "</Document>";
    const dsig::GappedText searched = text.searchable();
    const std::size_t size = searched.text().size();
    const std::size_t found = searched.find(kStart, 0);
    const std::size_t start = found == std::string_view::npos ? 0 : found;
    const std::size_t endTag = searched.find(kEnd, start);
    const std::size_t end = endTag == std::string_view::npos ? size : endTag + kEnd.size();
    if (start == 0 && end == size) {
        return true;
    }
    dsig::noteAccommodation(m_accommodations, dsig::accommodation::kProfileCutOut);
    return text.cutDownTo(xml::rangeOf(start, end), log);
}

bool _clsXmlDSigBase::canonicalizeForEbics(XmlCanon& canonicalizer, dsig::WorkingText& text,
                                           xml::CanonSink* sink, LogBase& log) {
    log.LogInfo("Canonicalizing for EBICS...");
    const auto document = text.structure(log);
    std::vector<xml::ElementId> apexes;
    if (document != nullptr) {
        apexes = XmlCanon::authenticatedElements(*document, log);
        std::erase_if(apexes, [&](xml::ElementId element) { return text.isTakenOut(element); });
    }
    if (apexes.size() > kMostEbicsElements) {
        apexes.resize(kMostEbicsElements);
        dsig::noteAccommodation(m_accommodations, dsig::accommodation::kLimit100);
    }
    if (apexes.empty() || !canonicalizeElements(canonicalizer, apexes, text, sink, log)) {
        logFailure(log);
        return false;
    }
    return true;
}

void _clsXmlDSigBase::configureAttrSort(XmlCanon& canonicalizer, LogBase& log) const {
    if (!m_alwaysDuplicateAttrSortBug && !m_duplicateAttrSortBug) {
        return;
    }
    logAttrSortEmulation(log);
    canonicalizer.m_duplicateAttrSortBug = true;
    canonicalizer.m_faultyOrder =
        m_secondAttrOrder ? xml::AttributeOrder::LocalName : xml::AttributeOrder::PrefixThenLocal;
}

void _clsXmlDSigBase::logAttrSortEmulation(LogBase& log) {
    log.LogInfo("Will duplicate the XML canonicalization attribute sorting bug...");
}

} // namespace vantrel
