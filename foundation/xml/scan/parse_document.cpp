// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/document_scanner.h"
#include "foundation/xml/scan/entity_expander.h"

#include <algorithm>
#include <new>

namespace vantrel::xml {
namespace {

constexpr std::uint32_t kFollowed = 128U << 10; // octets that a follower is told of at once

// Line and column of an offset, both from 1. CR, LF and CR LF end a line; a column is a character.
void locate(std::string_view text, std::uint32_t offset, ParseFailure& why) {
    why.offset = offset;
    why.line = 1;
    why.column = 1;
    const std::size_t end = std::min<std::size_t>(offset, text.size());
    for (std::size_t at = 0; at < end; ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        const bool firstOfPair = byte == '\r' && at + 1 < text.size() && text[at + 1] == '\n';
        if ((byte == '\n' || byte == '\r') && !firstOfPair) {
            ++why.line;
            why.column = 1;
        } else if ((byte & 0xC0U) != 0x80U && !firstOfPair) {
            ++why.column;
        }
    }
}

} // namespace

std::shared_ptr<XmlDocument> DocumentScanner::newDocument(const StringBuffer& source,
                                                          const StringBuffer& text) {
    std::shared_ptr<XmlDocument> document(new XmlDocument());
    document->m_source = source;
    document->m_text = text;
    return document;
}

std::shared_ptr<const XmlDocument> DocumentScanner::parse(const StringBuffer& text,
                                                          const ParseOptions& options,
                                                          ParseFailure& why) {
    const Mode mode = options.fragment ? Mode::Fragment : Mode::Document;
    if (text.getSize() > kMaxDocumentSize) {
        locate(text.view(), 0, why);
        why.message = "Limit passed: the size of the document";
        return nullptr;
    }
    std::shared_ptr<XmlDocument> document = newDocument(text, text);
    DocumentScanner scanner(*document, mode);
    if (mode == Mode::Document) {
        scanner.followEach(kFollowed, options.follower);
    }
    const ScanOutcome outcome = scanner.scan();
    if (outcome == ScanOutcome::Refused) {
        locate(text.view(), scanner.failureOffset(), why);
        why.message = scanner.failureMessage();
        return nullptr;
    }
    return outcome == ScanOutcome::Done
               ? document
               : parseExpanded(text, mode, *document, scanner.rootStart(), why);
}

std::shared_ptr<const XmlDocument> DocumentScanner::parseExpanded(const StringBuffer& text,
                                                                  Mode mode,
                                                                  const XmlDocument& prolog,
                                                                  std::uint32_t rootStart,
                                                                  ParseFailure& why) {
    EntityExpander expander(text.view(), *prolog.documentType(), rootStart);
    if (!expander.expand()) {
        locate(text.view(), expander.failureOffset(), why);
        why.message = expander.failureMessage();
        return nullptr;
    }
    StringBuffer expanded;
    if (!expanded.appendView(expander.text())) {
        throw std::bad_alloc();
    }
    std::shared_ptr<XmlDocument> document = newDocument(text, expanded);
    document->m_segments = expander.segments();
    DocumentScanner scanner(*document, mode);
    if (scanner.scan() != ScanOutcome::Done) {
        std::uint32_t source = 0;
        (void)document->toSource(scanner.failureOffset(), source);
        locate(text.view(), source, why);
        why.message = scanner.failureMessage();
        return nullptr;
    }
    return document;
}

} // namespace vantrel::xml
