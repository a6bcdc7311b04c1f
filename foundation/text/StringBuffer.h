// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_STRINGBUFFER_H
#define FOUNDATION_TEXT_STRINGBUFFER_H

#include "foundation/text/VantrelObject.h"
#include "foundation/text/shared_bytes.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vantrel {

class DataBuffer;
class ExtPtrArray;
class ExtPtrArraySb;

// Growable 8-bit text, held as UTF-8 by convention, with an explicit length and a NUL after it.
// Copies share their storage until one of them changes, so handing a large document from hand to
// hand costs nothing. Lengths and indexes are bytes, at most kMaxTextSize; an operation that would
// pass that limit, or that runs out of memory, returns false and leaves the text unchanged.
// Null text arguments count as empty.
class StringBuffer final : public VantrelObject {
public:
    StringBuffer() noexcept = default;
    explicit StringBuffer(std::string_view text) { appendView(text); }
    StringBuffer(const StringBuffer&) noexcept = default;
    StringBuffer& operator=(const StringBuffer&) noexcept = default;
    StringBuffer(StringBuffer&&) noexcept = default;
    StringBuffer& operator=(StringBuffer&&) noexcept = default;
    ~StringBuffer() override = default;

    // Reading. Pointers and views are valid until the next change of this object.
    [[nodiscard]] std::string_view view() const noexcept { return m_bytes.text(); }
    [[nodiscard]] const char* getString() const noexcept { return m_bytes.cString(); }
    [[nodiscard]] std::uint32_t getSize() const noexcept { return m_bytes.size(); }
    [[nodiscard]] bool isEmpty() const noexcept { return m_bytes.size() == 0; }
    // Pointer to the byte at `index`, or null when the index lies beyond the text.
    [[nodiscard]] const char* pCharAt(std::uint32_t index) const noexcept;
    // True when both share one storage: the same text, found out without comparing it.
    [[nodiscard]] bool sharesStorageWith(const StringBuffer& other) const noexcept {
        return m_bytes.sharesWith(other.m_bytes);
    }

    bool append(const char* text);
    bool append(const StringBuffer& text);
    bool append(int number);
    bool append2(const char* first, const char* second);
    bool append3(const char* first, const char* second, const char* third);
    bool appendN(const char* text, std::uint32_t count);
    bool appendChar(char c);
    bool appendView(std::string_view text);
    bool prepend(const char* text);
    bool insertAt(const StringBuffer& text, std::uint32_t position);
    bool setString(const char* text);
    bool setString(const StringBuffer& text);
    bool setView(std::string_view text);
    bool reserve(std::uint32_t capacity);
    // Where `count` bytes can be written behind the text; null where there is no such room, or the
    // storage is shared. takeRoom() then makes so many of them a part of the text.
    [[nodiscard]] char* freeRoom(std::size_t count) noexcept { return m_bytes.freeRoom(count); }
    void takeRoom(std::size_t count) noexcept { m_bytes.take(count); }
    void clear() noexcept;
    // Wipes the storage (where it is not shared) and empties the text.
    void secureClear() noexcept;

    void takeSb(StringBuffer& other) noexcept;
    void takeFromDb(DataBuffer& data) noexcept;
    // The storage itself, shared: how text and bytes change hands without a copy.
    [[nodiscard]] const SharedBytes& storage() const noexcept { return m_bytes; }
    void setStorage(const SharedBytes& bytes) noexcept { m_bytes = bytes; }

    [[nodiscard]] bool equals(const char* text) const noexcept;
    [[nodiscard]] bool equals(const StringBuffer& text) const noexcept;
    [[nodiscard]] bool beginsWith(const char* prefix) const noexcept;
    [[nodiscard]] bool endsWith(const char* suffix) const noexcept;
    [[nodiscard]] bool containsSubstring(const char* text) const noexcept;
    [[nodiscard]] bool containsSubstringNoCase(const char* text) const noexcept;
    [[nodiscard]] const char* findSubstr(const char* text) const noexcept;
    [[nodiscard]] std::int32_t indexOf(const char* text) const noexcept;
    // Whole content against a pattern in which '*' is any run of bytes. Linear in the text for each
    // '*' of the pattern; never exponential.
    [[nodiscard]] bool matches(const char* pattern, bool caseSensitive) const noexcept;

    // out := the text from the first `start` to the `end` that follows it; the markers belong to it
    // when `withMarkers`. False, with `out` unchanged, when either is absent.
    bool getDelimited(const char* start, const char* end, bool withMarkers,
                      StringBuffer& out) const;
    // Removes the first stretch from `start` to the `end` that follows it. `withStart`, `withEnd`:
    // the marker goes too.
    bool removeDelimited(const char* start, const char* end, bool withStart, bool withEnd);
    // The same for the first such stretch that contains `required`.
    bool removeDelimitedIfContains(const char* start, const char* end, const char* required,
                                   bool withStart, bool withEnd);
    bool removeBefore(const char* marker, bool removeMarkerToo);
    bool chopAtSubstr(const char* marker, bool keepMarker);
    void removeChunk(std::uint32_t start, std::uint32_t count);
    void shorten(std::uint32_t count);
    bool replaceFirstOccurance(const char* find, const char* replacement, bool ignoreCase);
    // All occurrences in one pass over the text; returns their number.
    std::uint32_t replaceAllOccurances(const char* find, const char* replacement);
    void replaceCharUtf8(char find, char replacement);
    void replaceChar5(const char* set, char replacement);
    void removeCharOccurances(char c);
    // Deletes every byte of `set` in one pass.
    void removeCharsOf(std::string_view set);
    void trim2();
    void trimInsideSpaces();
    void toLowerCase();
    void toCRLF();
    void toLF();
    // False for an empty text.
    [[nodiscard]] bool isHexidecimal() const noexcept;

    // Pieces between delimiters, in order. Appends to `out`.
    bool split(ExtPtrArraySb& out, char delimiter, bool trimPieces, bool dropEmpty) const;
    // Pieces and the delimiters themselves, in order; no empty piece. Appends StringBuffers.
    bool tokenize(ExtPtrArray& out, const char* delimiters) const;

private:
    SharedBytes m_bytes;
};

} // namespace vantrel

#endif
