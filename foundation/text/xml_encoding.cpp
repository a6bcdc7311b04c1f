// SPDX-License-Identifier: MIT
#include "foundation/text/xml_encoding.h"

#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/_vlCharset.h"
#include "foundation/text/xml_declaration.h"

#include <algorithm>
#include <new>

namespace vantrel::text {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::size_t kShownName = 100;

struct Start {
    std::string_view bytes;
    std::string_view charset;
};

// Byte-order marks, and "<" or "<?" in the wide forms. The order matters: the mark of UTF-32LE
// begins with that of UTF-16LE. The characters behind a mark belong to the document, the mark does
// not.
constexpr Start kWideStarts[] = {
    {{"\0\0\xFE\xFF", 4}, "utf-32be"}, {{"\xFF\xFE\0\0", 4}, "utf-32le"},
    {{"\0\0\0<", 4}, "utf-32be"},      {{"<\0\0\0", 4}, "utf-32le"},
    {{"\xFE\xFF", 2}, "utf-16be"},     {{"\xFF\xFE", 2}, "utf-16le"},
    {{"\0<", 2}, "utf-16be"},          {{"<\0", 2}, "utf-16le"},
};

std::string_view withoutMark(std::string_view text) noexcept {
    return text.substr(text.starts_with(kUtf8Mark) ? kUtf8Mark.size() : 0);
}

// Empty when the text names none. The mark that the parser passes over does not hide a declaration.
std::string_view declaredEncoding(std::string_view text) noexcept {
    XmlDeclaration declaration;
    return readXmlDeclaration(withoutMark(text), declaration) != 0 ? declaration.encoding
                                                                   : std::string_view();
}

XmlEncoding verdictOn(XmlEncodingVerdict verdict, std::string_view name) {
    return {verdict, std::string(name.substr(0, kShownName))};
}

// Judges the declaration of a text that can be read byte by byte, with `marked` telling of a
// byte-order mark of UTF-8. A single-byte set without one is left to be converted, and `charset`
// says which.
XmlEncoding judgeNarrow(std::string_view name, bool marked, _vlCharset& charset) {
    if (name.empty()) {
        return {};
    }
    if (!charset.setByName(name)) {
        return verdictOn(XmlEncodingVerdict::Unsupported, name);
    }
    if (charset.isUtf8()) {
        return {};
    }
    if (charset.isUtf16()) {
        // Text that was converted and kept its declaration. As UTF-16 the bytes hold no markup.
        return verdictOn(XmlEncodingVerdict::Mismatch, name);
    }
    if (charset.isWide()) {
        return verdictOn(XmlEncodingVerdict::Contradicted, name);
    }
    return verdictOn(marked ? XmlEncodingVerdict::Mismatch : XmlEncodingVerdict::Agrees, name);
}

// Judges the declaration of a text that was converted from UTF-16 or UTF-32.
XmlEncoding judgeWide(std::string_view name, std::string_view found, const _vlCharset& exact) {
    _vlCharset named;
    if (name.empty()) {
        return verdictOn(XmlEncodingVerdict::Agrees, found);
    }
    if (!named.setByName(name)) {
        return verdictOn(XmlEncodingVerdict::Unsupported, name);
    }
    return verdictOn(
        named.covers(exact) ? XmlEncodingVerdict::Agrees : XmlEncodingVerdict::Contradicted, name);
}

// What is written from here on is UTF-8, and says so.
void declareUtf8(SharedBytes& document) {
    const std::string_view name = declaredEncoding(document.text());
    if (name.empty()) {
        return;
    }
    const auto start = static_cast<std::size_t>(name.data() - document.text().data());
    if (!document.splice(start, name.size(), "UTF-8")) {
        throw std::bad_alloc();
    }
}

void replaceBytes(DataBuffer& bytes, const SharedBytes& document) {
    bytes.clear();
    bytes.setStorage(document);
}

XmlEncoding convertWide(DataBuffer& bytes, const Start& start) {
    _vlCharset exact;
    StringBuffer converted;
    if (!exact.setByName(start.charset) || !exact.toUtf8(bytes.view(), converted)) {
        return verdictOn(XmlEncodingVerdict::Invalid, start.charset);
    }
    XmlEncoding encoding = judgeWide(declaredEncoding(converted.view()), start.charset, exact);
    if (encoding.isAccepted()) {
        SharedBytes document = converted.storage();
        converted.clear();
        declareUtf8(document);
        replaceBytes(bytes, document);
    }
    return encoding;
}

XmlEncoding convertNarrow(DataBuffer& bytes) {
    const std::string_view whole = asText(bytes.view());
    const bool marked = whole.starts_with(kUtf8Mark);
    const std::string_view text = withoutMark(whole);
    _vlCharset charset;
    XmlEncoding encoding =
        judgeNarrow(declaredEncoding(text), marked || text.starts_with(kUtf8Mark), charset);
    if (!encoding.isAccepted() || (!marked && encoding.name.empty())) {
        return encoding;
    }
    SharedBytes document = bytes.storage();
    if (marked) {
        if (!document.splice(0, kUtf8Mark.size(), {})) {
            throw std::bad_alloc();
        }
    } else if (encoding.verdict == XmlEncodingVerdict::Agrees) {
        StringBuffer converted;
        if (!charset.toUtf8(bytes.view(), converted)) {
            encoding.verdict = XmlEncodingVerdict::Invalid;
            return encoding;
        }
        document = converted.storage();
    } else {
        return encoding; // UTF-8 bytes that stay as they are
    }
    if (!encoding.name.empty()) {
        declareUtf8(document);
    }
    replaceBytes(bytes, document);
    return encoding;
}

} // namespace

XmlEncoding convertXmlToUtf8(DataBuffer& bytes) {
    const std::string_view text = asText(bytes.view());
    const auto* const wide =
        std::find_if(std::begin(kWideStarts), std::end(kWideStarts),
                     [text](const Start& known) { return text.starts_with(known.bytes); });
    return wide != std::end(kWideStarts) ? convertWide(bytes, *wide) : convertNarrow(bytes);
}

XmlEncoding judgeDecodedXml(std::string_view text) {
    _vlCharset charset;
    return judgeNarrow(declaredEncoding(text), text.starts_with(kUtf8Mark), charset);
}

bool acceptEncoding(const XmlEncoding& encoding, LogBase& log) {
    const auto refuse = [&](const char* reason) {
        log.LogError((reason + encoding.name).c_str());
        return false;
    };
    if (!encoding.name.empty()) {
        log.logText("xmlEncoding", encoding.name);
    }
    switch (encoding.verdict) {
    case XmlEncodingVerdict::Unsupported:
        return refuse("The encoding that the XML declaration names is not supported: ");
    case XmlEncodingVerdict::Contradicted:
        return refuse("The bytes of the document contradict the encoding that the XML declaration "
                      "names: ");
    case XmlEncodingVerdict::Invalid: return refuse("The document is not valid in its encoding: ");
    case XmlEncodingVerdict::Agrees:
    case XmlEncodingVerdict::Mismatch: break;
    }
    return true;
}

} // namespace vantrel::text
