// SPDX-License-Identifier: MIT
#ifndef TESTS_FOUNDATION_XML_SCAN_SCAN_SUPPORT_H
#define TESTS_FOUNDATION_XML_SCAN_SCAN_SUPPORT_H

#include "foundation/xml/scan/content_reader.h"
#include "foundation/xml/scan/start_tag.h"
#include "foundation/xml/scan/xml_document.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::test {

using DocumentPtr = std::shared_ptr<const xml::XmlDocument>;

struct Parsed {
    DocumentPtr document; // null when refused
    xml::ParseFailure why;

    // "" when well-formed, else "line:column message".
    [[nodiscard]] std::string verdict() const {
        return document != nullptr ? std::string()
                                   : std::to_string(why.line) + ":" + std::to_string(why.column) +
                                         " " + why.message;
    }
};

inline Parsed parseXml(std::string_view text, bool fragment = false) {
    Parsed result;
    result.document = xml::XmlDocument::parse(StringBuffer(text), {fragment}, result.why);
    return result;
}

// Checks that the records, the trusted readers and the text agree; "" or what is wrong. It knows
// nothing of the scanner: it walks the text with the readers and keeps its own stack.
inline std::string inconsistency(const xml::XmlDocument& document) {
    const std::string_view text = document.text();
    std::vector<xml::ElementId> open;
    xml::ElementId count = 0;
    const auto closed = [&](std::uint32_t end) {
        const xml::ElementId id = open.back();
        open.pop_back();
        return document.element(id).end == end && document.subtreeEnd(id) == count;
    };
    xml::ContentReader reader(text, 0, static_cast<std::uint32_t>(text.size()));
    xml::ContentPiece piece;
    while (reader.next(piece) != xml::ContentKind::End) {
        if (piece.kind == xml::ContentKind::Doctype) {
            reader.skipTo(document.doctypeRange().end());
        } else if (piece.kind == xml::ContentKind::EndTag) {
            if (open.empty() || !closed(piece.end)) {
                return "end tag at " + std::to_string(piece.start);
            }
        } else if (piece.kind == xml::ContentKind::StartTag) {
            const xml::ElementId parent = open.empty() ? xml::kNoElement : open.back();
            if (count >= document.elementCount() || document.element(count).start != piece.start ||
                document.parent(count) != parent || document.elementAt(piece.start) != count) {
                return "start tag at " + std::to_string(piece.start);
            }
            xml::StartTagReader tag(text, piece.start);
            for (xml::Attribute attribute; tag.next(attribute);) {}
            open.push_back(count++);
            if (tag.selfClosing() && !closed(tag.end())) {
                return "empty tag at " + std::to_string(piece.start);
            }
            reader.skipTo(tag.end());
        }
    }
    return open.empty() && count == document.elementCount() ? "" : "elements left";
}

} // namespace vantrel::test

#endif
