// SPDX-License-Identifier: MIT
#include "dsig/transform/capture.h"

#include "foundation/text/LogBase.h"
#include "foundation/text/strings.h"

#include <string>

namespace vantrel::dsig {

namespace {

// `startTag` goes with the message, since without it the line says nothing of the place.
bool captureFailed(const char* message, const StringBuffer& startTag, LogBase& log) {
    log.LogError(message);
    log.LogDataSb("sb", startTag);
    return false;
}

} // namespace

bool captureTagContent(const char* tagStart, const StringBuffer& xml, StringBuffer& out) {
    out.clear();
    const std::string_view all = xml.view();
    const std::size_t tag = text::findText(all, text::viewOf(tagStart));
    const std::size_t close = tag == std::string_view::npos ? tag : all.find('>', tag);
    if (close == std::string_view::npos) {
        return false;
    }
    const std::size_t end = all.find('<', close);
    if (end == std::string_view::npos) {
        return false;
    }
    return out.setView(text::trimmed(all.substr(close + 1, end - close - 1)));
}

// The value must be in double quotes. The first message names one attribute whatever the tag is.
bool captureAttributeValue(const char* tagStart, const char* attrName, const StringBuffer& xml,
                           StringBuffer& out, LogBase& log) {
    out.clear();
    if (tagStart == nullptr || attrName == nullptr) {
        return false;
    }
    const std::string_view all = xml.view();
    const std::size_t tag = text::findText(all, tagStart);
    const std::size_t close = tag == std::string_view::npos ? tag : all.find('>', tag);
    if (close == std::string_view::npos) {
        return false;
    }
    // White space is made uniform first, so that one search finds the name however the signer broke
    // the line. XML 1.0, 2.3 (Eq) allows it around the "=" too.
    StringBuffer startTag(all.substr(tag, close - tag));
    startTag.replaceChar5("\t\r\n", ' ');
    startTag.trimInsideSpaces();
    const std::string assignment = std::string(attrName) + '=';
    startTag.replaceFirstOccurance((std::string(attrName) + " =").c_str(), assignment.c_str(),
                                   false);

    const std::string_view tagText = startTag.view();
    // The first place with these characters counts, also at the end of a longer name: "Id" is found
    // in "xmlId=". Whoever acts on the value compares it with what it should be.
    std::size_t at = tagText.find(assignment);
    if (at == std::string_view::npos) {
        return captureFailed("Failed to find SignatureValue Id", startTag, log);
    }
    at = tagText.find_first_not_of(' ', at + assignment.size());
    if (at == std::string_view::npos || tagText[at] != '"') {
        return captureFailed("Expected open double quote", startTag, log);
    }
    const std::size_t end = tagText.find('"', at + 1);
    if (end == std::string_view::npos) {
        return captureFailed("Expected end double quote", startTag, log);
    }
    return out.setView(tagText.substr(at + 1, end - at - 1));
}

} // namespace vantrel::dsig
