// SPDX-License-Identifier: MIT
// What most of a document consists of, read at a glance: tags with names that were read before, in
// their usual form, and the text between them. Whatever else comes is left to the functions that
// can read anything (and that say what is wrong with it): nothing is noted of a tag before all of
// it has turned out to be of the usual form.
#include "foundation/xml/scan/char_class.h"
#include "foundation/xml/scan/document_scanner.h"
#include "foundation/xml/scan/references.h"
#include "foundation/xml/scan/stop_bytes.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vantrel::xml {

namespace {

constexpr std::uint32_t kShortestTag = 3; // "<a>"
// Tags that are read in one go at the least (where there are so many), and at the most.
constexpr std::size_t kFewTags = 128;
constexpr std::size_t kMostTags = 4096;
constexpr std::size_t kDeep = kMaxDepth - kMostTags; // open elements: no limit is met before that

constexpr std::uint16_t twoBytes(char first, char second) noexcept {
    const auto low = static_cast<std::uint16_t>(static_cast<unsigned char>(first));
    const auto high = static_cast<std::uint16_t>(static_cast<unsigned char>(second));
    return std::endian::native == std::endian::little ? static_cast<std::uint16_t>(low | high << 8)
                                                      : static_cast<std::uint16_t>(low << 8 | high);
}

std::uint16_t twoBytesAt(const char* text) noexcept {
    std::uint16_t bytes = 0;
    std::memcpy(&bytes, text, sizeof bytes);
    return bytes;
}

// The length of the reference to a predefined entity or an allowed character that begins `rest`, of
// 6 bytes or more; 0 for another one. `isTidy`: a canonical form has it like that.
std::uint32_t referenceLength(std::string_view rest, bool& isTidy) noexcept {
    isTidy = true;
    const auto is = [text = rest.data()]<std::size_t N>(const char(&reference)[N]) {
        return std::memcmp(text, reference, N - 1) == 0;
    };
    if (is("&amp;")) {
        return 5;
    }
    if (is("&lt;") || is("&gt;")) {
        return 4;
    }
    isTidy = false;
    const ReferenceForm form = matchReference(rest);
    const bool isRight =
        form.kind == ReferenceKind::Character || form.kind == ReferenceKind::Predefined;
    return isRight ? form.length : 0;
}

bool comesBehind(std::string_view name, std::string_view before) noexcept {
    if (before.empty() || before[0] != name[0]) {
        return before.empty() ||
               static_cast<unsigned char>(before[0]) < static_cast<unsigned char>(name[0]);
    }
    return before < name;
}

// Whether an attribute value with its closing quote at `end`, and more text behind, holds no white
// space but spaces.
bool isPlainValue(const char* text, std::uint32_t start, std::uint32_t end) noexcept {
    constexpr std::uint32_t kAtOnce = 16; // that search looks at
    return findAttributeStop(text, start, end + kAtOnce, '"') == end;
}

} // namespace

// The stretch of the text that can be read like that: it lies in the window, and kReach bytes can
// be read from each byte of it on. Offsets count from the beginning of the window.
struct DocumentScanner::Glance {
    static constexpr std::uint32_t kReach = 64;

    const char* text;
    const BlockMasks& masks;
    std::uint32_t end;

    // As TextWindow::find, for an offset not far behind `end`. A result from `end` on says that
    // there is none in the stretch.
    template <StopClass Stop> [[nodiscard]] std::uint32_t find(std::uint32_t at) const noexcept {
        std::uint64_t bits = bitsFrom(masks.rows[Stop], at);
        while (bits == 0) {
            const std::uint32_t next = at + kBlockSize - at % 8;
            if (next >= end) {
                return std::max(at, end);
            }
            at = next;
            bits = bitsFrom(masks.rows[Stop], at);
        }
        return at + static_cast<std::uint32_t>(__builtin_ctzll(bits));
    }
    // The length of the ASCII name at `at`; 0 for none, and for one that is too long for a glance.
    [[nodiscard]] std::uint32_t nameLength(std::uint32_t at) const noexcept {
        constexpr std::uint64_t kTooLong = std::uint64_t{1} << (kGlancedName + 1);
        const std::uint64_t bits = bitsFrom(masks.rows[kNameStops], at) | kTooLong;
        const auto length = static_cast<std::uint32_t>(__builtin_ctzll(bits));
        return length > kGlancedName ? 0 : length;
    }
};

// Reads on from `at` in the content of an element for as long as it is of the usual form. Returns
// the offset of what is not, or of text before it.
std::uint32_t DocumentScanner::readKnownTags(std::uint32_t at) {
    const std::uint32_t begin = m_window.begin();
    const std::uint32_t safe = std::min(m_window.end(), m_size - std::min(m_size, Glance::kReach));
    if (at < begin || at >= safe || m_open.size() >= kDeep) {
        return at;
    }
    // There is room for all that the stretch can hold, so that nobody has to ask on the way.
    const std::size_t most = std::min(
        {m_open.reserveMore(kFewTags), m_document.m_elements.reserveMore(kFewTags), kMostTags});
    const std::uint32_t stretch = static_cast<std::uint32_t>(most - 1) * kShortestTag;
    const std::uint32_t end = std::min(safe, at + stretch);
    const Glance glance{m_text + begin, m_window.masks(), end - begin};
    return begin + readKnownTags(glance, at - begin);
}

// The same with offsets in the window. The names that come are guessed from what came the last time
// behind the one before; only where that is wrong their ends are looked for, and then they
// themselves in the table.
inline std::uint32_t DocumentScanner::readKnownTags(const Glance& glance, std::uint32_t at) {
    const char* const text = glance.text;
    const auto begin = static_cast<std::uint32_t>(text - m_text);
    const auto rebound = static_cast<std::uint32_t>(m_rebound.size());
    const std::uint32_t* const bound = m_bound.data();
    ElementRecord* const records = m_document.m_elements.data();
    ElementId element = m_document.elementCount();
    Open* open = &m_open.back();
    KnownName* const names = &m_knownElements[0];
    KnownName* last = names + m_lastName;
    for (;;) {
        at = glance.find<kMarkupStops>(at);
        if (at >= glance.end) [[unlikely]] {
            break;
        }
        const char* const here = text + at;
        const std::uint16_t two = twoBytesAt(here);
        if (two == twoBytes('<', '/')) {
            // Behind the '<' and the '/', which differ.
            ElementRecord& record = records[open->element];
            if (!sameBytes(m_text + record.start, here + 1, open->endTagMask) ||
                here[2 + open->nameLength] != '>') [[unlikely]] {
                break;
            }
            at += open->nameLength + 3;
            record.end = begin + at;
            --open;
            continue;
        }
        if (*here != '<') [[unlikely]] {
            bool isTidy = false;
            const std::uint32_t length = *here == '&' ? referenceLength(rest(begin + at), isTidy)
                                                      : (closesCdata(here) ? 0U : 1U);
            if (length == 0) {
                break;
            }
            if (!isTidy) [[unlikely]] {
                m_document.noteUntidy(begin + at);
            }
            at += length;
            continue;
        }
        KnownName* name = names + last->next;
        std::uint32_t end = at + 1 + name->length;
        if (!sameBytes(name->bytes, here + 1, name->mask) ||
            (text[end] != '>' && isNameByte(text[end]))) {
            const std::uint32_t length = glance.nameLength(at + 1);
            const std::uint32_t slot =
                length == 0 ? m_knownElements.kNone : m_knownElements.find(here + 1, length);
            if (slot == m_knownElements.kNone) {
                break;
            }
            last->next = static_cast<std::uint16_t>(slot);
            name = names + slot;
            end = at + 1 + length;
        }
        if (bound[name->prefixId] == kUnbound) [[unlikely]] {
            break;
        }
        bool isEmpty = false;
        if (text[end] != '>') {
            bool isTidy = true;
            end = text[end] == ' ' ? glanceAtAttributes(glance, end, element, *name, isTidy) : end;
            isEmpty = text[end] == '/';
            end += isEmpty ? 1 : 0;
            if (text[end] != '>') [[unlikely]] {
                break;
            }
            if (isEmpty || !isTidy) {
                m_document.noteUntidy(begin + at);
            }
        }
        records[element] = {begin + at, begin + end + 1};
        if (!isEmpty) {
            *++open = {element, name->length, name->mask << 1, rebound};
        }
        at = end + 1;
        last = name;
        ++element;
    }
    m_document.m_elements.truncate(element);
    m_open.truncate(static_cast<std::size_t>(open - m_open.data()) + 1);
    m_lastName = static_cast<std::uint32_t>(last - names);
    return at;
}

// Reads attributes of the usual form from `at`, the space before the first, to the end of the tag,
// and notes its Id. Returns the offset of the '>' or "/>", or of something that is neither when
// something unusual was met. Clears `isTidy` where a canonical form may write them otherwise.
std::uint32_t DocumentScanner::glanceAtAttributes(const Glance& glance, std::uint32_t at,
                                                  ElementId element, KnownName& owner,
                                                  bool& isTidy) {
    const std::uint32_t unusual = at;
    const char* const text = glance.text;
    std::uint32_t qualified = 0;
    std::uint32_t idStart = 0;
    std::uint32_t idEnd = 0;
    std::uint16_t* guess = &owner.attribute;
    std::string_view before;
    do {
        const std::uint32_t start = at + 1;
        KnownName* name = &m_knownAttributes[*guess];
        if (start >= glance.end) [[unlikely]] {
            return unusual;
        }
        if (!sameBytes(name->bytes, text + start, name->mask) ||
            isNameByte(text[start + name->length])) {
            const std::uint32_t length = glance.nameLength(start);
            if (length == 0) {
                at = start; // a space before the end of the tag, or something else
                isTidy = false;
                break;
            }
            const std::uint32_t slot = m_knownAttributes.find(text + start, length);
            if (slot == m_knownAttributes.kNone) [[unlikely]] {
                return unusual;
            }
            *guess = static_cast<std::uint16_t>(slot);
            name = &m_knownAttributes[slot];
        }
        guess = &name->next;
        const bool isQualified = name->prefixId != kXmlPrefix;
        qualified += isQualified ? 1 : 0;
        // No name twice; two with prefixes have to be compared by what these are bound to.
        if (name->lastElement == element || qualified > 1 || m_bound[name->prefixId] == kUnbound)
            [[unlikely]] {
            return unusual;
        }
        name->lastElement = element;
        const std::uint32_t value = start + name->length + 2;
        const std::uint16_t opening = twoBytesAt(text + value - 2);
        std::uint32_t end = glance.find<kNameStops>(value);
        const std::uint32_t nameEnd = end;
        if (opening == twoBytes('=', '"')) [[likely]] {
            end = text[end] == '"' ? end : glance.find<kDoubleQuoteStops>(value);
        } else if (opening == twoBytes('=', '\'')) {
            end = glance.find<kSingleQuoteStops>(value);
        } else {
            return unusual;
        }
        if (end >= glance.end || text[end] != text[value - 1]) [[unlikely]] {
            return unusual;
        }
        const bool isName = end == nameEnd;
        if (name->isId) {
            // A value of name characters is its own normalised form.
            if (idStart != 0 || !isName) {
                return unusual;
            }
            idStart = value;
            idEnd = end;
        }
        const std::string_view here(text + start, name->length);
        if (isQualified || text[end] != '"' || !comesBehind(here, before) ||
            !(isName || isPlainValue(text, value, end))) {
            isTidy = false;
        }
        before = here;
        at = end + 1;
    } while (text[at] == ' ');
    const bool isClosed = text[at] == '>' || twoBytesAt(text + at) == twoBytes('/', '>');
    if (idStart != 0 && isClosed) {
        const auto begin = static_cast<std::uint32_t>(text - m_text);
        m_document.m_ids.add(element, begin + idStart, idEnd - idStart);
    }
    return isClosed ? at : unusual;
}

// A start tag with this name was read, which no signature has.
void DocumentScanner::learnElement(std::uint32_t nameStart, std::uint32_t length,
                                   std::uint32_t prefixLength) {
    const char* const name = m_text + nameStart;
    const std::uint32_t prefix = prefixLength == 0 ? kXmlPrefix : prefixId(name, prefixLength);
    if (length > kGlancedName || m_size - nameStart < kGlancedBytes || prefix == kNoPrefix) {
        return;
    }
    bool isNew = false;
    const std::uint32_t slot = m_knownElements.findOrAdd(name, length, isNew);
    if (isNew) {
        m_knownElements[slot].prefixId = prefix;
        m_knownElements[slot].attribute = m_knownAttributes.kNone;
    }
    m_knownElements[m_lastName].next = static_cast<std::uint16_t>(slot);
    m_lastName = slot;
}

// An attribute that is no namespace declaration was read. `prefix`: kXmlPrefix without one.
void DocumentScanner::learnAttribute(const Read& attribute, std::uint32_t prefix, bool isId) {
    const auto left = static_cast<std::uint32_t>(m_text + m_size - attribute.name);
    const bool ofXml = prefix == kXmlPrefix && attribute.prefixLength != 0;
    if (ofXml || prefix == kNoPrefix || attribute.nameLength > kGlancedName ||
        left < kGlancedBytes) {
        return;
    }
    bool isNew = false;
    const std::uint32_t slot =
        m_knownAttributes.findOrAdd(attribute.name, attribute.nameLength, isNew);
    if (isNew) {
        m_knownAttributes[slot].prefixId = prefix;
        m_knownAttributes[slot].isId = isId;
    }
}

} // namespace vantrel::xml
