// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_CANONICALIZER_H
#define FOUNDATION_XML_CANON_CANONICALIZER_H

#include "foundation/text/StringBuffer.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace vantrel::xml {

// The words of this folder:
//
//     apex          the element whose subtree is canonicalized; its ancestors are not written, but
//                   it may inherit from them
//     rendered      written into the canonical form, by an ancestor that is itself written: a
//                   declaration that is rendered is not repeated (Canonical XML 1.0, 2.3)
//     visibly used  the element's name or an attribute's name has the prefix (Exclusive XML
//                   Canonicalization 1.0, 2); text and attribute values do not count
//     pending       a binding in scope that differs from what is rendered: the next element that
//                   uses the prefix must write it
//     due           a declaration that the tag at hand must write
//     listed        a prefix of InclusiveNamespaces PrefixList, treated as the inclusive method
//     hole          a stretch of the text that counts as absent, such as an enveloped signature
//     to pass over  to leave text as it stands, so that it goes to the sink in one run with its
//                   neighbours; the opposite is to rewrite it
//     tidy          of a start tag: its characters are in canonical form, whatever its names say
//     window        the bit masks of the stretch of text around the walk (canon_masks.h)
//
// From the request to the octets: CanonWalker goes through the text, searches it for stops by the
// window (StopSearch), and gives start tags to StartTagWriter; both write through CanonOutput,
// which joins what was passed over into runs.

enum class CanonMethod : std::uint8_t {
    Inclusive, // Canonical XML 1.0
    Exclusive, // Exclusive XML Canonicalization 1.0
};

// The order in which the attributes of a start tag are written. Only Canonical is what the
// recommendations demand; the others repeat the mistakes of signers in the wild.
enum class AttributeOrder : std::uint8_t {
    Canonical,       // namespace name, then local name; unqualified attributes first
    PrefixThenLocal, // unqualified attributes first, then the prefix as written, then local name
    LocalName,       // local name only, ties by namespace name
};

struct CanonRequest;

// Takes canonical octets as they come, in pieces of at most a few ten kilobytes that are valid for
// the duration of the call. Returning false ends the canonicalization, which then fails.
class CanonSink {
public:
    CanonSink() noexcept = default;
    CanonSink(const CanonSink&) = delete;
    CanonSink& operator=(const CanonSink&) = delete;
    virtual ~CanonSink() = default;

    // Told once, before anything is written, how many octets of text will be gone over, since what
    // is left out of the canonical form costs work as well; and whether nearly all of them are
    // handed on as they stand, which costs next to nothing. False ends it likewise.
    [[nodiscard]] virtual bool expect(std::uint64_t /*octets*/, bool /*mostlyAsTheyStand*/) {
        return true;
    }
    [[nodiscard]] virtual bool write(const char* data, std::size_t size) = 0;
    // Asked before anything else: whether it has the form already (form_ahead.h), so that nothing
    // has to be written; `octets` := its size then. It may refuse that as well.
    enum class Ahead : std::uint8_t { No, Taken, Refused };
    [[nodiscard]] virtual Ahead takeFormAhead(const XmlDocument& /*document*/,
                                              const CanonRequest& /*request*/,
                                              std::uint64_t& /*octets*/) {
        return Ahead::No;
    }
};

// Appends to a text, as long as that does not grow beyond `limit` bytes.
class StringBufferSink final : public CanonSink {
public:
    StringBufferSink(StringBuffer& out, std::uint64_t limit) noexcept
        : m_out(out), m_limit(limit) {}
    [[nodiscard]] bool write(const char* data, std::size_t size) override;
    [[nodiscard]] bool passedLimit() const noexcept { return m_passedLimit; }

private:
    StringBuffer& m_out;
    const std::uint64_t m_limit;
    bool m_passedLimit = false;
};

// What to canonicalize, and how. The spans must outlive the call.
struct CanonRequest {
    CanonMethod method = CanonMethod::Inclusive;
    bool withComments = false;
    // InclusiveNamespaces PrefixList of the exclusive method; "#default" is the default namespace.
    std::span<const std::string_view> prefixes = {};
    // The element whose subtree is canonicalized; kNoElement for the whole document.
    ElementId apex = kNoElement;
    // False: the apex element receives no namespace declaration of its ancestors.
    bool inheritNamespaces = true;
    AttributeOrder order = AttributeOrder::Canonical;
    // Stretches of the document's text() that count as absent, ascending and no two of them next to
    // each other (neighbours are one); each must satisfy isHole.
    std::span<const TextRange> omitted = {};
};

// True when leaving `range` out while walking gives the same octets as cutting it out of the text
// and parsing what is left: it holds whole sibling elements below the root, first start tag to last
// end tag, and the characters on both sides of it do not combine into something else.
[[nodiscard]] bool isHole(const XmlDocument& document, TextRange range);

// Writes the canonical form of `document`, or of one element of it, to `sink`. Work and memory are
// proportional to the apex element's extent plus what is written, whatever the size of the document
// and the depth of the element; only the first element deep in a document may cost a pass over the
// declarations of all. False only when the sink refuses. May throw std::bad_alloc.
[[nodiscard]] bool canonicalize(const XmlDocument& document, const CanonRequest& request,
                                CanonSink& sink);

// How many octets of text it goes over.
[[nodiscard]] std::uint64_t octetsToGoOver(const XmlDocument& document,
                                           const CanonRequest& request) noexcept;

} // namespace vantrel::xml

#endif
