// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/char_class.h"
#include "foundation/xml/scan/document_scanner.h"
#include "foundation/xml/scan/stop_bytes.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vantrel::xml {
namespace {

// Pairwise comparison up to this many attributes; sorting beyond.
constexpr std::size_t kFewAttributes = 8;

std::uint64_t eightBytes(const char (&text)[9]) noexcept {
    std::uint64_t value = 0;
    std::memcpy(&value, text, 8);
    return value;
}

constexpr std::string_view kNotQualified = "The name is no qualified name";

// Whether a name by XML 1.0 is one by Namespaces in XML 1.0, too ([7] QName). `colon`: its first.
bool isQualifiedName(std::string_view name, std::size_t colon) noexcept {
    if (colon == name.npos) {
        return true;
    }
    const std::string_view local = name.substr(colon + 1);
    return colon != 0 && local.find(':') == local.npos && matchName(local) != 0;
}

constexpr std::size_t kBlockOfValue = 16;

// Whether a value of that length and more has no white space but spaces.
bool isPlain(std::string_view value) noexcept {
#if defined(__SSE2__)
    __m128i least = _mm_set1_epi8(' ');
    for (std::size_t at = 0; at < value.size(); at += kBlockOfValue) {
        __m128i block;
        std::memcpy(&block, value.data() + std::min(at, value.size() - kBlockOfValue),
                    sizeof block);
        least = _mm_min_epu8(least, block);
    }
    const __m128i spaces = _mm_cmpeq_epi8(least, _mm_set1_epi8(' '));
    return _mm_movemask_epi8(spaces) == 0xFFFF;
#else
    return std::all_of(value.begin(), value.end(),
                       [](char c) { return static_cast<unsigned char>(c) >= ' '; });
#endif
}

bool isIdName(std::string_view name, std::string_view local) noexcept {
    if (local.size() == 2) {
        return local == "Id" || local == "ID" || local == "id";
    }
    return name.size() >= 9 && name.ends_with("ID") &&
           (name == "AssertionID" || name == "RequestID" || name == "ResponseID");
}

} // namespace

std::uint64_t DocumentScanner::load8(const char* at, std::uint32_t length) const noexcept {
    std::uint64_t value = 0;
    if (m_text + m_size - at >= 8 && length != 0) [[likely]] {
        std::memcpy(&value, at, 8);
        return length >= 8 ? value : value & (~std::uint64_t{0} >> (64 - 8 * length));
    }
    std::memcpy(&value, at, std::min<std::uint32_t>(length, 8));
    return value;
}

// Reads a qualified name and returns its end. The dispatch of the caller has made sure of nothing.
std::uint32_t DocumentScanner::readName(std::uint32_t at, std::uint32_t& prefixLength) {
    const std::uint32_t end = m_window.find<kNameStops>(at);
    const unsigned char first = static_cast<unsigned char>(m_text[at]);
    std::uint64_t colons = 0;
    // In ASCII the masks decide everything but the first characters of the two parts.
    if ((kByteClasses[first] & kNameStartByte) == 0 || first == ':' ||
        static_cast<unsigned char>(m_text[end]) >= 0x80 || !m_window.colons(at, end - at, colons))
        [[unlikely]] {
        return readOddName(at, prefixLength);
    }
    if (colons == 0) {
        prefixLength = 0;
        return end;
    }
    prefixLength = static_cast<std::uint32_t>(__builtin_ctzll(colons));
    if ((colons & (colons - 1)) != 0 || !isNameStartByte(m_text[at + prefixLength + 1]))
        [[unlikely]] {
        return fail(at, "The name is no qualified name");
    }
    return end;
}

// Any name: with characters beyond ASCII, very long, or none at all.
std::uint32_t DocumentScanner::readOddName(std::uint32_t at, std::uint32_t& prefixLength) {
    const std::string_view text = rest(at);
    const std::size_t length = matchName(text);
    if (length == 0) {
        return fail(at, "A name is expected");
    }
    const std::string_view name = text.substr(0, length);
    const std::size_t colon = name.find(':');
    prefixLength = colon == name.npos ? 0 : static_cast<std::uint32_t>(colon);
    return isQualifiedName(name, colon) ? at + static_cast<std::uint32_t>(length)
                                        : fail(at, kNotQualified);
}

// XML 1.0, productions [40] STag and [44] EmptyElemTag.
std::uint32_t DocumentScanner::readStartTag(std::uint32_t at) {
    std::uint32_t prefixLength = 0;
    const std::uint32_t nameStart = at + 1;
    const std::uint32_t nameEnd = readName(nameStart, prefixLength);
    if (nameEnd == kFailed) [[unlikely]] {
        return kFailed;
    }
    if (m_open.size() == kMaxDepth) [[unlikely]] {
        return fail(at, "Limit passed: the nesting depth of elements");
    }
    const ElementId element = m_document.elementCount();
    m_document.m_elements.push_back({at, 0});
    m_open.push_back(
        {element, nameEnd - nameStart, kNoGlance, static_cast<std::uint32_t>(m_rebound.size())});

    std::uint32_t behind = nameEnd;
    const bool simple = m_text[behind] == '>' || m_text[behind] == '/';
    if (!simple || m_document.hasAttributeDefaults()) [[unlikely]] {
        m_attributes.clear();
        if (!simple && (behind = readAttributes(behind)) == kFailed) {
            return kFailed;
        }
        if (m_document.hasAttributeDefaults() &&
            !addDefaults({m_text + nameStart, nameEnd - nameStart}, at)) {
            return kFailed;
        }
        if (!m_attributes.empty() && !takeAttributes(element)) {
            return kFailed;
        }
    }
    if (prefixLength != 0 && !checkPrefix(nameStart, prefixLength)) [[unlikely]] {
        return kFailed;
    }
    const std::uint32_t localStart = nameStart + (prefixLength == 0 ? 0 : prefixLength + 1);
    const bool isNoted = mayBeSignature(localStart) &&
                         noteSignature(element, nameStart, prefixLength, nameEnd - nameStart);
    if (m_glances && !isNoted) {
        learnElement(nameStart, nameEnd - nameStart, prefixLength);
    }
    if (!simple || m_text[behind] != '>') {
        noteTag(at, nameEnd, behind);
    }
    if (m_text[behind] == '>') {
        Open& open = m_open.back();
        const bool undoes = m_rebound.size() != open.reboundBefore;
        if (!undoes && open.nameLength <= kGlancedName && element != 0) {
            open.endTagMask = nameMask(open.nameLength) << 1;
        }
        return behind + 1;
    }
    if (m_text[behind + 1] != '>') [[unlikely]] {
        return fail(behind, "The start tag is not closed by '>'");
    }
    return closeElement(behind + 2);
}

// For XmlDocument::untidyPlaces(). `close`: of its '>' or '/'.
void DocumentScanner::noteTag(std::uint32_t at, std::uint32_t nameEnd, std::uint32_t close) {
    const bool isTidy = nameEnd == close || areTidy(nameEnd, close);
    const bool isEmpty = m_text[close] == '/';
    if (isEmpty || !isTidy) {
        m_document.noteUntidy(at, isTidy);
    }
}

// Whether the attributes that were read stand as a canonical form writes them, and nothing else;
// also where one is a declaration, at which the canonicalizer stops anyway.
bool DocumentScanner::areTidy(std::uint32_t from, std::uint32_t to) const noexcept {
    constexpr std::string_view kAmpersand = "&amp;";
    const char* at = m_text + from;
    std::string_view before;
    for (const Read& attribute : m_attributes) {
        if (attribute.namespaceDecl) {
            return true;
        }
        const std::string_view name = attribute.nameView();
        if (*at != ' ' || attribute.name != at + 1 || attribute.prefixLength != 0 ||
            attribute.value != at + name.size() + 3 || attribute.value[-1] != '"' ||
            before >= name) {
            return false;
        }
        before = name;
        if (!attribute.hasReference && attribute.valueLength >= kBlockOfValue) {
            if (!isPlain(attribute.valueView())) {
                return false;
            }
            at = attribute.value + attribute.valueLength + 1;
            continue;
        }
        const auto end =
            static_cast<std::uint32_t>(attribute.value + attribute.valueLength - m_text);
        auto stop = static_cast<std::uint32_t>(attribute.value - m_text);
        while ((stop = findAttributeStop(m_text, stop, m_size, '"')) != end) {
            if (!rest(stop).starts_with(kAmpersand)) {
                return false;
            }
            stop += static_cast<std::uint32_t>(kAmpersand.size());
        }
        at = m_text + end + 1;
    }
    return at == m_text + to;
}

// From behind the name of the element to its '>' or '/'.
std::uint32_t DocumentScanner::readAttributes(std::uint32_t at) {
    for (;;) {
        const char c = m_text[at];
        if (c == '>' || c == '/') {
            return at;
        }
        if (!isSpace(c)) [[unlikely]] {
            return at >= m_size ? fail(at, "The document ends inside a tag")
                                : fail(at, "White space is missing in the tag");
        }
        ++at;
        if (static_cast<unsigned char>(m_text[at]) <= ' ') {
            at = skipSpace(at);
        }
        if (m_text[at] == '>' || m_text[at] == '/') {
            return at;
        }
        if (m_attributes.size() >= kMaxAttributes) [[unlikely]] {
            return fail(at, "Limit passed: the number of attributes of an element");
        }
        at = readAttribute(at);
        if (at == kFailed) [[unlikely]] {
            return kFailed;
        }
    }
}

std::uint32_t DocumentScanner::readAttribute(std::uint32_t at) {
    Read attribute{};
    const std::uint32_t nameEnd = readName(at, attribute.prefixLength);
    if (nameEnd == kFailed) [[unlikely]] {
        return kFailed;
    }
    attribute.name = m_text + at;
    attribute.nameLength = nameEnd - at;
    attribute.offset = at;
    attribute.fromText = true;
    attribute.key = load8(attribute.name, attribute.nameLength);
    std::uint32_t valueStart = nameEnd + 1;
    if (m_text[nameEnd] != '=' || (m_text[valueStart] != '"' && m_text[valueStart] != '\''))
        [[unlikely]] {
        valueStart = readEquals(nameEnd);
        if (valueStart == kFailed) {
            return kFailed;
        }
    }
    const char quote = m_text[valueStart++];
    std::uint32_t end = valueStart;
    for (;;) {
        end = quote == '"' ? m_window.find<kDoubleQuoteStops>(end)
                           : m_window.find<kSingleQuoteStops>(end);
        if (m_text[end] == quote) [[likely]] {
            break;
        }
        if (end >= m_size) {
            return fail(at, "The attribute value is not closed:", attribute.nameView());
        }
        if (m_text[end] == '<') {
            return fail(end, "An attribute value may not contain '<'");
        }
        attribute.hasReference = true;
        end = readReference(end, true);
        if (end == kFailed) {
            return kFailed;
        }
    }
    attribute.value = m_text + valueStart;
    attribute.valueLength = end - valueStart;
    // "xmlns", or "xmlns:" and more: the first five bytes decide with what follows them.
    constexpr std::uint64_t kFiveBytes = 0xFF'FFFF'FFFF;
    if ((attribute.key & kFiveBytes) == (eightBytes("xmlns\0\0\0") & kFiveBytes)) {
        attribute.namespaceDecl = attribute.nameLength == 5 || attribute.prefixLength == 5;
    }
    m_attributes.push_back(attribute);
    return end + 1;
}

// [25] Eq with white space in it, up to the opening quote.
std::uint32_t DocumentScanner::readEquals(std::uint32_t at) {
    at = skipSpace(at);
    if (m_text[at] != '=') {
        return fail(at, "'=' is missing behind the name of an attribute");
    }
    at = skipSpace(at + 1);
    return m_text[at] == '"' || m_text[at] == '\'' ? at
                                                   : fail(at, "The attribute value is not quoted");
}

// Adds the defaults of attributes that the tag does not have.
bool DocumentScanner::addDefaults(std::string_view element, std::uint32_t offset) {
    const std::size_t written = m_attributes.size();
    const auto declared = m_document.documentType()->declaredAttributes(element);
    if (declared.empty()) {
        return true;
    }
    // Names of the tag, sorted, so that many attributes with many defaults stay cheap.
    std::vector<std::string_view> names(written);
    for (std::size_t i = 0; i < written; ++i) {
        names[i] = m_attributes[i].nameView();
    }
    std::sort(names.begin(), names.end());
    for (const DeclaredAttribute& declaredAttribute : declared) {
        const std::string_view name = declaredAttribute.name;
        if (!declaredAttribute.hasDefault || std::binary_search(names.begin(), names.end(), name)) {
            continue;
        }
        if (m_attributes.size() >= kMaxAttributes) {
            fail(offset, "Limit passed: the number of attributes with their defaults");
            return false;
        }
        m_defaultBytes += name.size() + declaredAttribute.value.size() + kDefaultOverhead;
        if (m_defaultBytes > kMaxDefaultBytes + 4 * std::uint64_t{m_size}) {
            fail(offset, "Limit passed: the size of attribute defaults");
            return false;
        }
        // A declaration may have any name (XML 1.0, [53]); an element with such an attribute would
        // not be namespace-well-formed.
        const std::size_t colon = name.find(':');
        if (!isQualifiedName(name, colon)) {
            fail(offset, kNotQualified);
            return false;
        }
        Read attribute{};
        attribute.name = name.data();
        attribute.nameLength = static_cast<std::uint32_t>(name.size());
        attribute.prefixLength = colon == name.npos ? 0 : static_cast<std::uint32_t>(colon);
        attribute.value = declaredAttribute.value.data();
        attribute.valueLength = static_cast<std::uint32_t>(declaredAttribute.value.size());
        attribute.offset = offset;
        attribute.key = 0;
        std::memcpy(&attribute.key, attribute.name, std::min<std::size_t>(name.size(), 8));
        attribute.namespaceDecl = name == "xmlns" || name.starts_with("xmlns:");
        m_attributes.push_back(attribute);
    }
    return true;
}

// Declarations first, since they hold for the tag they stand in; then everything that rests on
// them.
bool DocumentScanner::takeAttributes(ElementId element) {
    if (m_attributes.size() > 1 && !checkUnique()) {
        return false;
    }
    for (const Read& attribute : m_attributes) {
        if (attribute.namespaceDecl && !declareNamespace(element, attribute)) {
            return false;
        }
    }
    std::uint32_t qualified = 0;
    for (const Read& attribute : m_attributes) {
        if (attribute.namespaceDecl) {
            continue;
        }
        std::uint32_t id = kXmlPrefix; // without a prefix, of one that is always bound
        if (attribute.prefixLength != 0) {
            ++qualified;
            id = prefixId(attribute.name, attribute.prefixLength);
            if (id == kXmlPrefix) [[unlikely]] {
                m_document.noteXmlAttribute(element);
            }
            const bool bound = id != kNoPrefix && m_bound[id] != kUnbound;
            if (!bound && m_mode == Mode::Document) {
                fail(attribute.offset,
                     "The prefix of the attribute is not declared:", attribute.nameView());
                return false;
            }
        }
        const bool isId = isIdName(attribute.nameView(), attribute.local());
        if (m_checkTypes || isId) {
            noteId(element, attribute);
        }
        if (m_glances) {
            learnAttribute(attribute, id, isId);
        }
    }
    return qualified < 2 || checkUniqueExpanded();
}

// XML 1.0, 3.1: no attribute name twice in one tag.
bool DocumentScanner::checkUnique() {
    const std::size_t count = m_attributes.size();
    const Read* twice = nullptr;
    if (count <= kFewAttributes) {
        for (std::size_t i = 1; i < count; ++i) {
            for (std::size_t j = 0; j < i; ++j) {
                if (m_attributes[i].key == m_attributes[j].key &&
                    m_attributes[i].nameView() == m_attributes[j].nameView()) {
                    twice = &m_attributes[i];
                }
            }
        }
    } else {
        m_order.resize(count);
        for (std::size_t i = 0; i < count; ++i) {
            m_order[i] = static_cast<std::uint32_t>(i);
        }
        const auto less = [this](std::uint32_t a, std::uint32_t b) {
            const Read& left = m_attributes[a];
            const Read& right = m_attributes[b];
            return left.key != right.key ? left.key < right.key
                                         : left.nameView() < right.nameView();
        };
        std::sort(m_order.begin(), m_order.end(), less);
        for (std::size_t i = 1; i < count; ++i) {
            if (m_attributes[m_order[i]].nameView() == m_attributes[m_order[i - 1]].nameView()) {
                twice = &m_attributes[std::max(m_order[i], m_order[i - 1])];
            }
        }
    }
    if (twice != nullptr) {
        fail(twice->offset, "The attribute stands twice in one tag:", twice->nameView());
    }
    return twice == nullptr;
}

// Namespaces in XML 1.0, 6.3: nor the same expanded name under two prefixes.
bool DocumentScanner::checkUniqueExpanded() {
    m_order.clear();
    for (std::size_t i = 0; i < m_attributes.size(); ++i) {
        if (m_attributes[i].prefixLength != 0 && !m_attributes[i].namespaceDecl) {
            m_order.push_back(static_cast<std::uint32_t>(i));
        }
    }
    const auto prefix = [this](const Read& attribute) {
        return prefixId(attribute.name, attribute.prefixLength);
    };
    const auto compare = [&](std::uint32_t a, std::uint32_t b) {
        const Read& left = m_attributes[a];
        const Read& right = m_attributes[b];
        const int order = left.local().compare(right.local());
        return order != 0 ? order : compareBoundNames(prefix(left), prefix(right));
    };
    std::sort(m_order.begin(), m_order.end(),
              [&](std::uint32_t a, std::uint32_t b) { return compare(a, b) < 0; });
    for (std::size_t i = 1; i < m_order.size(); ++i) {
        // Undeclared prefixes (of a fragment) have no name to compare.
        if (compare(m_order[i - 1], m_order[i]) == 0 &&
            !boundName(prefix(m_attributes[m_order[i]])).empty()) {
            const Read& twice = m_attributes[std::max(m_order[i], m_order[i - 1])];
            fail(twice.offset,
                 "The attribute stands twice in one tag, under two prefixes:", twice.nameView());
            return false;
        }
    }
    return true;
}

// The order of the namespace names that two prefixes are bound to. Every element may ask for the
// same two, so long ones are compared only once.
int DocumentScanner::compareBoundNames(std::uint32_t a, std::uint32_t b) {
    constexpr std::size_t kLongName = 256;
    const std::string_view first = boundName(a);
    const std::string_view second = boundName(b);
    if (a == b || first.size() < kLongName || second.size() < kLongName) {
        return a == b ? 0 : first.compare(second);
    }
    const std::uint64_t pair = std::uint64_t{m_bound[a]} << 32 | m_bound[b];
    const auto [known, added] = m_nameOrder.try_emplace(pair, 0);
    if (added) {
        known->second = first.compare(second);
    }
    return known->second;
}

AttributeType DocumentScanner::typeOf(const Read& attribute) const noexcept {
    if (!m_checkTypes) [[likely]] {
        return AttributeType::Cdata;
    }
    return m_document.documentType()->attributeType(nameOf(m_open.back()), attribute.nameView());
}

void DocumentScanner::noteId(ElementId element, const Read& attribute) {
    const AttributeType type = typeOf(attribute);
    if (type == AttributeType::Id || isIdName(attribute.nameView(), attribute.local())) {
        const TextRange value = storeValue(attribute, type);
        m_document.m_ids.add(element, value.start, value.length);
    }
}

} // namespace vantrel::xml
