// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/ClsXml.h"

#include <cstddef>
#include <cstdint>

// Any bytes as a document, strictly and as a fragment; then every operation that trusts what was
// read.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantrel;
    StringBuffer text;
    text.appendView(asText({data, size}));
    LogNull log;
    for (const bool fragment : {false, true}) {
        const Ref<ClsXml> root = Ref<ClsXml>::adopt(ClsXml::createNewCls());
        if (!root || !root->loadXml(text, fragment, log)) {
            continue;
        }
        const xml::XmlDocument& document = *root->document();
        for (xml::ElementId id = 0; id < document.elementCount() && id < 100; ++id) {
            const Ref<ClsXml> element = Ref<ClsXml>::adopt(ClsXml::onElement(root->document(), id));
            StringBuffer out;
            element->getContentSb(out);
            (void)element->namespaceUri();
            for (const auto& [name, value] : element->attributes()) {
                xml::ElementId found = 0;
                (void)document.findById(value, found);
            }
        }
        StringBuffer serialised;
        if (root->getXml(false, serialised, log) && !root->loadXml(serialised, true, log)) {
            __builtin_trap(); // what was written can be read
        }
    }
    return 0;
}
