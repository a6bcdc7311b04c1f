// SPDX-License-Identifier: MIT
#include "foundation/zip/zip_records.h"

// Numbers are put together byte by byte, so that neither alignment nor the machine's byte order
// matters. Nothing here judges what a record says.
namespace vantrel::zip {

namespace {

// Fields that follow a name: an identifier, a length, the contents.
constexpr std::size_t kFieldHeader = 4;
constexpr unsigned kZip64Field = 0x0001;
constexpr unsigned kUnicodePathField = 0x7075;

// What of a header may stand in the ZIP64 field, in the order in which it stands there (4.5.3).
struct WideFields {
    std::uint64_t* numbers[3] = {};
    std::size_t count = 0;

    void add(std::uint64_t& number) noexcept {
        if (number == kIn64) {
            numbers[count++] = &number;
        }
    }
    bool read(ByteView field) noexcept {
        for (std::size_t i = 0; i < count; ++i) {
            if (field.size() < 8) {
                return false;
            }
            *numbers[i] = number64(field, 0);
            field = field.subspan(8);
        }
        return true;
    }
};

// Writers pad the fields with bytes that are none; those are passed over. A second name in UTF-8 is
// refused where it differs, as one of two fields of a kind is.
bool readFields(ByteView fields, WideFields wide, std::string_view name) noexcept {
    constexpr std::size_t kPathHeader = 5; // version, sum of the name
    bool seen = false;
    while (fields.size() >= kFieldHeader) {
        const unsigned kind = number16(fields, 0);
        const std::size_t length = number16(fields, 2);
        fields = fields.subspan(kFieldHeader);
        if (length > fields.size()) {
            return false;
        }
        const ByteView field = fields.first(length);
        fields = fields.subspan(length);
        // A second one could say something else to a reader that takes the last.
        if (kind == kZip64Field) {
            if (seen || !wide.read(field)) {
                return false;
            }
            seen = true;
        } else if (kind == kUnicodePathField &&
                   (length < kPathHeader || asText(field.subspan(kPathHeader)) != name)) {
            return false;
        }
    }
    return seen || wide.count == 0;
}

} // namespace

std::uint16_t number16(ByteView bytes, std::size_t at) noexcept {
    return static_cast<std::uint16_t>(bytes[at] | bytes[at + 1] << 8);
}

std::uint32_t number32(ByteView bytes, std::size_t at) noexcept {
    return number16(bytes, at) | std::uint32_t{number16(bytes, at + 2)} << 16;
}

std::uint64_t number64(ByteView bytes, std::size_t at) noexcept {
    return number32(bytes, at) | std::uint64_t{number32(bytes, at + 4)} << 32;
}

bool readDirectoryEntry(ByteView& bytes, ZipHeader& header) noexcept {
    if (bytes.size() < kDirectoryEntrySize || number32(bytes, 0) != kDirectoryEntry) {
        return false;
    }
    const std::size_t nameSize = number16(bytes, 28);
    const std::size_t fieldsSize = number16(bytes, 30);
    const std::size_t commentSize = number16(bytes, 32);
    // Each has 16 bits, so that their sum cannot wrap.
    if (nameSize + fieldsSize + commentSize > bytes.size() - kDirectoryEntrySize) {
        return false;
    }
    header.flags = number16(bytes, 8);
    header.method = number16(bytes, 10);
    header.crc = number32(bytes, 16);
    header.packedSize = number32(bytes, 20);
    header.size = number32(bytes, 24);
    header.offset = number32(bytes, 42);
    header.name = asText(bytes.subspan(kDirectoryEntrySize, nameSize));
    WideFields wide;
    wide.add(header.size);
    wide.add(header.packedSize);
    wide.add(header.offset);
    const ByteView fields = bytes.subspan(kDirectoryEntrySize + nameSize, fieldsSize);
    // A disk number other than 0 (or "in ZIP64") means another volume.
    const bool isHere = number16(bytes, 34) == 0 || number16(bytes, 34) == 0xFFFF;
    bytes = bytes.subspan(kDirectoryEntrySize + nameSize + fieldsSize + commentSize);
    return isHere && readFields(fields, wide, header.name);
}

bool readLocalHeader(ByteView bytes, ZipHeader& header) noexcept {
    if (bytes.size() < kLocalHeaderSize || number32(bytes, 0) != kLocalHeader) {
        return false;
    }
    const std::size_t nameSize = number16(bytes, 26);
    const std::size_t fieldsSize = number16(bytes, 28);
    if (nameSize + fieldsSize > bytes.size() - kLocalHeaderSize) {
        return false;
    }
    header.flags = number16(bytes, 6);
    header.method = number16(bytes, 8);
    header.crc = number32(bytes, 14);
    header.packedSize = number32(bytes, 18);
    header.size = number32(bytes, 22);
    header.name = asText(bytes.subspan(kLocalHeaderSize, nameSize));
    WideFields wide;
    wide.add(header.size);
    wide.add(header.packedSize);
    return readFields(bytes.subspan(kLocalHeaderSize + nameSize, fieldsSize), wide, header.name);
}

} // namespace vantrel::zip
