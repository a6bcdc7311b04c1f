// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_XSTRING_H
#define FOUNDATION_TEXT_XSTRING_H

#include "foundation/text/StringBuffer.h"
#include "foundation/text/VantrelObject.h"

#include <cstddef>
#include <string_view>

namespace vantrel {

class DataBuffer;
class LogBase;
class _vlCharset;

// Text at the public surface. It is kept as UTF-8 and hands out other encodings on demand. A text
// marked secure is wiped when it is cleared or destroyed.
class XString final : public VantrelObject {
public:
    XString() noexcept = default;
    explicit XString(std::string_view utf8) { m_text.appendView(utf8); }
    XString(const XString&) noexcept = default;
    // A secure text wipes what it held and stays secure.
    XString& operator=(const XString& other) noexcept;
    ~XString() override;

    [[nodiscard]] const char* getUtf8() const noexcept { return m_text.getString(); }
    [[nodiscard]] const StringBuffer& getUtf8Sb() const noexcept { return m_text; }
    [[nodiscard]] StringBuffer& getUtf8Sb_rw() noexcept { return m_text; }
    bool setFromUtf8(const char* text);
    bool setFromSbUtf8(const StringBuffer& text);
    bool appendUtf8(const char* text);
    bool appendSbUtf8(const StringBuffer& text);
    void copyFromX(const XString& other) noexcept;
    void clear() noexcept;
    [[nodiscard]] bool isEmpty() const noexcept { return m_text.isEmpty(); }
    void setSecureX(bool secure) noexcept { m_secure = secure; }

    // Appends the text in the given character set to `out`; false when a character has no place in
    // it.
    bool getConverted(const _vlCharset& charset, DataBuffer& out) const;
    // Bytes that are not valid UTF-8 are taken for Windows-1252 and re-encoded; valid UTF-8 stays.
    bool checkFixUtf8Windows1252(LogBase& log);
    // Re-encodes a number or bytes, e.g. from "decimal" to "hex" (upper case, two digits a byte, no
    // leading zero bytes, "00" for zero; a negative number is "-" and its magnitude). False, with
    // the text unchanged, when it is no number.
    bool reencode(const char* from, const char* to);

private:
    [[nodiscard]] bool makeRoomFor(std::size_t count);

    StringBuffer m_text;
    bool m_secure = false;
};

} // namespace vantrel

#endif
