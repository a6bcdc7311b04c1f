// The encoding of an XML document, as Extensible Markup Language 1.0, appendix F, finds it out.
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/_vlCharset.h"
#include "foundation/text/strings.h"

#include <algorithm>

namespace vantrel {

namespace {

// An XML declaration is not longer than this.
constexpr std::size_t kLongestDeclaration = 1024;

struct Start {
    std::string_view bytes;
    std::string_view charset;
};

// Byte-order marks, and "<" or "<?" in the wide forms. The order matters: the mark of UTF-32LE
// begins with that of UTF-16LE. The characters behind a mark belong to the document, the mark does
// not.
constexpr Start kStarts[] = {
    {{"\0\0\xFE\xFF", 4}, "utf-32be"}, {{"\xFF\xFE\0\0", 4}, "utf-32le"},
    {{"\0\0\0<", 4}, "utf-32be"},      {{"<\0\0\0", 4}, "utf-32le"},
    {{"\xFE\xFF", 2}, "utf-16be"},     {{"\xFF\xFE", 2}, "utf-16le"},
    {{"\0<", 2}, "utf-16be"},          {{"<\0", 2}, "utf-16le"},
    {{"\xEF\xBB\xBF", 3}, "utf-8"},
};

// Position and length of the encoding name in the XML declaration; npos if there is none.
struct NameRange {
    std::size_t start = std::string_view::npos;
    std::size_t size = 0;
};

NameRange declaredEncoding(std::string_view text) noexcept {
    const std::string_view head = text.substr(0, kLongestDeclaration);
    const std::string_view declaration = head.substr(0, std::min(head.find("?>"), head.size()));
    if (!declaration.starts_with("<?xml") || declaration.size() == 5 ||
        !text::isSpaceAscii(declaration[5])) {
        return {};
    }
    constexpr std::string_view kSpaces = " \t\r\n";
    constexpr std::string_view kWord = "encoding";
    const std::size_t word = declaration.find(kWord);
    if (word == std::string_view::npos) {
        return {};
    }
    const std::size_t equals = declaration.find_first_not_of(kSpaces, word + kWord.size());
    if (equals == std::string_view::npos || declaration[equals] != '=') {
        return {};
    }
    const std::size_t quote = declaration.find_first_not_of(kSpaces, equals + 1);
    if (quote == std::string_view::npos ||
        (declaration[quote] != '"' && declaration[quote] != '\'')) {
        return {};
    }
    const std::size_t end = declaration.find(declaration[quote], quote + 1);
    if (end == std::string_view::npos) {
        return {};
    }
    return {quote + 1, end - quote - 1};
}

} // namespace

bool DataBuffer::convertXmlToUtf8(LogBase& log) {
    const std::string_view bytes = asText(view());
    const auto* const start =
        std::find_if(std::begin(kStarts), std::end(kStarts),
                     [&](const Start& known) { return bytes.starts_with(known.bytes); });
    const bool known = start != std::end(kStarts);
    const NameRange declared = known ? NameRange{} : declaredEncoding(bytes);
    std::string_view name = known ? start->charset : "utf-8";
    if (declared.size != 0) {
        name = bytes.substr(declared.start, declared.size);
    }

    _vlCharset charset;
    if (!charset.setByName(name)) {
        log.LogError("The encoding that the XML declaration names is not supported.");
        log.logText("xmlEncoding", name);
        return false;
    }
    // A declaration that can be read byte by byte is not in a wide form, whatever it says.
    if (charset.isUtf8() || (charset.isWide() && !known)) {
        return !known || m_bytes.splice(0, start->bytes.size(), {});
    }
    log.logText("xmlEncoding", name);
    StringBuffer converted;
    if (!charset.toUtf8(view(), converted)) {
        log.LogError("The document is not valid in its encoding.");
        return false;
    }
    // What is written from here on is UTF-8, and says so.
    SharedBytes text = converted.storage();
    converted.clear();
    const NameRange written = declaredEncoding(text.text());
    if (written.size != 0 && !text.splice(written.start, written.size, "UTF-8")) {
        return false;
    }
    clear();
    m_bytes = text;
    return true;
}

} // namespace vantrel
