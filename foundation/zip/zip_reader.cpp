// SPDX-License-Identifier: MIT
#include "foundation/zip/zip_reader.h"

#include <algorithm>

namespace vantrel::zip {

namespace {

// Read at once from a stored member: few enough for the second cache, many enough for the system.
constexpr std::size_t kStoredPiece = std::size_t{256} << 10;
constexpr std::string_view kUnreadable = "cannot be read";

} // namespace

// The compressed data of a member, as it lies in the archive.
class ZipReader::Packed final : public InflateInput {
public:
    Packed(const io::RandomAccess& bytes, const ZipMember& member) noexcept
        : m_bytes(bytes), m_at(member.dataOffset), m_left(member.packedSize) {}

    [[nodiscard]] bool read(std::span<std::uint8_t> room, std::size_t& count) noexcept override {
        count = static_cast<std::size_t>(std::min<std::uint64_t>(room.size(), m_left));
        if (!m_bytes.read(m_at, room.first(count))) {
            return false;
        }
        m_at += count;
        m_left -= count;
        return true;
    }

private:
    const io::RandomAccess& m_bytes;
    std::uint64_t m_at;
    std::uint64_t m_left;
};

// A stored member needs no window, and its buffer is no larger than itself.
ZipReader::ZipReader(const ZipArchive& archive, const ZipMember& member)
    : m_member(member), m_packed(std::make_unique<Packed>(archive.bytes(), member)) {
    if (member.isDeflated) {
        m_inflater.emplace(*m_packed);
    } else {
        m_buffer.resize(
            static_cast<std::size_t>(std::min<std::uint64_t>(member.size, kStoredPiece)));
    }
}

ZipReader::~ZipReader() = default;

bool ZipReader::nextStored(ByteView& piece) noexcept {
    std::size_t count = 0;
    if (!m_buffer.empty() && !m_packed->read(m_buffer, count)) {
        m_fault = kUnreadable;
        return false;
    }
    piece = ByteView(m_buffer).first(count);
    return true;
}

bool ZipReader::next(ByteView& piece) noexcept {
    piece = {};
    if (!m_fault.empty()) {
        return false;
    }
    if (m_inflater ? !m_inflater->next(piece) : !nextStored(piece)) {
        m_fault = m_inflater ? m_inflater->fault() : m_fault;
        return false;
    }
    // Both are proved as the pieces go by: a member is never held as a whole for its check sum.
    m_crc.update(piece);
    m_octets += piece.size();
    // At once, and not at the end: what the limits let in was the directory's size.
    const bool isLonger = m_octets > m_member.size;
    if (isLonger || (piece.empty() && m_octets != m_member.size)) {
        m_fault = "has another size than the directory says";
    } else if (piece.empty() && m_crc.value() != m_member.crc) {
        m_fault = "has another check sum than the directory says";
    }
    if (!m_fault.empty()) {
        piece = {};
        return false;
    }
    return true;
}

bool readMember(const ZipArchive& archive, const ZipMember& member, DataBuffer& out,
                std::string_view& fault) {
    ZipReader reader(archive, member);
    ByteView piece;
    do {
        if (!reader.next(piece) || !out.append(piece)) {
            fault = reader.fault().empty() ? "does not fit into memory" : reader.fault();
            return false;
        }
    } while (!piece.empty());
    return true;
}

} // namespace vantrel::zip
