// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_ZIP_ZIP_RECORDS_H
#define FOUNDATION_ZIP_ZIP_RECORDS_H

// Internal: the records of an archive, field by field (APPNOTE 6.3.10, 4.3 and 4.5).

#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vantrel::zip {

inline constexpr std::uint32_t kLocalHeader = 0x04034B50;
inline constexpr std::uint32_t kDirectoryEntry = 0x02014B50;
inline constexpr std::uint32_t kDescriptor = 0x08074B50;
inline constexpr std::uint32_t kDirectoryEnd = 0x06054B50;
inline constexpr std::uint32_t kDirectoryEnd64 = 0x06064B50;
inline constexpr std::uint32_t kLocator64 = 0x07064B50;

inline constexpr std::size_t kLocalHeaderSize = 30;
inline constexpr std::size_t kDirectoryEntrySize = 46;
inline constexpr std::size_t kDirectoryEndSize = 22;
inline constexpr std::size_t kDirectoryEnd64Size = 56;
inline constexpr std::size_t kLocator64Size = 20;

// Bits of the flags.
inline constexpr unsigned kEncryptedFlags = 1U | (1U << 6) | (1U << 13);
inline constexpr unsigned kDescriptorFlag = 1U << 3;
inline constexpr unsigned kPatchFlag = 1U << 5;

inline constexpr std::uint32_t kIn64 = 0xFFFFFFFF; // the ZIP64 field has the value

// Little-endian numbers at any place; the caller has seen that they are there.
[[nodiscard]] std::uint16_t number16(ByteView bytes, std::size_t at) noexcept;
[[nodiscard]] std::uint32_t number32(ByteView bytes, std::size_t at) noexcept;
[[nodiscard]] std::uint64_t number64(ByteView bytes, std::size_t at) noexcept;

// What a local header and the directory say of one member.
struct ZipHeader {
    unsigned flags = 0;
    unsigned method = 0;
    std::uint32_t crc = 0;
    std::uint64_t packedSize = 0;
    std::uint64_t size = 0;
    std::uint64_t offset = 0; // of the local header; 0 in a local header
    std::string_view name;    // of the bytes that were read
};

// Reads an entry of the directory at the front of `bytes`, and takes it off. False when it is cut
// short, or its ZIP64 field lacks what it must hold.
[[nodiscard]] bool readDirectoryEntry(ByteView& bytes, ZipHeader& header) noexcept;
// The same for a local header, which stays.
[[nodiscard]] bool readLocalHeader(ByteView bytes, ZipHeader& header) noexcept;

} // namespace vantrel::zip

#endif
