// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_DATABUFFER_H
#define FOUNDATION_TEXT_DATABUFFER_H

#include "foundation/text/VantrelObject.h"
#include "foundation/text/byte_view.h"
#include "foundation/text/shared_bytes.h"

#include <cstdint>
#include <string_view>

namespace vantrel {

class LogBase;
class StringBuffer;

// A growable byte array. Copies share their storage until one of them changes. A buffer marked
// secure wipes its bytes before it gives them up.
class DataBuffer final : public VantrelObject {
public:
    DataBuffer() noexcept = default;
    explicit DataBuffer(ByteView bytes) { append(bytes); }
    DataBuffer(const DataBuffer&) noexcept = default;
    // A secure buffer wipes what it held and stays secure.
    DataBuffer& operator=(const DataBuffer& other) noexcept;
    DataBuffer(DataBuffer&&) noexcept = default;
    DataBuffer& operator=(DataBuffer&& other) noexcept;
    ~DataBuffer() override;

    [[nodiscard]] ByteView view() const noexcept { return m_bytes.bytes(); }
    [[nodiscard]] std::uint32_t getSize() const noexcept { return m_bytes.size(); }
    [[nodiscard]] const unsigned char* getData2() const noexcept { return m_bytes.bytes().data(); }
    [[nodiscard]] bool isEmpty() const noexcept { return m_bytes.size() == 0; }
    [[nodiscard]] bool equals(const DataBuffer& other) const noexcept;

    bool append(const StringBuffer& text);
    bool append(const DataBuffer& data);
    bool append(ByteView bytes);
    bool append(const void* data, std::uint32_t count);
    bool appendChar(std::uint8_t byte);
    bool reserve(std::uint32_t capacity);
    // Sets the size and hands out the bytes to be filled; null when out of memory (or size 0).
    [[nodiscard]] std::uint8_t* resize(std::uint32_t size);

    // Decodes `text` in the named encoding ("base64", "hex", ...; see encoders.h) and appends the
    // bytes; false on bad input or an unknown name.
    bool appendEncoded(const char* text, const char* encoding);
    bool appendEncoded(std::string_view text, const char* encoding);
    // Appends these bytes, encoded, to `out`.
    bool encodeDB(const char* encoding, StringBuffer& out) const;

    void clear() noexcept;
    void secureClear() noexcept;
    void setSecure(bool secure) noexcept { m_secure = secure; }

    // If the bytes are an XML document in another encoding (by byte-order mark or XML declaration),
    // converts them to UTF-8 in place; a UTF-8 byte-order mark is removed. False, bytes unchanged,
    // when the encoding is unknown, the bytes contradict it or are not valid in it
    // (xml_encoding.h tells these apart). UTF-8 itself is not checked: the parser does that.
    bool convertXmlToUtf8(LogBase& log);

    [[nodiscard]] const SharedBytes& storage() const noexcept { return m_bytes; }
    void setStorage(const SharedBytes& bytes) noexcept { m_bytes = bytes; }

private:
    // Makes room, wiping the storage that became too small.
    [[nodiscard]] bool growSecurely(std::size_t capacity);

    SharedBytes m_bytes;
    bool m_secure = false;
};

} // namespace vantrel

#endif
