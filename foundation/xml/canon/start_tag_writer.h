#ifndef FOUNDATION_XML_CANON_START_TAG_WRITER_H
#define FOUNDATION_XML_CANON_START_TAG_WRITER_H

#include "foundation/xml/canon/canon_output.h"
#include "foundation/xml/canon/canon_window.h"
#include "foundation/xml/canon/canonicalizer.h"
#include "foundation/xml/canon/namespace_state.h"
#include "foundation/xml/scan/start_tag.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::xml {

// Where a start tag ends and what its element needs at its end.
struct WrittenTag {
    std::uint32_t end = 0;        // offset behind the tag
    std::uint32_t nameLength = 0; // of the qualified name
    bool selfClosing = false;     // the end tag was written as well
};

// Writes start tags canonically: the namespace declarations that are due, then the attributes in
// order. A tag that is already canonical is left to the stretch of text that it stands in.
class StartTagWriter final {
public:
    StartTagWriter(const XmlDocument& document, const CanonRequest& request, CanonWindow& window,
                   CanonOutput& out);
    StartTagWriter(const StartTagWriter&) = delete;
    StartTagWriter& operator=(const StartTagWriter&) = delete;

    // Takes over what the apex inherits from its ancestors. To be called before its tag is written,
    // unless the apex is the root.
    void inherit(ElementId apex);
    // Writes the start tag of `element`, which begins at `start`. `depth` counts from the apex (0).
    // Elements come in document order.
    [[nodiscard]] WrittenTag write(ElementId element, std::uint32_t start, std::uint32_t depth);
    // Forgets what the element at `depth` declared.
    void leave(std::uint32_t depth) { m_namespaces.leave(depth); }
    // The next tag is that of `element`: some were passed over.
    void goOnAt(ElementId element) noexcept;

private:
    using PrefixId = NamespaceState::PrefixId;
    static constexpr PrefixId kNothingDue = 0xFFFFFFFF;

    struct TagAttribute {
        Attribute source;
        std::string_view namespaceName;
        AttributeType type = AttributeType::Cdata;
        bool isNormalised = false; // a default: its value is no raw text
    };

    [[nodiscard]] bool passOver(std::uint32_t start, std::uint32_t depth, WrittenTag& tag);
    [[nodiscard]] bool passShape(std::uint32_t start, std::uint32_t depth, WrittenTag& tag);
    [[nodiscard]] bool areOrdered(std::uint32_t start, std::uint64_t blanks) const noexcept;
    [[nodiscard]] bool passAttributes(std::uint32_t& at, PrefixId due);
    [[nodiscard]] PrefixId prefixAt(std::uint32_t start, std::uint32_t length);
    [[nodiscard]] PrefixId pendingAt(std::uint32_t start, std::uint32_t length);
    void finishPassed(std::uint32_t start, std::uint32_t at, std::uint32_t depth, PrefixId due,
                      WrittenTag& tag);
    [[nodiscard]] WrittenTag rewrite(ElementId element, std::uint32_t start, std::uint32_t depth);
    void declareNamespaces(ElementId element, std::uint32_t depth);
    void inheritXmlAttributes(ElementId apex);
    void addDefaults(std::string_view elementName);
    void addDefault(const DeclaredAttribute& declared);
    void noteUse(std::string_view prefix);
    void take(PrefixId prefix);
    void chooseNamespaces(std::string_view elementPrefix, std::uint32_t depth);
    void sortAttributes();
    void putNamespaces(std::uint32_t depth);
    void putAttribute(const TagAttribute& attribute);

    const XmlDocument& m_document;
    const CanonRequest& m_request;
    CanonWindow& m_window;
    CanonOutput& m_out;
    const std::string_view m_text;
    const std::span<const NamespaceDecl> m_declarations;
    const bool m_exclusive;
    const bool m_hasDeclaredAttributes; // by the DTD
    // Attributes of one prefix may stand behind unqualified ones in every order but LocalName.
    const bool m_localNameOrder;
    NamespaceState m_namespaces;
    std::uint32_t m_nextDeclaration = 0;
    ElementId m_nextDeclaring = kNoElement; // the element of that declaration
    std::uint32_t m_tagSerial = 0;

    // Of the tag at hand; kept to reuse their memory.
    std::vector<TagAttribute> m_attributes;
    std::vector<PrefixId> m_declared;
    std::vector<PrefixId> m_due;
    std::string m_value;
};

} // namespace vantrel::xml

#endif
