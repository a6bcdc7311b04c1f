// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_ZIP_ZIP_READER_H
#define FOUNDATION_ZIP_ZIP_READER_H

#include "foundation/text/DataBuffer.h"
#include "foundation/zip/crc32.h"
#include "foundation/zip/inflate.h"
#include "foundation/zip/zip_archive.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace vantrel::zip {

// Reads the contents of one member from front to end, in pieces; memory does not grow with them.
// The archive is borrowed. Size and sum are those of the directory, or reading fails.
class ZipReader final {
public:
    // Throws std::bad_alloc.
    ZipReader(const ZipArchive& archive, const ZipMember& member);
    ~ZipReader();
    ZipReader(const ZipReader&) = delete;
    ZipReader& operator=(const ZipReader&) = delete;

    // The next piece, valid until the next call; empty at the end, and only when all is right.
    // False when not: fault() then says what, and what came before is worth nothing.
    [[nodiscard]] bool next(ByteView& piece) noexcept;
    [[nodiscard]] std::string_view fault() const noexcept { return m_fault; } // of static storage

private:
    class Packed;

    [[nodiscard]] bool nextStored(ByteView& piece) noexcept;

    const ZipMember& m_member;
    std::unique_ptr<Packed> m_packed;
    std::optional<Inflater> m_inflater;
    std::vector<std::uint8_t> m_buffer; // of a stored member
    std::uint64_t m_octets = 0;
    Crc32 m_crc;
    std::string_view m_fault;
};

// Appends all of a member, whose size the caller has looked at. False as ZipReader::next(), with
// what was appended of no use.
[[nodiscard]] bool readMember(const ZipArchive& archive, const ZipMember& member, DataBuffer& out,
                              std::string_view& fault);

} // namespace vantrel::zip

#endif
