// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/document_scanner.h"
#include "foundation/xml/scan/stop_bytes.h"
#include "foundation/xml/scan/values.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vantrel::xml {
namespace {

constexpr std::string_view kSignature = "Signature";
constexpr std::string_view kAuthSignature = "AuthSignature";
constexpr std::string_view kSignedInfo = "SignedInfo";

constexpr std::uint64_t firstEight(std::string_view text) noexcept {
    std::uint64_t value = 0;
    for (unsigned i = 0; i < 8; ++i) {
        value |= static_cast<std::uint64_t>(static_cast<unsigned char>(text[i])) << (8 * i);
    }
    return value;
}

} // namespace

// The number of a prefix, kNoPrefix when it is declared nowhere so far. Prefixes of up to eight
// bytes, which is nearly all, are found in a small table that is indexed by their bytes.
std::uint32_t DocumentScanner::prefixId(const char* prefix, std::uint32_t length) noexcept {
    if (length > 8) {
        return m_document.m_prefixes.find({prefix, length});
    }
    std::uint64_t key = 0;
    if (m_text + m_size - prefix >= 8 && prefix >= m_text) [[likely]] {
        std::memcpy(&key, prefix, 8);
        key &= ~std::uint64_t{0} >> (64 - 8 * length);
    } else {
        std::memcpy(&key, prefix, length);
    }
    CachedPrefix& cached = m_prefixCache[(key * 0x9E3779B97F4A7C15ULL) >> 60];
    if (cached.key == key) [[likely]] {
        return cached.id;
    }
    const std::uint32_t id = m_document.m_prefixes.find({prefix, length});
    if (id != kNoPrefix) {
        cached = {key, id};
    }
    return id;
}

bool DocumentScanner::checkPrefix(std::uint32_t nameStart, std::uint32_t length) {
    const std::uint32_t id = prefixId(m_text + nameStart, length);
    if (id != kNoPrefix && m_bound[id] != kUnbound) [[likely]] {
        return true;
    }
    const std::string_view prefix(m_text + nameStart, length);
    if (prefix == "xmlns") {
        fail(nameStart, "An element may not have the prefix \"xmlns\"");
        return false;
    }
    if (m_mode == Mode::Document) {
        fail(nameStart, "The prefix of the element is not declared:", prefix);
        return false;
    }
    return true;
}

// The namespace name that a prefix is bound to now; empty for none.
std::string_view DocumentScanner::boundName(std::uint32_t prefixId) const noexcept {
    if (prefixId == kNoPrefix || m_bound[prefixId] == kUnbound) {
        return {};
    }
    if (m_bound[prefixId] == kBuiltIn) {
        return kXmlNamespace;
    }
    return m_document.namespaceName(m_document.m_namespaces[m_bound[prefixId]]);
}

// Where the value of a declaration or Id is kept: in the text when it is its own normalised form,
// else in side storage. Defaults, which many elements may share, are stored once.
TextRange DocumentScanner::storeValue(const Read& attribute, AttributeType type) {
    const std::string_view raw = attribute.valueView();
    if (attribute.fromText && type == AttributeType::Cdata) [[likely]] {
        const auto at = static_cast<std::uint32_t>(attribute.value - m_text);
        const std::uint32_t end = at + attribute.valueLength;
        if (findAttributeStop(m_text, at, m_size, m_text[end]) == end) [[likely]] {
            return {at, attribute.valueLength};
        }
    }
    const auto start = static_cast<std::uint32_t>(m_document.m_side.size());
    if (attribute.fromText) {
        appendAttributeValue(raw, type, m_document.m_side);
        const auto end = static_cast<std::uint32_t>(m_document.m_side.size());
        return {start, (end - start) | kSideStorage};
    }
    const auto [known, added] = m_storedDefaults.try_emplace(attribute.value, start);
    if (added) {
        m_document.m_side.append(raw);
    }
    return {known->second, attribute.valueLength | kSideStorage};
}

bool DocumentScanner::declareNamespace(ElementId element, const Read& attribute) {
    const TextRange value = storeValue(attribute, typeOf(attribute));
    const std::string_view prefix =
        attribute.nameLength == 5 ? std::string_view() : attribute.nameView().substr(6);
    const std::uint32_t id = m_document.m_prefixes.findOrAdd(prefix);
    const NamespaceDecl decl{element, id, value.start, value.length};
    if (!checkDeclaration(attribute, m_document.namespaceName(decl))) {
        return false;
    }
    if (id >= m_bound.size()) {
        m_bound.resize(id + 1, kUnbound);
    }
    m_rebound.push_back({id, m_bound[id]});
    m_bound[id] = static_cast<std::uint32_t>(m_document.m_namespaces.size());
    m_document.m_namespaces.push_back(decl);
    return true;
}

// Namespaces in XML 1.0, section 3 and 5: what may not be declared.
bool DocumentScanner::checkDeclaration(const Read& attribute, std::string_view name) {
    const std::string_view prefix =
        attribute.nameLength == 5 ? std::string_view() : attribute.nameView().substr(6);
    if (prefix == "xmlns") {
        fail(attribute.offset, "The prefix \"xmlns\" may not be declared");
        return false;
    }
    if ((prefix == "xml") != (name == kXmlNamespace)) {
        fail(attribute.offset, "Only the prefix \"xml\" goes with the XML namespace");
        return false;
    }
    if (name == kXmlnsNamespace) {
        fail(attribute.offset, "Nothing may be bound to the namespace of \"xmlns\"");
        return false;
    }
    if (name.empty() && !prefix.empty()) {
        fail(attribute.offset, "A prefix may not be undeclared:", prefix);
        return false;
    }
    return true;
}

// One comparison of eight bytes of the local name sorts out nearly every element.
bool DocumentScanner::mayBeSignature(std::uint32_t localStart) const noexcept {
    if (m_size - localStart < 8) [[unlikely]] {
        return false; // too near to the end to be any of them
    }
    std::uint64_t key = 0;
    std::memcpy(&key, m_text + localStart, 8);
    if constexpr (std::endian::native == std::endian::big) {
        key = __builtin_bswap64(key);
    }
    return key == firstEight(kSignature) || key == firstEight(kAuthSignature) ||
           key == firstEight(kSignedInfo);
}

void DocumentScanner::noteSignature(ElementId element, std::uint32_t nameStart,
                                    std::uint32_t prefixLength, std::uint32_t nameLength) {
    const std::uint32_t skipped = prefixLength == 0 ? 0 : prefixLength + 1;
    const std::string_view name(m_text + nameStart + skipped, nameLength - skipped);
    const std::string_view prefix(m_text + nameStart, prefixLength);
    if (name == kSignedInfo) {
        addSignedInfo(element, prefix);
    } else if (name == kSignature || name == kAuthSignature) {
        addSignature(element, name, prefix);
    }
}

// Notes an element that may be a signature; finish() drops those that turn out to be none.
void DocumentScanner::addSignature(ElementId element, std::string_view local,
                                   std::string_view prefix) {
    const std::uint32_t id = m_document.m_prefixes.find(prefix);
    const std::string_view uri = boundName(id);
    const bool declared = id != kNoPrefix && m_bound[id] < kBuiltIn;
    SignatureKind kind = SignatureKind::OtherNamespace;
    if (local == kAuthSignature) {
        kind = SignatureKind::AuthSignature;
    } else if (uri == kXmlDsigNamespace) {
        kind = SignatureKind::XmlDsig;
    } else if (!prefix.empty() && !declared) {
        kind = SignatureKind::UndeclaredPrefix;
    } else if (uri.empty()) {
        kind = SignatureKind::NoNamespace;
    }
    m_document.m_signatures.push_back({element, kind, 0, kNoElement});
}

void DocumentScanner::addSignedInfo(ElementId element, std::string_view prefix) {
    const ElementId parent = m_open.size() < 2 ? kNoElement : m_open[m_open.size() - 2].element;
    auto& signatures = m_document.m_signatures;
    const auto found = std::lower_bound(
        signatures.begin(), signatures.end(), parent,
        [](const SignatureElement& signature, ElementId id) { return signature.element < id; });
    if (found == signatures.end() || found->element != parent || found->signedInfoCount == 2) {
        return;
    }
    if (found->kind == SignatureKind::AuthSignature &&
        boundName(m_document.m_prefixes.find(prefix)) != kXmlDsigNamespace) {
        return;
    }
    if (++found->signedInfoCount == 1) {
        found->signedInfo = element;
    }
}

} // namespace vantrel::xml
