#include "dsig/object/loaded_structure.h"

#include "foundation/text/strings.h"

#include <string_view>

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

const std::vector<xml::ElementId>& LoadedStructure::manifests() {
    constexpr std::string_view kName = "Manifest";
    if (m_manifests) {
        return *m_manifests;
    }
    m_manifests.emplace();
    // Most documents do not even hold the word.
    if (text::findText(document->text(), kName) == std::string_view::npos) {
        return *m_manifests;
    }
    for (xml::ElementId element = 0; element < document->elementCount(); ++element) {
        if (document->localName(element) == kName &&
            document->namespaceUri(element) == xml::kXmlDsigNamespace) {
            m_manifests->push_back(element);
        }
    }
    return *m_manifests;
}

} // namespace vantrel::dsig
