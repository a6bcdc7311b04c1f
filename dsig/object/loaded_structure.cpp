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

} // namespace vantrel::dsig
