// SPDX-License-Identifier: MIT
#include "dsig/keys/key_values.h"

#include "foundation/text/XString.h"
#include "foundation/xml/tree/element_text.h"
#include "foundation/xml/tree/tag_pattern.h"

#include <string>
#include <string_view>
#include <utility>

namespace vantrel::dsig {

namespace {

// One kind of key that a KeyValue may hold, and the lines that tell what became of it.
struct KeyValueForm {
    std::string_view path;
    bool withLog; // the loader's own lines belong in the log
    const char* loaded;
    const char* failed;
};

// XML Signature 4.5.2: RSAKeyValue and DSAKeyValue; ECKeyValue is that of version 1.1. A KeyValue
// has one of them by its schema; each one that is there is loaded, in this order.
constexpr KeyValueForm kKeyValueForms[] = {
    {"*:RSAKeyValue", false, "Loaded public key from RSA XML in KeyInfo.",
     "Failed to parse public key RSA XML"},
    {"*:DSAKeyValue", true, "Loaded public key from DSA XML in KeyInfo.",
     "Failed to parse public key DSA XML"},
    {"*:ECKeyValue", true, "Loaded public key from ECDSA XML in KeyInfo.",
     "Failed to parse public key ECDSA XML"},
};

// The key of the element is left in `last`. False where there is none.
bool readKeyValue(const xml::XmlDocument& document, xml::ElementId element,
                  const KeyValueForm& form, LastKeyValue& last, LogBase& log) {
    // Read from its own text, by the loader that takes such an element from a caller as well.
    std::string storage;
    const std::string_view text = xml::elementXml(document, element, storage);
    if (!last.key || last.text.view() != text) {
        XString xml;
        xml.getUtf8Sb_rw().setView(text);
        Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
        if (!key) {
            return false;
        }
        if (!(form.withLog ? key->loadXml(xml, log) : key->LoadXml(xml))) {
            log.LogError(form.failed);
            return false;
        }
        last = {xml.getUtf8Sb(), std::move(key)};
    }
    log.LogInfo(form.loaded);
    return true;
}

} // namespace

bool readKeyValues(const ClsXml& keyInfo, LastKeyValue& last, std::vector<Ref<ClsPublicKey>>& keys,
                   LogBase& log) {
    const xml::XmlDocument& document = *keyInfo.document();
    const xml::ElementId keyValue =
        xml::findNthChild(document, keyInfo.elementId(), xml::NamePattern("*:KeyValue"), 0);
    if (keyValue == xml::kNoElement) {
        return true;
    }
    for (const KeyValueForm& form : kKeyValueForms) {
        const xml::ElementId element =
            xml::findNthChild(document, keyValue, xml::NamePattern(form.path), 0);
        if (element == xml::kNoElement) {
            continue;
        }
        if (!readKeyValue(document, element, form, last, log)) {
            return false;
        }
        keys.push_back(Ref<ClsPublicKey>::share(last.key.get()));
        if (document.subtreeEnd(element) - element ==
            document.subtreeEnd(keyValue) - keyValue - 1) {
            break; // it is all there is
        }
    }
    return true;
}

} // namespace vantrel::dsig
