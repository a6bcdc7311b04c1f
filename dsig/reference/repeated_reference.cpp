// SPDX-License-Identifier: MIT
#include "dsig/reference/repeated_reference.h"

#include "dsig/document/document.h"
#include "dsig/document/reference_form.h"
#include "dsig/transform/canonicalize_step.h"
#include "foundation/base/entry_pattern.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/text/encoders.h"
#include "foundation/xml/canon/fragment_id.h"
#include "foundation/xml/canon/short_forms.h"
#include "foundation/xml/scan/start_tag.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel::dsig {

namespace {

constexpr std::size_t kLongestLoggedValue = 256;

// Stands in the text and in the log as it is.
bool isPlainId(std::string_view id) noexcept {
    constexpr std::string_view kMarkup = "&<>\"'\x7F";
    return !id.empty() && id.size() <= kLongestLoggedValue &&
           std::all_of(id.begin(), id.end(), [&](char c) {
               return static_cast<unsigned char>(c) > ' ' && kMarkup.find(c) == kMarkup.npos;
           });
}

// By these rules a reference that matches does so with the octets that its transforms say, and they
// stay as they are.
bool isWithoutProfile(const ReferenceQuery& query, const Rules& rules, const LogBase& log) {
    return !rules.satDoda && !rules.siiDocument && !rules.zatca && !rules.mayHoldLau &&
           !rules.emulatesAttrSort() && !query.keepOctets && !log.verbose();
}

// The number as a text, in `room`.
std::string_view digitsOf(int number, std::array<char, 16>& room) noexcept {
    const char* const end = std::to_chars(room.data(), room.data() + room.size(), number).ptr;
    return {room.data(), static_cast<std::size_t>(end - room.data())};
}

// Where the Id of a URI "#Id" stands in a Reference; empty where there is none.
std::string_view idInTag(const xml::XmlDocument& document, xml::ElementId reference) {
    xml::StartTagReader tag(document.text(), document.element(reference).start);
    for (xml::Attribute attribute; tag.next(attribute);) {
        if (attribute.name == "URI" && attribute.raw.starts_with('#')) {
            return attribute.raw.substr(1);
        }
    }
    return {};
}

// The transforms of such a reference are one canonicalization at the most; `count` of them. False
// for others.
bool chooseForm(Document& document, xml::ElementId reference, CanonicalizationChoice& choice,
                std::uint64_t& count) {
    const StringBuffer& text = document.lastReference.transforms;
    if (text.isEmpty()) {
        return true; // Canonical XML 1.0
    }
    LogNull quiet;
    const ParsedTransforms* const transforms = document.parsedTransforms(reference, text, quiet);
    if (transforms == nullptr || !transforms->isRead() || transforms->count != 1 ||
        transforms->steps.front().kind != TransformKind::Canonicalization) {
        return false;
    }
    choice = transforms->steps.front().canonicalization;
    count = transforms->count;
    return true;
}

} // namespace

// What such references have in common. Views are of the loaded text.
class RepeatedReference final {
public:
    explicit RepeatedReference(const xml::XmlDocument& document) noexcept : m_document(document) {}

    [[nodiscard]] bool learn(const ReferenceQuery& query, const ReferenceResult& result,
                             LogBase::Place before, LogBase& log);
    [[nodiscard]] bool isOf(const ReferenceForm& form, LogBase::Place place) const noexcept {
        return m_tail.data() == form.tail.data() && m_depth == place.depth;
    }
    // False where the reference is none of them. One that does not match ends this.
    [[nodiscard]] bool check(const ReferenceQuery& query, ReferenceResult& result, LogBase& log,
                             bool& isRight);

private:
    using Parts = RepeatedRun::Parts;

    [[nodiscard]] bool readParts(std::string_view reference, Parts& parts) const noexcept;

    void noteRun(const ReferenceQuery& query, const Parts& parts) const;

    const xml::XmlDocument& m_document;
    std::string_view m_head;   // of the element, up to the Id
    std::string_view m_middle; // between the Id and the digest
    std::string_view m_tail;   // behind the digest
    int m_hashAlg = kHashNone;
    std::size_t m_digestSize = 0; // of its text
    std::uint64_t m_transforms = 0;
    XmlCanon m_canonicalizer;
    std::vector<std::string_view> m_prefixes; // of that
    std::optional<xml::ShortForms> m_forms;
    EntryPattern m_entries;
    std::uint32_t m_depth = 0; // of the log, where they are
};

bool RepeatedReference::learn(const ReferenceQuery& query, const ReferenceResult& result,
                              LogBase::Place before, LogBase& log) {
    Document& document = *query.document;
    const auto& references = document.referencesOf(*query.selection.signature);
    const xml::ElementId reference = references[static_cast<std::size_t>(query.index)];
    const xml::ElementRecord& record = m_document.element(reference);
    const std::string_view whole = m_document.text({record.start, record.end - record.start});
    const std::string_view id = idInTag(m_document, reference);
    const std::string_view digest = result.computedDigest.view();
    const ReferenceForm& form = document.lastReference;
    if (!isPlainId(id) || result.uri.view().substr(1) != id ||
        whole.size() < form.tail.size() + digest.size()) {
        return false;
    }
    m_head = whole.substr(0, static_cast<std::size_t>(id.data() - whole.data()));
    const std::size_t behindId = m_head.size() + id.size();
    const std::size_t digestStart = whole.size() - form.tail.size() - digest.size();
    if (digestStart < behindId || whole.substr(digestStart, digest.size()) != digest) {
        return false; // with white space in it
    }
    m_middle = whole.substr(behindId, digestStart - behindId);
    m_tail = form.tail;
    m_hashAlg = form.digest.hashAlg;
    m_digestSize = digest.size();
    CanonicalizationChoice choice;
    // One that is known by its whole identifier may be another hash for other digests.
    if (m_hashAlg == kHashNone || !whole.ends_with(m_tail) ||
        !chooseForm(document, reference, choice, m_transforms)) {
        return false;
    }
    LogNull quiet;
    takeChoice(choice, m_canonicalizer, quiet);
    m_forms.emplace(m_document, m_canonicalizer.request(m_prefixes));
    m_depth = before.depth;
    std::array<char, 16> room{};
    const std::string_view first[] = {query.selection.id.view(), digitsOf(query.index, room), id};
    const std::string_view last[] = {digest, digest};
    return m_entries.take(log.entriesSince(before), first, last);
}

// The sizes alone say how long the Id is; without a quote in it, it is all of the URI.
bool RepeatedReference::readParts(std::string_view reference, Parts& parts) const noexcept {
    const std::size_t known = m_head.size() + m_middle.size() + m_digestSize + m_tail.size();
    if (reference.size() <= known || !reference.starts_with(m_head) ||
        !reference.ends_with(m_tail)) {
        return false;
    }
    const std::size_t idSize = reference.size() - known;
    const std::size_t behindId = m_head.size() + idSize;
    parts.uri = reference.substr(m_head.size() - 1, 1 + idSize);
    parts.digest = reference.substr(behindId + m_middle.size(), m_digestSize);
    return reference.substr(behindId, m_middle.size()) == m_middle && isPlainId(parts.id()) &&
           !isEbicsFragment(parts.id());
}

void RepeatedReference::noteRun(const ReferenceQuery& query, const Parts& parts) const {
    RepeatedRun& run = query.document->repeatedRun;
    const auto index = static_cast<std::size_t>(query.index);
    if (run.signature != query.selection.element() || run.first + run.parts.size() != index ||
        run.head.data() != m_head.data()) {
        run.signature = query.selection.element();
        run.first = index;
        run.head = m_head;
        run.tail = m_tail;
        run.parts.clear();
    }
    run.parts.push_back(parts);
}

bool RepeatedReference::check(const ReferenceQuery& query, ReferenceResult& result, LogBase& log,
                              bool& isRight) {
    isRight = true;
    const auto& references = query.document->referencesOf(*query.selection.signature);
    const auto index = static_cast<std::size_t>(query.index);
    if (query.index < 0 || index >= references.size()) {
        return false;
    }
    const xml::ElementRecord& record = m_document.element(references[index]);
    Parts parts;
    if (!readParts(m_document.text({record.start, record.end - record.start}), parts)) {
        return false;
    }
    std::array<char, 16> room{};
    // The signature's Id, the index, the element's Id, and the digest, once as it is and once as it
    // is to be.
    const std::string_view values[] = {query.selection.id.view(), digitsOf(query.index, room),
                                       parts.id(), parts.digest, parts.digest};
    if ((!values[0].empty() && !isPlainId(values[0])) ||
        !log.takesEntries(m_depth, m_entries.mostBytes(values))) {
        return false;
    }
    xml::ElementId target = xml::kNoElement;
    if (xml::resolveFragment(m_document, parts.id(), target) != xml::FragmentTarget::Element) {
        return false;
    }
    const std::string_view form = m_forms->of(target);
    if (form.empty()) {
        return false;
    }
    std::array<std::uint8_t, crypto::kMaxDigestSize> digest;
    std::array<char, 2 * crypto::kMaxDigestSize> characters;
    const ByteView computed = crypto::hashBytes(m_hashAlg, asBytes(form), digest);
    // The stored text is one that an encoder writes, so it can hold no markup.
    isRight = text::base64In(computed, characters) == parts.digest;
    const xml::ElementRecord& extent = m_document.element(target);
    if (!isRight ||
        !query.document->account.takeDone(m_transforms, extent.end - extent.start + form.size())) {
        return false;
    }
    m_entries.put(values, log);
    noteRun(query, parts);
    result.index = query.index;
    result.checked = true;
    result.asWritten = true;
    result.covers = "element";
    result.coveredElements.assign({&target, 1});
    result.octetCount = form.size();
    return true;
}

bool matchesRepeated(const ReferenceQuery& query, const Rules& rules, ReferenceResult& result,
                     LogBase& log) {
    if (query.document == nullptr || query.document->repeatedReference == nullptr ||
        query.selection.signature == nullptr || !isWithoutProfile(query, rules, log)) {
        return false;
    }
    query.document->account.noLimitPassed();
    bool isRight = true;
    const bool matches = query.document->repeatedReference->check(query, result, log, isRight);
    // So that a list of wrong digests costs no more than before.
    if (!isRight) {
        query.document->repeatedReference.reset();
        query.document->matchedTail = nullptr;
    }
    query.document->repeatedMatches += matches ? 1 : 0;
    return matches;
}

void learnRepeated(const ReferenceQuery& query, const Rules& rules, const ReferenceResult& result,
                   LogBase::Place before, LogBase& log) {
    if (query.document == nullptr || !query.document->mayRepeat) {
        return;
    }
    Document& document = *query.document;
    const ReferenceForm& form = document.lastReference;
    const char* const last = std::exchange(
        document.matchedTail, result.matched() && !form.head.empty() ? form.tail.data() : nullptr);
    // A single reference is not worth it.
    if (last == nullptr || last != document.matchedTail || result.covers != "element" ||
        !result.accommodations.codes().empty() || !result.standards->codes().empty() ||
        !result.excluded.empty() || !result.coverageKnown || document.structure->isExpanded() ||
        !isWithoutProfile(query, rules, log) ||
        (document.repeatedReference != nullptr && document.repeatedReference->isOf(form, before))) {
        return;
    }
    auto learned = std::make_shared<RepeatedReference>(*document.structure);
    if (learned->learn(query, result, before, log)) {
        document.repeatedReference = std::move(learned);
    }
}

} // namespace vantrel::dsig
