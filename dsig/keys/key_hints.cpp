// SPDX-License-Identifier: MIT
#include "dsig/keys/key_hints.h"

#include "dsig/document/certificate_texts.h"
#include "dsig/document/child_elements.h"

#include <algorithm>
#include <array>

namespace vantrel::dsig {

namespace {

constexpr std::size_t kMostNames = 6;
// Signatures may stand in each other's KeyInfo; the names of a KeyInfo stand at its beginning.
constexpr xml::ElementId kMostElements = 1000;
constexpr std::size_t kLongestName = 200;

// An element of KeyInfo (XML Signature 4.5, WS-Security) and what it says in words.
struct Naming {
    std::string_view element; // local name
    std::string_view words;
};

constexpr std::array<Naming, 7> kNamings = {{{"X509IssuerName", "issuer"},
                                             {"X509SerialNumber", "serial number"},
                                             {"X509SubjectName", "subject"},
                                             {"X509SKI", "subject key identifier"},
                                             {"X509Digest", "certificate digest"},
                                             {"KeyName", "key name"},
                                             {"KeyIdentifier", "key identifier"}}};

constexpr std::array<std::string_view, 4> kCarriers = {"KeyValue", "X509Certificate",
                                                       "DEREncodedKeyValue", "PKCS7"};

} // namespace

KeyHints keyHints(const Selection& selection) {
    KeyHints hints;
    const Ref<ClsXml> keyInfo =
        selection.signature != nullptr
            ? Ref<ClsXml>::adopt(selection.signature->findChild("*:KeyInfo"))
            : Ref<ClsXml>();
    if (!keyInfo) {
        return hints;
    }
    hints.isThere = true;
    const xml::XmlDocument& document = *keyInfo->document();
    const xml::ElementId end =
        std::min(document.subtreeEnd(keyInfo->elementId()), keyInfo->elementId() + kMostElements);
    for (xml::ElementId element = keyInfo->elementId() + 1;
         element < end && hints.names.size() < kMostNames; ++element) {
        const std::string_view name = document.localName(element);
        for (const std::string_view carrier : kCarriers) {
            hints.carriesKey = hints.carriesKey || name == carrier;
        }
        for (const Naming& naming : kNamings) {
            if (name == naming.element) {
                hints.hasKeyName = hints.hasKeyName || name == "KeyName";
                StringBuffer content;
                handleOn(*keyInfo, element)->getContentSb(content);
                content.trim2();
                std::string words(naming.words);
                words += " \"";
                words += shownText(content.view(), kLongestName);
                hints.names.push_back(words += '"');
            }
        }
    }
    return hints;
}

} // namespace vantrel::dsig
