#ifndef DSIG_TRANSFORM_WORKING_TEXT_H
#define DSIG_TRANSFORM_WORKING_TEXT_H

#include "foundation/text/StringBuffer.h"
#include "foundation/xml/canon/canonicalizer.h"
#include "foundation/xml/scan/xml_document.h"

#include <memory>
#include <vector>

namespace vantrel::dsig {

// The text that the transforms of a reference hand on. It starts as the loaded document, shared and
// with its structure known, and stays so as long as no transform changes it: an enveloped signature
// is noted as a stretch that is left out, not cut. The last canonicalization of a chain may write
// its octets to a sink at once instead of into a text.
class WorkingText {
public:
    WorkingText() = default;
    // A text whose structure is known.
    WorkingText(const StringBuffer& text, std::shared_ptr<const xml::XmlDocument> structure)
        : m_text(text), m_structure(std::move(structure)), m_isLoadedText(true) {}

    // The text itself, with what is left out cut from it. Reading only.
    [[nodiscard]] const StringBuffer& text() {
        cutOmitted();
        return m_text;
    }
    // The text, to be changed by the caller.
    [[nodiscard]] StringBuffer& change() {
        cutOmitted();
        forgetStructure();
        return m_text;
    }
    void replace(StringBuffer& text) {
        m_text.takeSb(text);
        m_omitted.clear();
        forgetStructure();
    }

    // The whole text as it was given, its structure (null when unknown) and what is left out of it.
    [[nodiscard]] const StringBuffer& wholeText() const noexcept { return m_text; }
    [[nodiscard]] const std::shared_ptr<const xml::XmlDocument>& structure() const noexcept {
        return m_structure;
    }
    [[nodiscard]] const std::vector<xml::TextRange>& omitted() const noexcept { return m_omitted; }
    // True as long as this is the loaded document with nothing left out of it.
    [[nodiscard]] bool isWholeLoadedText() const noexcept {
        return m_isLoadedText && m_omitted.empty();
    }
    // True as long as this is the loaded document, perhaps with a stretch left out.
    [[nodiscard]] bool isLoadedText() const noexcept { return m_isLoadedText; }

    // Leaves a stretch out; cuts it at once where that is not the same.
    void omit(xml::TextRange range);

    // A canonicalization writes to `sink` from now on; null: into the text.
    void streamTo(xml::CanonSink* sink) noexcept { m_sink = sink; }
    [[nodiscard]] xml::CanonSink* sink() const noexcept { return m_sink; }
    // Set when the octets went to the sink; the text is then no longer of use.
    void markStreamed() noexcept { m_streamed = true; }
    [[nodiscard]] bool wasStreamed() const noexcept { return m_streamed; }

private:
    void cutOmitted();
    void forgetStructure() noexcept {
        m_structure.reset();
        m_isLoadedText = false;
    }

    StringBuffer m_text;
    std::shared_ptr<const xml::XmlDocument> m_structure;
    std::vector<xml::TextRange> m_omitted;
    xml::CanonSink* m_sink = nullptr;
    bool m_isLoadedText = false;
    bool m_streamed = false;
};

// Runs a step on a text that stands alone: step(WorkingText&).
template <class Step> void onWorkingText(StringBuffer& xml, Step step) {
    WorkingText text;
    StringBuffer copy = xml;
    text.replace(copy);
    step(text);
    xml = text.text();
}

} // namespace vantrel::dsig

#endif
