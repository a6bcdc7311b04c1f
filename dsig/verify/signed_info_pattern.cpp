// SPDX-License-Identifier: MIT
#include "dsig/verify/signed_info_pattern.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

namespace vantrel::dsig {

namespace {

constexpr std::size_t kNowhere = std::string_view::npos;

// Where `wanted` stands, if it does so once.
std::size_t findOnce(std::string_view text, const std::string& wanted) noexcept {
    const std::size_t found = text.find(wanted);
    return found != kNowhere && text.find(wanted, found + 1) == kNowhere ? found : kNowhere;
}

std::string_view stretch(std::string_view text, std::size_t begin, std::size_t end) noexcept {
    return text.substr(begin, end - begin);
}

char* put(char* at, std::string_view text) noexcept {
    std::memcpy(at, text.data(), text.size()); // none of them is null
    return at + text.size();
}

// The element at this place of the run.
const xml::ElementRecord& referenceAt(Document& document, const Selection& selection,
                                      std::size_t number) {
    return document.structure->element(
        document.referencesOf(*selection.signature)[document.repeatedRun.first + number]);
}

} // namespace

bool SignedInfoPattern::AroundId::take(std::string_view text, std::string_view id) noexcept {
    front = text;
    back = {};
    if (id.empty()) {
        return true;
    }
    const std::size_t found = text.find(id);
    if (found == kNowhere || text.find(id, found + 1) != kNowhere) {
        return false;
    }
    front = text.substr(0, found);
    back = text.substr(found + id.size());
    // All of a value between quotes.
    return !front.empty() && !back.empty() && front.back() == back.front() &&
           (back.front() == '"' || back.front() == '\'');
}

bool SignedInfoPattern::AroundId::is(std::string_view text, std::string_view id) const noexcept {
    return text.size() == front.size() + id.size() + back.size() && text.starts_with(front) &&
           text.ends_with(back) && text.substr(front.size(), id.size()) == id &&
           back.empty() == id.empty() && id.find_first_of("<>&\"'\t\r\n") == kNowhere;
}

bool SignedInfoPattern::extentOf(Document& document, const Selection& selection,
                                 xml::ElementId signedInfo, Extent& extent) {
    const RepeatedRun& run = document.repeatedRun;
    const std::size_t count = document.referencesOf(*selection.signature).size();
    if (run.signature != selection.element() || run.parts.empty() || run.first > count ||
        run.parts.size() > count - run.first || signedInfo == xml::kNoElement) {
        return false;
    }
    const xml::ElementRecord& inner = document.structure->element(signedInfo);
    const std::uint32_t outer = document.structure->element(run.signature).start;
    const std::uint32_t begin = referenceAt(document, selection, 0).start;
    const std::uint32_t end = referenceAt(document, selection, run.parts.size() - 1).end;
    if (outer > inner.start || inner.start > begin || end > inner.end) {
        return false;
    }
    const std::string_view text = document.structure->text();
    extent = {stretch(text, outer, inner.start), stretch(text, inner.start, begin),
              stretch(text, end, inner.end)};
    return true;
}

// What stands behind the reference at this place of the run, before the next one.
std::string_view SignedInfoPattern::between(Document& document, const Selection& selection,
                                            std::size_t number) {
    return stretch(document.structure->text(), referenceAt(document, selection, number).end,
                   referenceAt(document, selection, number + 1).start);
}

bool SignedInfoPattern::learn(Document& document, const Selection& selection,
                              xml::ElementId signedInfo, const XmlCanon& canonicalizer,
                              const StringBuffer& algorithm, LogBase& log) {
    const RepeatedRun& run = document.repeatedRun;
    Extent extent;
    // Behind the digest are two end tags and nothing else.
    if (!extentOf(document, selection, signedInfo, extent) ||
        !m_outside.take(extent.outside, selection.id.view()) ||
        std::count(run.tail.begin(), run.tail.end(), '<') != 2) {
        return false;
    }
    m_parent = m_last.parentOf(*document.structure, run.signature);
    m_front = extent.front;
    m_back = extent.back;
    m_hasBetween = run.parts.size() > 1;
    m_between = m_hasBetween ? between(document, selection, 0) : std::string_view();
    m_algorithm = algorithm;
    m_runHead = run.head.data();
    // White space that no canonicalization changes.
    if (m_between.find_first_not_of(" \t\n") != kNowhere) {
        return false;
    }
    xml::TextRange rest;
    if (m_hasBetween) {
        const std::uint32_t begin = referenceAt(document, selection, 1).start;
        rest = {begin, referenceAt(document, selection, run.parts.size() - 1).end - begin};
        if (!xml::isHole(*document.structure, rest)) {
            return false;
        }
    }
    const std::span<const xml::TextRange> omitted(&rest, m_hasBetween ? 1 : 0);
    m_form.clear();
    xml::StringBufferSink sink(m_form, XmlCanon::formLimit(document.structure->textBuffer()));
    return canonicalizer.canonicalizeElement(*document.structure, signedInfo, omitted, sink, log) &&
           cutForm(run);
}

// The first reference of the run is known in the form by its Id, and its digest by itself, for they
// stand there as in the text. In a canonical form no '<' is in a value, and no '>' in a text.
bool SignedInfoPattern::cutForm(const RepeatedRun& run) {
    const std::string_view form = m_form.view();
    const RepeatedRun::Parts& parts = run.parts.front();
    const std::string uri = "=\"" + std::string(parts.uri) + '"';
    const std::string content = '>' + std::string(parts.digest) + '<';
    const std::size_t uriAt = findOnce(form, uri);
    const std::size_t contentAt = findOnce(form, content);
    if (uriAt == kNowhere || contentAt == kNowhere || contentAt < uriAt + uri.size()) {
        return false;
    }
    const std::size_t start = form.rfind('<', uriAt);
    const std::size_t id = uriAt + 3; // behind ="#
    const std::size_t digest = contentAt + 1;
    const std::size_t behindDigest = digest + parts.digest.size();
    const std::size_t closed = form.find('>', behindDigest);
    const std::size_t end = closed == kNowhere ? kNowhere : form.find('>', closed + 1);
    if (start == kNowhere || end == kNowhere || !form.substr(end + 1).starts_with(m_between)) {
        return false;
    }
    m_formFront = form.substr(0, start);
    m_head = stretch(form, start, id);
    m_middle = stretch(form, id + parts.id().size(), digest);
    m_tail = stretch(form, behindDigest, end + 1);
    m_formBack = form.substr(end + 1 + m_between.size());
    return true;
}

bool SignedInfoPattern::compose(Document& document, const Selection& selection,
                                xml::ElementId signedInfo, StringBuffer& form) {
    const RepeatedRun& run = document.repeatedRun;
    Extent extent;
    if (run.head.data() != m_runHead || (run.parts.size() > 1 && !m_hasBetween) ||
        !extentOf(document, selection, signedInfo, extent) || extent.front != m_front ||
        extent.back != m_back || !m_outside.is(extent.outside, selection.id.view()) ||
        m_last.parentOf(*document.structure, run.signature) != m_parent) {
        return false;
    }
    std::uint64_t size = m_formFront.size() + m_formBack.size();
    for (std::size_t i = 0; i < run.parts.size(); ++i) {
        if (i + 1 < run.parts.size() && between(document, selection, i) != m_between) {
            return false;
        }
        size += m_head.size() + run.parts[i].id().size() + m_middle.size() +
                run.parts[i].digest.size() + m_tail.size() + m_between.size();
    }
    form.clear();
    if (size > XmlCanon::formLimit(document.structure->textBuffer()) || size > kMaxTextSize ||
        !form.reserve(static_cast<std::uint32_t>(size))) {
        return false;
    }
    char* const begin = form.freeRoom(static_cast<std::size_t>(size));
    if (begin == nullptr) {
        return false;
    }
    char* at = put(begin, m_formFront);
    for (const RepeatedRun::Parts& parts : run.parts) {
        at = put(at, m_head);
        at = put(at, parts.id());
        at = put(at, m_middle);
        at = put(at, parts.digest);
        at = put(at, m_tail);
        if (&parts != &run.parts.back()) {
            at = put(at, m_between);
        }
    }
    at = put(at, m_formBack);
    form.takeRoom(static_cast<std::size_t>(at - begin));
    return true;
}

} // namespace vantrel::dsig
