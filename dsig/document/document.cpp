// SPDX-License-Identifier: MIT
#include "dsig/document/document.h"

#include "dsig/document/child_elements.h"
#include "foundation/text/strings.h"
#include "foundation/xml/nodes/node_index.h"

#include <string_view>
#include <utility>

namespace vantrel::dsig {

// A signature may have as many references as fit into the document. Each is asked for by its index,
// so looking for them anew every time would take quadratic time.
const std::vector<xml::ElementId>& Document::referencesOf(const ClsXml& signature) {
    if (m_signature != signature.elementId()) {
        m_references.clear();
        forEachReference(signature,
                         [this](xml::ElementId reference) { m_references.push_back(reference); });
        m_signature = signature.elementId();
    }
    return m_references;
}

// The Id without a prefix (XML Signature, 4.2); one with a prefix is another attribute.
const StringBuffer& Document::idOf(const ClsXml& signature) {
    if (m_idOwner != signature.elementId()) {
        m_id.clear();
        signature.getAttrValue("Id", m_id);
        m_idOwner = signature.elementId();
    }
    return m_id;
}

const TokenIndex& Document::tokens() {
    if (!m_tokens) {
        m_tokens.emplace(*structure);
    }
    return *m_tokens;
}

// Where nothing is expanded and no attribute declared, parsing the text again would make the same.
Ref<ClsXml> Document::transformsInPlace(xml::ElementId reference, const StringBuffer& text) const {
    if (structure->documentType() != nullptr || reference >= structure->elementCount()) {
        return {};
    }
    const xml::ElementId element = structure->firstChildNamed(reference, "Transforms");
    if (element == xml::kNoElement) {
        return {};
    }
    const xml::ElementRecord& record = structure->element(element);
    if (structure->text(xml::rangeOf(record.start, record.end)) != text.view()) {
        return {};
    }
    return Ref<ClsXml>::adopt(ClsXml::onElement(structure, element));
}

// What failed or was not read is not remembered, so that each reference that has it gets its own
// error line.
const ParsedTransforms* Document::parsedTransforms(xml::ElementId reference,
                                                   const StringBuffer& text, LogBase& log) {
    if (m_transforms.isRead() && m_transformsText.equals(text)) {
        return &m_transforms;
    }
    m_transforms = {};
    Ref<ClsXml> list = transformsInPlace(reference, text);
    if (!list) {
        list = Ref<ClsXml>::adopt(ClsXml::createNewCls());
        if (!list || !list->loadXml(text, true, log)) {
            return nullptr;
        }
    }
    m_transforms = readTransforms(std::move(list), account.mostTransforms());
    m_transformsText = text;
    return &m_transforms;
}

std::shared_ptr<const xml::NodeIndex> Document::nodes(xml::WorkBudget& budget) {
    if (m_nodes == nullptr) {
        m_nodes = xml::NodeIndex::make(structure, budget);
    }
    return m_nodes;
}

const std::vector<xml::ElementId>& Document::manifests() {
    constexpr std::string_view kName = "Manifest";
    if (m_manifests) {
        return *m_manifests;
    }
    m_manifests.emplace();
    // Most documents do not even hold the word.
    if (text::findText(structure->text(), kName) == std::string_view::npos) {
        return *m_manifests;
    }
    // XML Signature, 5.1. In that namespace only: many formats have a Manifest of their own, which
    // promises no digests.
    for (xml::ElementId element = 0; element < structure->elementCount(); ++element) {
        if (structure->localName(element) == kName &&
            structure->namespaceUri(element) == xml::kXmlDsigNamespace) {
            m_manifests->push_back(element);
        }
    }
    return *m_manifests;
}

const IdRivals& Document::idRivals() {
    if (!m_idRivals) {
        m_idRivals.emplace(*structure);
    }
    return *m_idRivals;
}

} // namespace vantrel::dsig
