// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_XML_ENCODING_H
#define FOUNDATION_TEXT_XML_ENCODING_H

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel {
class DataBuffer;
class LogBase;
} // namespace vantrel

namespace vantrel::text {

// How the encoding that an XML declaration names fits the document's bytes. The declaration is not
// signed, so what other readers do because of it must not go unnoticed: a document in which markup
// may begin elsewhere for them is not accepted.
enum class XmlEncodingVerdict : std::uint8_t {
    Agrees,   // or nothing is named
    Mismatch, // another one is named, under which the bytes hold the same markup or none at all
    Unsupported,
    Contradicted, // by the byte-order mark, or by the bytes of the declaration itself
    Invalid       // the bytes are not valid in it
};

struct XmlEncoding {
    XmlEncodingVerdict verdict = XmlEncodingVerdict::Agrees;
    // As declared, else by the byte-order mark; its beginning, if it is very long. Empty for a
    // document that is UTF-8 and does not say otherwise.
    std::string name;

    [[nodiscard]] bool isAccepted() const noexcept {
        return verdict == XmlEncodingVerdict::Agrees || verdict == XmlEncodingVerdict::Mismatch;
    }
};

// Converts the bytes of an XML document to UTF-8 in place, as Extensible Markup Language 1.0,
// appendix F, finds out their encoding; a byte-order mark is removed, and the declaration of what
// was converted, or lost its mark, names UTF-8. The bytes are unchanged when the encoding is not
// accepted. A malformed declaration names nothing: the parser refuses it. Nor is UTF-8 checked.
[[nodiscard]] XmlEncoding convertXmlToUtf8(DataBuffer& bytes);

// The same question for a text that its owner decoded. Other readers will see its stored bytes, so
// a set other than UTF-8 must be one in which ASCII bytes are ASCII characters.
[[nodiscard]] XmlEncoding judgeDecodedXml(std::string_view text);

// Says whether the document may be read. If not, an error line names the encoding and the reason.
[[nodiscard]] bool acceptEncoding(const XmlEncoding& encoding, LogBase& log);

} // namespace vantrel::text

#endif
