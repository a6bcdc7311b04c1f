// SPDX-License-Identifier: MIT
#include "dsig/transform/canonicalize_step.h"

#include "dsig/transform/profile_detection.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/xml/canon/XmlCanon.h"
#include "foundation/xml/canon/fragment_id.h"

#include <span>
#include <string_view>
#include <vector>

namespace vantrel::dsig {

namespace {

// EBICS messages sign all elements that are marked, together; at most this many of them.
constexpr std::size_t kMostEbicsElements = 100;

// Hands octets on as long as the document's account allows. Without this a small document with many
// references to its root would cost the square of its size. A text of its own has no account and is
// not bounded here.
class ChargingSink final : public xml::CanonSink {
public:
    ChargingSink(xml::CanonSink& next, WorkAccount* account, LogBase& log) noexcept
        : m_next(next), m_account(account), m_log(log) {}

    // What is to be read counts as well as what is written.
    [[nodiscard]] bool expect(std::uint64_t octets, bool mostlyAsTheyStand) override {
        return (m_account == nullptr || m_account->takeOctets(octets, m_log)) &&
               m_next.expect(octets, mostlyAsTheyStand);
    }
    [[nodiscard]] Ahead takeFormAhead(const xml::XmlDocument& document,
                                      const xml::CanonRequest& request,
                                      std::uint64_t& octets) override {
        const Ahead ahead = m_next.takeFormAhead(document, request, octets);
        const bool isDue = ahead == Ahead::Taken && m_account != nullptr;
        return !isDue ||
                       m_account->takeOctets(xml::octetsToGoOver(document, request) + octets, m_log)
                   ? ahead
                   : Ahead::Refused;
    }
    [[nodiscard]] bool write(const char* data, std::size_t size) override {
        return (m_account == nullptr || m_account->takeOctets(size, m_log)) &&
               m_next.write(data, size);
    }

private:
    xml::CanonSink& m_next;
    WorkAccount* m_account;
    LogBase& m_log;
};

// Canonicalizes elements of the text one behind the other, or the whole text, into its place or
// into the sink. On failure the text is as it was: what was written so far is dropped with the
// local buffer, or lies with the sink, whose owner drops it. No element at all means the whole
// text.
bool canonicalizeElements(const XmlCanon& canonicalizer, std::span<const xml::ElementId> apexes,
                          WorkingText& text, xml::CanonSink* sink, LogBase& log) {
    const auto document = text.structure(log);
    if (document == nullptr) {
        return false;
    }
    StringBuffer octets;
    if (sink == nullptr && apexes.empty()) {
        static_cast<void>(octets.reserve(document->textBuffer().getSize())); // spares growing
    }
    // Namespace declarations inherited by each apex can make the form longer than the text it comes
    // from, so a form that is kept has a limit of its own.
    xml::StringBufferSink buffer(octets, XmlCanon::formLimit(document->textBuffer()));
    ChargingSink out(sink != nullptr ? *sink : buffer, text.account(), log);
    const xml::ElementId whole[] = {xml::kNoElement};
    // kNoElement is the canonicalizer's word for the whole document.
    for (const xml::ElementId apex : apexes.empty() ? std::span(whole) : apexes) {
        if (!canonicalizer.canonicalizeElement(*document, apex, text.gaps(), out, log)) {
            if (buffer.passedLimit()) {
                XmlCanon::logFormLimit(log);
            }
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
// it must be unique, whatever has been taken out since. kNoElement: the whole text. The lookup is
// in the loaded document because a transform could otherwise take out one of two elements with the
// same Id, and leave the reference to point at the other: the classic signature wrapping. A text
// without a loaded document is looked up in itself.
RefReason findTarget(std::string_view fragment, WorkingText& text, xml::ElementId& target,
                     LogBase& log) {
    target = xml::kNoElement;
    const auto document = text.loaded() != nullptr ? text.loaded() : text.structure(log);
    if (document == nullptr) {
        return RefReason::NotCanonicalized;
    }
    xml::ElementId element = xml::kNoElement;
    switch (XmlCanon::findFragment(*document, fragment, element, log)) {
    case xml::FragmentTarget::NotFound: return RefReason::NoSuchId;
    case xml::FragmentTarget::NotUnique: return RefReason::DuplicateId;
    case xml::FragmentTarget::Document: return RefReason::Match;
    case xml::FragmentTarget::Element: break;
    }
    // An earlier transform may have removed the very element that is referenced. Nothing then
    // stands in for it, least of all the rest of the text.
    const xml::ElementId inText = text.elementOf(element);
    if (inText == xml::kNoElement) {
        log.LogError("The element with the Id is not in the XML any more.");
        log.logText("fragmentId", fragment);
        return RefReason::NoSuchId;
    }
    target = inText;
    return RefReason::Match;
}

void logFailure(LogBase& log) { log.LogError("Failed to canonicalize XML fragment."); }

// Messages of this profile sign their Document element, whatever stands around it. The element is
// found by its start tag, which has attributes and no prefix. Where a tag is missing, the text
// stays whole on that side; cutDownTo then refuses what is not one element.
bool cutDownToCmaStpDocument(WorkingText& text, CodeSet& leniencies, LogBase& log) {
    constexpr std::string_view kStart = "<Document ";
    constexpr std::string_view kEnd = "</Document>";
    const GappedText searched = text.searchable();
    const std::size_t size = searched.text().size();
    const std::size_t found = searched.find(kStart, 0);
    const std::size_t start = found == std::string_view::npos ? 0 : found;
    const std::size_t endTag = searched.find(kEnd, start);
    // The first end tag decides, not the matching one: a Document inside the Document ends the
    // stretch too early, and is refused below as no whole element.
    const std::size_t end = endTag == std::string_view::npos ? size : endTag + kEnd.size();
    if (start == 0 && end == size) {
        return true;
    }
    leniencies.add(accommodation::kProfileCutOut);
    return text.cutDownTo(xml::rangeOf(start, end), log);
}

// The elements marked with authenticate="true", in document order, each canonicalized as an apex of
// its own and the octets joined without a separator. None at all is a failure: the digest of
// nothing must not match.
RefReason canonicalizeForEbics(const XmlCanon& canonicalizer, WorkingText& text,
                               xml::CanonSink* sink, CodeSet& leniencies, LogBase& log) {
    log.LogInfo("Canonicalizing for EBICS...");
    const auto document = text.structure(log);
    std::vector<xml::ElementId> apexes;
    if (document != nullptr) {
        apexes = XmlCanon::authenticatedElements(*document, log);
        // The marks are read from the structure, which still shows what lies in gaps.
        std::erase_if(apexes, [&](xml::ElementId element) { return text.isTakenOut(element); });
    }
    if (apexes.size() > kMostEbicsElements) {
        apexes.resize(kMostEbicsElements);
        leniencies.add(accommodation::kLimit100);
    }
    if (apexes.empty() || !canonicalizeElements(canonicalizer, apexes, text, sink, log)) {
        logFailure(log);
        return RefReason::NotCanonicalized;
    }
    return RefReason::Match;
}

} // namespace

bool isEbicsFragment(std::string_view fragmentId) noexcept {
    constexpr std::string_view kLongest = "authenticate";
    const auto holds = [fragmentId](std::string_view word) {
        return fragmentId.find(word) != std::string_view::npos;
    };
    return fragmentId == "EBICS" || (fragmentId.size() > kLongest.size() && holds("xpointer") &&
                                     holds(kLongest) && holds("true"));
}

// Exclusive XML Canonicalization 1.0, section 4. Without a list each namespace is written where it
// is visibly used.
void takeChoice(const CanonicalizationChoice& choice, XmlCanon& canonicalizer, LogBase& log) {
    canonicalizer.m_method = choice.exclusive ? kExclusive : kInclusive;
    canonicalizer.m_withComments = choice.withComments;
    if (!choice.prefixList) {
        return;
    }
    if (log.verbose()) {
        log.LogDataSb("inclusiveNamespacesPrefixList", *choice.prefixList);
    }
    setPrefixList(canonicalizer, *choice.prefixList);
}

void configureAttrSort(XmlCanon& canonicalizer, const Rules& rules, LogBase& log) {
    if (!rules.emulatesAttrSort()) {
        return;
    }
    logAttrSortEmulation(log);
    canonicalizer.m_duplicateAttrSortBug = true;
    canonicalizer.m_faultyOrder = rules.attributeOrder();
}

RefReason canonicalizeStep(const CanonicalizationChoice& choice, WorkingText& text,
                           const StringBuffer& fragmentId, xml::CanonSink* sink, const Rules& rules,
                           CodeSet& leniencies, LogBase& log) {
    const LogContextExitor context(log, "transformCanonicalize");
    XmlCanon canonicalizer;
    takeChoice(choice, canonicalizer, log);
    configureAttrSort(canonicalizer, rules, log);

    if (isEbicsFragment(fragmentId.view())) {
        return canonicalizeForEbics(canonicalizer, text, sink, leniencies, log);
    }
    xml::ElementId target = xml::kNoElement;
    RefReason outcome = RefReason::NotCanonicalized;
    // A reference to an Id is not touched by the profile.
    const bool cutOutFirst = rules.cmaStpDocument && fragmentId.isEmpty();
    if (!cutOutFirst || cutDownToCmaStpDocument(text, leniencies, log)) {
        outcome = findTarget(fragmentId.view(), text, target, log);
    }
    if (outcome == RefReason::Match &&
        // No element is passed for the whole text, so that its coverage stays that of the document
        // and what stands around the root is canonicalized with it.
        !canonicalizeElements(canonicalizer, std::span(&target, target != xml::kNoElement ? 1 : 0),
                              text, sink, log)) {
        outcome = RefReason::NotCanonicalized;
    }
    if (outcome != RefReason::Match) {
        logFailure(log);
    }
    return outcome;
}

} // namespace vantrel::dsig
