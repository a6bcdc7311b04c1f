// SPDX-License-Identifier: MIT
#include "dsig/keys/key_values.h"

#include "foundation/text/XString.h"

#include <utility>

namespace vantrel::dsig {

namespace {

// One kind of key that a KeyValue may hold, and the lines that tell what became of it.
struct KeyValueForm {
    const char* path;
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
bool readKeyValue(const ClsXml& element, const KeyValueForm& form, LastKeyValue& last,
                  LogBase& log) {
    // Read from its own text, by the loader that takes such an element from a caller as well.
    XString xml;
    element.GetXml(xml);
    if (!last.key || !last.text.equals(xml.getUtf8Sb())) {
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
    const Ref<ClsXml> keyValue = Ref<ClsXml>::adopt(keyInfo.getChildWithTagUtf8("*:KeyValue"));
    if (!keyValue) {
        return true;
    }
    for (const KeyValueForm& form : kKeyValueForms) {
        const Ref<ClsXml> element = Ref<ClsXml>::adopt(keyValue->getChildWithTagUtf8(form.path));
        if (!element) {
            continue;
        }
        if (!readKeyValue(*element, form, last, log)) {
            return false;
        }
        keys.push_back(Ref<ClsPublicKey>::share(last.key.get()));
    }
    return true;
}

} // namespace vantrel::dsig
