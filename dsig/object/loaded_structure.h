#ifndef DSIG_OBJECT_LOADED_STRUCTURE_H
#define DSIG_OBJECT_LOADED_STRUCTURE_H

#include "dsig/document/work_account.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/ClsXml.h"
#include "foundation/xml/tree/element_text.h"

#include <memory>
#include <optional>
#include <vector>

namespace vantrel::dsig {

// What is computed once from the loaded document and used again by every reference of every
// signature. It lives until the next load.
struct LoadedStructure {
    LoadedStructure(std::shared_ptr<const xml::XmlDocument> loaded, const Limits& limits)
        : document(std::move(loaded)), paths(*document),
          account(document->textBuffer().getSize(), limits) {}

    // The Reference elements of a signature's SignedInfo, in document order; collected once for the
    // signature that was asked for last.
    const std::vector<xml::ElementId>& referencesOf(const ClsXml& signature);

    // The Manifest elements of XML Signature, in document order.
    const std::vector<xml::ElementId>& manifests();

    std::shared_ptr<const xml::XmlDocument> document;
    xml::ElementPaths paths;
    WorkAccount account;

    // References often carry the same Transforms, so the last one parsed is kept.
    StringBuffer transformsText;
    Ref<ClsXml> transforms;

private:
    std::optional<std::vector<xml::ElementId>> m_manifests;
    xml::ElementId m_signature = xml::kNoElement;
    std::vector<xml::ElementId> m_references;
};

} // namespace vantrel::dsig

#endif
