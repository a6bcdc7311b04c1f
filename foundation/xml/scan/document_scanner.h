// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_DOCUMENT_SCANNER_H
#define FOUNDATION_XML_SCAN_DOCUMENT_SCANNER_H

#include "foundation/xml/scan/known_names.h"
#include "foundation/xml/scan/parse_follower.h"
#include "foundation/xml/scan/text_window.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel::xml {

enum class ScanOutcome : std::uint8_t { Done, Refused, NeedsExpansion };

// The one checked pass over a document: well-formedness, namespaces, and the structure that
// XmlDocument keeps. Reading functions take an offset and return the one behind what they read, or
// kFailed after noting the failure. There is no recursion: the open elements stand on a stack.
class DocumentScanner final {
public:
    // What the text is. An entity's replacement text is checked between the tags of a made-up root;
    // references to general entities are then left to whoever checks those.
    enum class Mode : std::uint8_t { Document, Fragment, EntityText };

    // Reads document.textBuffer() into `document`.
    DocumentScanner(XmlDocument& document, Mode mode);

    // For tests: without the short ways of known_tags.cpp, which change no result.
    void takeNoShortWays() noexcept { m_glances = false; }
    // Tells `follower` about every so many octets how far it is.
    void followEach(std::uint32_t octets, ParseFollower* follower) noexcept {
        m_followed = octets;
        m_follower = follower;
    }
    [[nodiscard]] ScanOutcome scan();
    // After Refused: where (in the text that was read) and why.
    [[nodiscard]] std::uint32_t failureOffset() const noexcept { return m_failureOffset; }
    [[nodiscard]] const std::string& failureMessage() const noexcept { return m_failureMessage; }
    // Offset of the root's start tag; valid once the prolog was read.
    [[nodiscard]] std::uint32_t rootStart() const noexcept { return m_rootStart; }

    // What parse() and the entity code may do with a document that is being made.
    static std::shared_ptr<XmlDocument> newDocument(const StringBuffer& source,
                                                    const StringBuffer& text);
    static std::shared_ptr<const XmlDocument> parse(const StringBuffer& text,
                                                    const ParseOptions& options, ParseFailure& why);

private:
    static std::shared_ptr<const XmlDocument> parseExpanded(const StringBuffer& text, Mode mode,
                                                            const XmlDocument& prolog,
                                                            std::uint32_t rootStart,
                                                            ParseFailure& why);

    static constexpr std::uint32_t kFailed = 0xFFFFFFFF;
    static constexpr std::uint32_t kNever = 0xFFFFFFFF;
    // In m_bound: not bound, and the prefix xml where no declaration binds it.
    static constexpr std::uint32_t kUnbound = 0xFFFFFFFF;
    static constexpr std::uint32_t kBuiltIn = 0xFFFFFFFE;
    // The mask of an element with declarations to undo, or with a long name. A mask has a bit for
    // each byte of the start tag's name, as it lies behind the '<', to be compared with the end
    // tag from its '/' on; this one is for the first byte, which always differs.
    static constexpr std::uint32_t kNoGlance = 1;

    // An attribute of the start tag being read.
    struct Read {
        const char* name;
        std::uint32_t nameLength;
        std::uint32_t prefixLength;
        const char* value;
        std::uint32_t valueLength;
        std::uint32_t offset; // of the name, or of the start tag for a default
        bool fromText;        // false: a default of the document type declaration
        bool namespaceDecl;
        bool hasReference;
        std::uint64_t key; // first eight bytes of the name and its length, for a quick comparison

        [[nodiscard]] std::string_view nameView() const noexcept { return {name, nameLength}; }
        [[nodiscard]] std::string_view valueView() const noexcept { return {value, valueLength}; }
        [[nodiscard]] std::string_view local() const noexcept {
            return prefixLength == 0 ? nameView() : nameView().substr(prefixLength + 1);
        }
    };
    // An element whose end tag has not been read.
    struct Open {
        ElementId element;
        std::uint32_t nameLength;
        std::uint32_t endTagMask;    // for a glance at its end tag, or kNoGlance
        std::uint32_t reboundBefore; // height of m_rebound at its start
    };
    struct Rebound {
        std::uint32_t prefixId;
        std::uint32_t before;
    };
    struct CachedPrefix {
        std::uint64_t key = 0;
        std::uint32_t id = 0;
    };

    // document_scanner.cpp: prolog, content, end tags, other markup.
    [[nodiscard]] std::uint32_t readProlog();
    [[nodiscard]] std::uint32_t readXmlDecl(std::uint32_t at);
    [[nodiscard]] std::uint32_t readDoctype(std::uint32_t at);
    [[nodiscard]] bool readContent(std::uint32_t& at);
    void tellFollower(std::uint32_t at);
    [[nodiscard]] bool readEpilog(std::uint32_t at);
    [[nodiscard]] std::uint32_t readEndTag(std::uint32_t at);
    [[nodiscard]] std::uint32_t readOddEndTag(std::uint32_t at);
    [[nodiscard]] std::uint32_t readOtherMarkup(std::uint32_t at);
    [[nodiscard]] std::uint32_t readComment(std::uint32_t at);
    [[nodiscard]] std::uint32_t readProcessingInstruction(std::uint32_t at);
    [[nodiscard]] std::uint32_t readTextSpecial(std::uint32_t at);
    // At a '>' in character data, before which a tag or other markup ended, with another '>'.
    [[nodiscard]] static bool closesCdata(const char* greater) noexcept {
        return *(greater - 1) == ']' && *(greater - 2) == ']';
    }
    [[nodiscard]] std::uint32_t readReference(std::uint32_t at, bool inAttribute);
    [[nodiscard]] std::uint32_t readEntityReference(std::uint32_t at, std::string_view name,
                                                    bool inAttribute);
    std::uint32_t closeElement(std::uint32_t end) noexcept;
    void finish();

    // known_tags.cpp: what is read at a glance.
    struct Glance;
    [[nodiscard]] std::uint32_t readKnownTags(std::uint32_t at);
    [[nodiscard]] std::uint32_t readKnownTags(const Glance& glance, std::uint32_t at);
    [[nodiscard]] std::uint32_t glanceAtAttributes(const Glance& glance, std::uint32_t at,
                                                   ElementId element, KnownName& owner,
                                                   bool& isTidy);
    void learnElement(std::uint32_t nameStart, std::uint32_t length, std::uint32_t prefixLength);
    void learnAttribute(const Read& attribute, std::uint32_t prefixId, bool isId);

    // start_tag_scanner.cpp: start tags, attributes, namespaces, signatures, Ids.
    [[nodiscard]] std::uint32_t readStartTag(std::uint32_t at);
    [[nodiscard]] std::uint32_t readAttributes(std::uint32_t at);
    [[nodiscard]] std::uint32_t readAttribute(std::uint32_t at);
    [[nodiscard]] std::uint32_t readEquals(std::uint32_t at);
    [[nodiscard]] std::uint32_t readName(std::uint32_t at, std::uint32_t& prefixLength);
    [[nodiscard]] std::uint32_t readOddName(std::uint32_t at, std::uint32_t& prefixLength);
    void noteTag(std::uint32_t at, std::uint32_t nameEnd, std::uint32_t close);
    [[nodiscard]] bool areTidy(std::uint32_t from, std::uint32_t to) const noexcept;
    [[nodiscard]] bool addDefaults(std::string_view element, std::uint32_t offset);
    [[nodiscard]] bool takeAttributes(ElementId element);
    [[nodiscard]] bool declareNamespace(ElementId element, const Read& attribute);
    [[nodiscard]] bool checkDeclaration(const Read& attribute, std::string_view name);
    [[nodiscard]] bool checkUnique();
    [[nodiscard]] bool checkUniqueExpanded();
    [[nodiscard]] int compareBoundNames(std::uint32_t a, std::uint32_t b);
    void noteId(ElementId element, const Read& attribute);
    [[nodiscard]] AttributeType typeOf(const Read& attribute) const noexcept;
    [[nodiscard]] TextRange storeValue(const Read& attribute, AttributeType type);
    [[nodiscard]] std::uint32_t prefixId(const char* prefix, std::uint32_t length) noexcept;
    [[nodiscard]] bool checkPrefix(std::uint32_t nameStart, std::uint32_t length);
    [[nodiscard]] std::string_view boundName(std::uint32_t prefixId) const noexcept;
    [[nodiscard]] bool mayBeSignature(std::uint32_t localStart) const noexcept;
    // False for an element that is none, nor a SignedInfo.
    [[nodiscard]] bool noteSignature(ElementId element, std::uint32_t nameStart,
                                     std::uint32_t prefixLength, std::uint32_t nameLength);
    void addSignature(ElementId element, std::string_view local, std::string_view prefix);
    void addSignedInfo(ElementId element, std::string_view prefix);

    std::uint32_t fail(std::uint32_t offset, std::string_view message);
    std::uint32_t fail(std::uint32_t offset, std::string_view message, std::string_view name);
    [[nodiscard]] std::uint32_t skipSpace(std::uint32_t at) const noexcept;
    [[nodiscard]] std::string_view rest(std::uint32_t at) const noexcept {
        return {m_text + at, m_size - at};
    }
    [[nodiscard]] std::string_view nameOf(const Open& open) const noexcept {
        return {m_text + m_document.m_elements[open.element].start + 1, open.nameLength};
    }
    // Eight bytes of the text from `at`, of which `length` count (the others are zero).
    [[nodiscard]] std::uint64_t load8(const char* at, std::uint32_t length) const noexcept;

    XmlDocument& m_document;
    const char* m_text;
    std::uint32_t m_size;
    const Mode m_mode;
    bool m_standalone = false;
    bool m_needsExpansion = false;
    bool m_checkTypes = false;
    bool m_glances = true; // tags may be read by readKnownTags
    std::uint32_t m_rootStart = 0;
    ParseFollower* m_follower = nullptr;
    std::uint32_t m_followed = 0;      // octets at once
    std::uint32_t m_toldNext = kNever; // where the follower is told the next time
    std::uint32_t m_failureOffset = 0;
    std::string m_failureMessage;

    GrowArray<Open> m_open;
    GrowArray<Read> m_attributes;
    std::vector<std::uint32_t> m_order; // scratch of the duplicate checks
    std::vector<std::uint32_t> m_bound; // prefix id -> index of its declaration
    GrowArray<Rebound> m_rebound;       // undo list of m_bound
    std::uint64_t m_defaultBytes = 0;   // of attribute defaults taken on so far
    // Where the value of a default stands in the side storage, by its address.
    std::unordered_map<const char*, std::uint32_t> m_storedDefaults;
    CachedPrefix m_prefixCache[16];
    KnownNames<256> m_knownElements;
    KnownNames<64> m_knownAttributes;
    std::uint32_t m_lastName = m_knownElements.kNone;   // the last start tag's, of those known
    std::unordered_map<std::uint64_t, int> m_nameOrder; // of the long names of two declarations
    TextWindow m_window;
};

} // namespace vantrel::xml

#endif
