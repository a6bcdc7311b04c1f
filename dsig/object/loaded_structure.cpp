#include "dsig/object/loaded_structure.h"

namespace vantrel::dsig {

const std::vector<xml::ElementId>& LoadedStructure::referencesOf(const ClsXml& signature) {
    if (m_signature != signature.elementId()) {
        m_references.clear();
        if (const Ref<ClsXml> signedInfo =
                Ref<ClsXml>::adopt(signature.getChildWithTagUtf8("*:SignedInfo"))) {
            m_references = signedInfo->childrenWithTag("*:Reference");
        }
        m_signature = signature.elementId();
    }
    return m_references;
}

const StringBuffer& LoadedStructure::idOf(const ClsXml& signature) {
    if (m_idOwner != signature.elementId()) {
        m_id.clear();
        signature.getAttrValue("Id", m_id);
        m_idOwner = signature.elementId();
    }
    return m_id;
}

const TokenIndex& LoadedStructure::tokens() {
    if (!m_tokens) {
        m_tokens.emplace(*document);
    }
    return *m_tokens;
}

} // namespace vantrel::dsig
