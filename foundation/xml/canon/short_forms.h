// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_SHORT_FORMS_H
#define FOUNDATION_XML_CANON_SHORT_FORMS_H

#include "foundation/xml/canon/canon_walker.h"

#include <optional>
#include <string_view>

namespace vantrel::xml {

// The canonical forms of short elements of one document, asked for one after the other and by the
// same rules. What the children of an element inherit is worked out once, as long as no other
// element is asked for between them. The document and what the request points at must outlive it;
// the request's apex does not matter.
class ShortForms final {
public:
    // Elements and forms of this size are short.
    static constexpr std::size_t kMost = CanonOutput::kBuffer;

    ShortForms(const XmlDocument& document, const CanonRequest& request) noexcept
        : m_document(document), m_request(request) {}
    ShortForms(const ShortForms&) = delete;
    ShortForms& operator=(const ShortForms&) = delete;

    // Valid until the next call; empty where it is not short. May throw std::bad_alloc.
    [[nodiscard]] std::string_view of(ElementId apex);

private:
    // A longer form overflows the walker's own room, and is given up.
    class NoSink final : public CanonSink {
    public:
        [[nodiscard]] bool write(const char* /*data*/, std::size_t /*size*/) override {
            return false;
        }
    };

    const XmlDocument& m_document;
    const CanonRequest m_request;
    NoSink m_sink;
    std::optional<CanonWalker> m_walker; // of the last form
    bool m_canGoOn = false;              // with another child of m_parent
    ElementId m_parent = kNoElement;
    ChildFinder m_last;
};

} // namespace vantrel::xml

#endif
