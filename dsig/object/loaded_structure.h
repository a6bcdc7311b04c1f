#ifndef DSIG_OBJECT_LOADED_STRUCTURE_H
#define DSIG_OBJECT_LOADED_STRUCTURE_H

#include "dsig/document/decoded_certificate.h"
#include "dsig/document/key_account.h"
#include "dsig/document/token_index.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/ClsXml.h"
#include "foundation/xml/tree/element_text.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace vantrel::dsig {

// What is computed once from the loaded document and used again by every reference of every
// signature. It lives until the next load.
struct LoadedStructure {
    explicit LoadedStructure(std::shared_ptr<const xml::XmlDocument> loaded)
        : document(std::move(loaded)), paths(*document) {}

    // The Reference elements of a signature's SignedInfo, in document order; collected once for the
    // signature that was asked for last.
    const std::vector<xml::ElementId>& referencesOf(const ClsXml& signature);

    // The Id of a signature, empty for none; shared with the one that was asked for last.
    const StringBuffer& idOf(const ClsXml& signature);

    const TokenIndex& tokens();

    std::shared_ptr<const xml::XmlDocument> document;
    xml::ElementPaths paths;

    // References often carry the same Transforms, so the last one parsed is kept.
    StringBuffer transformsText;
    Ref<ClsXml> transforms;

    CertificateCache certificates;
    KeyAccount keyAccount;
    ElementSearch timeStamps{"EncapsulatedTimeStamp"};

private:
    xml::ElementId m_signature = xml::kNoElement;
    std::vector<xml::ElementId> m_references;
    xml::ElementId m_idOwner = xml::kNoElement;
    StringBuffer m_id;
    std::optional<TokenIndex> m_tokens;
};

} // namespace vantrel::dsig

#endif
