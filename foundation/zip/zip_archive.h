// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_ZIP_ZIP_ARCHIVE_H
#define FOUNDATION_ZIP_ZIP_ARCHIVE_H

#include "foundation/io/random_access.h"
#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel::zip {

// A file of an archive, as its central directory has it. Sizes are in bytes.
struct ZipMember {
    std::string name; // UTF-8, with "/" between its steps; it never leads out of a folder
    std::uint64_t size = 0;
    std::uint64_t packedSize = 0;
    std::uint64_t dataOffset = 0; // of its compressed data in the archive
    std::uint32_t crc = 0;
    bool isDeflated = false; // else stored
};

// What an archive may demand; docs/limits.md has the names.
struct ZipLimits {
    std::uint64_t members = 0;
    std::uint64_t memberOctets = 0; // uncompressed, of one
    std::uint64_t octets = 0;       // of all together
    // How many times its compressed size a member may have, where it is larger than 64 MiB.
    std::uint64_t ratio = 0;
};

// Whether the bytes begin as an archive with a member does.
[[nodiscard]] bool looksLikeZip(ByteView bytes) noexcept;

// A ZIP archive (APPNOTE 6.3.10, ISO/IEC 21320-1): stored and deflated members, ZIP64, data
// descriptors. Readers in the wild differ over archives that say two things; whoever signs one part
// and shows another lives on that. So an archive is refused unless there is one way to read it:
// local headers and the directory must agree, members must follow one another from the first byte
// to the directory without gaps, and no two names may be equal, nor differ only by the case of
// ASCII letters or by "\" for "/". Encrypted members, other methods, several volumes, names that
// are absolute or hold a step "..", and names in an unknown character set are refused as well.
// Contents are checked when they are read (zip_reader.h). A value that shares what it read.
class ZipArchive final {
public:
    // Reads and checks the directory and all local headers. False, with the reason in `fault`, a
    // text for people that may hold names of the archive; the object is then of no use. Throws
    // std::bad_alloc.
    [[nodiscard]] bool open(std::shared_ptr<const io::RandomAccess> bytes, const ZipLimits& limits,
                            std::string& fault);

    // The files in the order of the directory, folders apart.
    [[nodiscard]] std::span<const ZipMember> members() const noexcept { return m_members; }
    // The member of that name, or of one that differs only by the case of ASCII letters; null for
    // none. Valid while the archive is there.
    [[nodiscard]] const ZipMember* find(std::string_view name) const noexcept;
    [[nodiscard]] const ZipMember* findAnyCase(std::string_view name) const;
    [[nodiscard]] const io::RandomAccess& bytes() const noexcept { return *m_bytes; }

private:
    std::shared_ptr<const io::RandomAccess> m_bytes;
    std::vector<ZipMember> m_members;
    std::unordered_map<std::string, std::size_t> m_byFoldedName;
};

} // namespace vantrel::zip

#endif
