// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_FORM_AHEAD_H
#define FOUNDATION_XML_CANON_FORM_AHEAD_H

#include "foundation/xml/canon/canonicalizer.h"
#include "foundation/xml/scan/parse_follower.h"

#include <cstdint>
#include <memory>

namespace vantrel::xml {

class CanonWalker;

// The canonical form of a document, or of its root, written while the document is read: all before
// the first signature, for a sink that has the time. What is asked for later decides whether it was
// of use; the octets are those that canonicalize() writes. Documents with very many prefixes are
// left alone, since all of them are looked at each time.
class FormAhead final : public ParseFollower {
public:
    // No prefixes and no comments, and nothing left out. `whole`: with what stands outside of the
    // root. The sink must outlive the object.
    FormAhead(CanonMethod method, bool whole, CanonSink& sink) noexcept;
    ~FormAhead() override;

    void reached(const XmlDocument& document, std::uint32_t offset) override;
    // Whether this is the front of what `request` asks for of that document.
    [[nodiscard]] bool isFrontOf(const XmlDocument& document,
                                 const CanonRequest& request) const noexcept;
    // Writes the rest, once, where it is. False only when the sink refuses.
    [[nodiscard]] bool finish(const CanonRequest& request);

private:
    CanonRequest m_request;
    CanonSink& m_sink;
    const XmlDocument* m_document = nullptr;
    std::unique_ptr<CanonWalker> m_walker; // null before the first tag and when all is written
    bool m_isOver = false;                 // nothing more is written before finish()
};

} // namespace vantrel::xml

#endif
