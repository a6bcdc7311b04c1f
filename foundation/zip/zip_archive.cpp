// SPDX-License-Identifier: MIT
#include "foundation/zip/zip_archive.h"

#include "foundation/zip/zip_names.h"
#include "foundation/zip/zip_records.h"

#include <algorithm>
#include <numeric>

// The archive is gone through from its end: the end record leads to the directory, the directory to
// every local header. Each step proves that what it found is the only thing that a reader could
// find there; the first that cannot ends the opening.
namespace vantrel::zip {

namespace {

constexpr unsigned kStoredMethod = 0;
constexpr unsigned kDeflateMethod = 8;
// The directory is held as a whole; its names are most of it.
constexpr std::uint64_t kMostDirectory = std::uint64_t{64} << 20;
// Small texts of blanks or zeros are common and harmless, however far they are compressed.
constexpr std::uint64_t kRatioCountsFrom = std::uint64_t{64} << 20;

constexpr std::string_view kNoEnd = "the archive is cut short, or something stands behind it";
constexpr std::string_view kDirectoryDamaged = "the directory of the archive is damaged";

// Where the directory stands, and how many members it has.
struct DirectoryPlace {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    std::uint64_t count = 0;
    std::uint64_t end = 0; // of the directory, by what follows it
};

// One entry of the directory with where its parts lie.
struct Entry {
    ZipHeader header;
    std::uint64_t dataOffset = 0;
    bool isFolder = false;
};

std::string quoted(std::string_view name) {
    std::string out(1, '"');
    out += name;
    return out += '"';
}

// Reads one archive, step by step; each writes what it finds wrong.
class Opening {
public:
    Opening(const io::RandomAccess& bytes, const ZipLimits& limits, std::string& fault)
        : m_bytes(bytes), m_limits(limits), m_fault(fault) {}

    bool run(std::vector<ZipMember>& members,
             std::unordered_map<std::string, std::size_t>& byFoldedName) {
        DirectoryPlace place;
        if (!findDirectory(place) || !readDirectory(place) || !checkNames() || !checkSizes() ||
            !checkPlaces(place.offset)) {
            return false;
        }
        for (const Entry& entry : m_entries) {
            if (!entry.isFolder) {
                const ZipHeader& header = entry.header;
                byFoldedName.emplace(foldedName(header.name), members.size());
                members.push_back({std::string(header.name), header.size, header.packedSize,
                                   entry.dataOffset, header.crc, header.method == kDeflateMethod});
            }
        }
        return true;
    }

private:
    bool fail(std::string_view why) {
        m_fault = why;
        return false;
    }
    bool failMember(std::string_view name, std::string_view why) {
        m_fault = "the member " + quoted(name) + " " + std::string(why);
        return false;
    }
    bool read(std::uint64_t offset, std::size_t count, std::vector<std::uint8_t>& out) {
        out.resize(count);
        return m_bytes.read(offset, out) || fail("the archive cannot be read");
    }

    // 4.3.16. The record stands at the very end, behind it only its own comment. One that stands in
    // the comment of another would be found first by readers that search from the other side.
    bool findDirectory(DirectoryPlace& place) {
        constexpr std::uint64_t kMostComment = 0xFFFF;
        const std::uint64_t size = m_bytes.size();
        const auto tailSize =
            static_cast<std::size_t>(std::min(size, kMostComment + kDirectoryEndSize));
        std::vector<std::uint8_t> tail;
        if (!read(size - tailSize, tailSize, tail)) {
            return false;
        }
        // A record counts when its comment ends with the archive; of several the last one does, as
        // for readers that search from the end.
        std::size_t found = tailSize;
        for (std::size_t at = 0; at + kDirectoryEndSize <= tailSize; ++at) {
            if (number32(tail, at) == kDirectoryEnd) {
                const std::size_t comment = number16(tail, at + 20);
                found = at + kDirectoryEndSize + comment == tailSize ? at : found;
            }
        }
        if (found == tailSize) {
            return fail(kNoEnd);
        }
        // The data of a stored member may hold an archive; only what lies behind the directory is
        // ambiguous.
        const std::size_t behind = tailSize - found - kDirectoryEndSize;
        for (std::size_t at = 0; at + 4 <= behind; ++at) {
            if (number32(tail, found + kDirectoryEndSize + at) == kDirectoryEnd) {
                return fail("the comment of the archive holds the end of another archive");
            }
        }
        return readEnd(ByteView(tail).subspan(found), size - tailSize + found, place);
    }

    // `at`: where the record stands.
    bool readEnd(ByteView record, std::uint64_t at, DirectoryPlace& place) {
        place.count = number16(record, 10);
        place.size = number32(record, 12);
        place.offset = number32(record, 16);
        place.end = at;
        const bool isOneVolume = number16(record, 4) == number16(record, 6) &&
                                 (number16(record, 4) == 0 || number16(record, 4) == 0xFFFF) &&
                                 number16(record, 8) == number16(record, 10);
        if (!isOneVolume) {
            return fail("the archive has several volumes");
        }
        if (!readEnd64(at, place)) {
            return false;
        }
        // Data in front of the archive would move the directory away from where it says that it is;
        // some readers allow for that, and then see other members.
        if (place.size > place.end || place.offset != place.end - place.size) {
            return fail("the directory of the archive does not stand where its end says");
        }
        if (place.count > m_limits.members) {
            return fail("the archive has more members than the limit (packageMembers)");
        }
        return true;
    }

    // 4.3.14 and 4.3.15: the locator stands before the record, the wide record before that. They
    // count wherever they are there, and must be where a number does not fit.
    bool readEnd64(std::uint64_t at, DirectoryPlace& place) {
        const bool isNeeded = place.count == 0xFFFF || place.size == kIn64 || place.offset == kIn64;
        std::vector<std::uint8_t> locator;
        if (at < kLocator64Size + kDirectoryEnd64Size) {
            return !isNeeded || fail(kDirectoryDamaged);
        }
        if (!read(at - kLocator64Size, kLocator64Size, locator)) {
            return false;
        }
        if (number32(locator, 0) != kLocator64) {
            // 65 535 members need no wide record, though many writers make one.
            return (place.size != kIn64 && place.offset != kIn64) || fail(kDirectoryDamaged);
        }
        std::vector<std::uint8_t> record;
        const std::uint64_t recordAt = at - kLocator64Size - kDirectoryEnd64Size;
        if (!read(recordAt, kDirectoryEnd64Size, record)) {
            return false;
        }
        const bool isSound = number64(locator, 8) == recordAt && number32(locator, 4) == 0 &&
                             number32(record, 0) == kDirectoryEnd64 &&
                             number64(record, 4) == kDirectoryEnd64Size - 12 &&
                             number32(record, 16) == 0 && number32(record, 20) == 0 &&
                             number64(record, 24) == number64(record, 32);
        if (!isSound) {
            return fail(kDirectoryDamaged);
        }
        // Readers without ZIP64 go by the narrow numbers.
        const DirectoryPlace narrow = place;
        place.count = number64(record, 32);
        place.size = number64(record, 40);
        place.offset = number64(record, 48);
        place.end = recordAt;
        // What does fit must be the same number.
        const bool agrees = (narrow.count == 0xFFFF || narrow.count == place.count) &&
                            (narrow.size == kIn64 || narrow.size == place.size) &&
                            (narrow.offset == kIn64 || narrow.offset == place.offset);
        return agrees || fail("the two ends of the directory of the archive disagree");
    }

    bool readDirectory(const DirectoryPlace& place) {
        if (place.size > kMostDirectory) {
            return fail("the directory of the archive is larger than 64 MiB");
        }
        // Before memory is taken for so many.
        if (place.count > place.size / kDirectoryEntrySize) {
            return fail(kDirectoryDamaged);
        }
        if (!read(place.offset, static_cast<std::size_t>(place.size), m_directory)) {
            return false;
        }
        ByteView rest = m_directory;
        m_entries.resize(static_cast<std::size_t>(place.count));
        for (Entry& entry : m_entries) {
            if (!readDirectoryEntry(rest, entry.header)) {
                return fail(kDirectoryDamaged);
            }
            if (!checkKind(entry)) {
                return false;
            }
        }
        return rest.empty() || fail("the directory of the archive has more than it says");
    }

    bool checkKind(Entry& entry) {
        const ZipHeader& header = entry.header;
        if ((header.flags & kEncryptedFlags) != 0) {
            return failMember(header.name, "is encrypted");
        }
        const bool isKnown = header.method == kStoredMethod || header.method == kDeflateMethod;
        if (!isKnown || (header.flags & kPatchFlag) != 0) {
            return failMember(header.name, "is compressed by an unknown method");
        }
        entry.isFolder = header.name.ends_with('/');
        // Some readers would make a file of it.
        if (entry.isFolder && header.size != 0) {
            return failMember(header.name, "is a folder with contents");
        }
        return true;
    }

    // Sorted by what they share, equal names and folders that are also files stand side by side.
    bool checkNames() {
        std::vector<std::pair<std::string, const Entry*>> names;
        names.reserve(m_entries.size());
        for (const Entry& entry : m_entries) {
            const std::string_view fault = faultOfName(entry.header.name);
            if (!fault.empty()) {
                return failMember(entry.header.name, fault);
            }
            names.emplace_back(foldedName(entry.header.name), &entry);
        }
        std::sort(names.begin(), names.end());
        for (std::size_t i = 1; i < names.size(); ++i) {
            const std::string_view one = names[i - 1].second->header.name;
            const std::string_view other = names[i].second->header.name;
            if (names[i - 1].first != names[i].first) {
                continue;
            }
            m_fault =
                one == other
                    ? "two members of the archive have the name " + quoted(one)
                    : "the names of two members differ only by case or separators: " + quoted(one) +
                          ", " + quoted(other);
            return false;
        }
        return checkFolders(names);
    }

    // Unpacked, only one of the two could be there.
    bool checkFolders(const std::vector<std::pair<std::string, const Entry*>>& names) {
        std::unordered_map<std::string_view, bool> isFolder;
        for (const auto& [folded, entry] : names) {
            isFolder.emplace(folded, entry->isFolder);
        }
        for (const auto& [folded, entry] : names) {
            const std::string_view all = folded;
            for (std::size_t at = all.find('/'); at != std::string_view::npos;
                 at = all.find('/', at + 1)) {
                const auto found = isFolder.find(all.substr(0, at));
                if (found != isFolder.end() && !found->second) {
                    return failMember(entry->header.name, "stands below a member that is a file");
                }
            }
        }
        return true;
    }

    // All by the directory, before anything is decompressed: reading then proves these sizes.
    bool checkSizes() {
        std::uint64_t octets = 0;
        for (const Entry& entry : m_entries) {
            const ZipHeader& header = entry.header;
            const bool isStored = header.method == kStoredMethod;
            if (isStored && header.size != header.packedSize) {
                return failMember(header.name, "is stored with two sizes");
            }
            if (header.size > m_limits.memberOctets) {
                return failMember(header.name, "is larger than the limit (packageMemberOctets)");
            }
            // Neither can wrap: both summands are below the limit.
            if (header.size > m_limits.octets - octets) {
                return fail("the members are larger than the limit (packageOctets)");
            }
            octets += header.size;
            if (header.size > kRatioCountsFrom &&
                header.size / std::max<std::uint64_t>(header.packedSize, 1) > m_limits.ratio) {
                return failMember(header.name,
                                  "is compressed further than the limit (packageRatio)");
            }
        }
        return true;
    }

    // From the first byte to the directory, one behind the other.
    bool checkPlaces(std::uint64_t directory) {
        std::vector<std::size_t> order(m_entries.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::stable_sort(order.begin(), order.end(), [this](std::size_t one, std::size_t other) {
            return m_entries[one].header.offset < m_entries[other].header.offset;
        });
        std::uint64_t end = 0;
        for (std::size_t i = 0; i < order.size(); ++i) {
            Entry& entry = m_entries[order[i]];
            if (entry.header.offset != end) {
                return failMember(entry.header.name, entry.header.offset < end
                                                         ? "overlaps another one"
                                                         : "stands behind data that is no member");
            }
            end = i + 1 < order.size() ? m_entries[order[i + 1]].header.offset : directory;
            if (!checkLocal(entry, end)) {
                return false;
            }
        }
        return end == directory || fail("data stands before the directory of the archive");
    }

    // `next`: where the next member begins, or the directory.
    bool checkLocal(Entry& entry, std::uint64_t next) {
        const ZipHeader& header = entry.header;
        constexpr std::string_view kOverlap = "overlaps another one";
        if (next < header.offset || next - header.offset < kLocalHeaderSize) {
            return failMember(header.name, kOverlap);
        }
        // The fixed part first, since it has the size of the rest.
        std::vector<std::uint8_t> bytes;
        if (!read(header.offset, kLocalHeaderSize, bytes)) {
            return false;
        }
        const std::size_t size = kLocalHeaderSize + number16(bytes, 26) + number16(bytes, 28);
        if (next - header.offset < size) {
            return failMember(header.name, kOverlap);
        }
        ZipHeader local;
        if (!read(header.offset, size, bytes)) {
            return false;
        }
        if (!readLocalHeader(bytes, local)) {
            return failMember(header.name, "has a damaged header");
        }
        // The name by which a reader that streams the archive would know it.
        if (local.name != header.name) {
            return failMember(header.name,
                              "has the name " + quoted(local.name) + " in its own header");
        }
        entry.dataOffset = header.offset + size;
        if (!agrees(local, header)) {
            return failMember(header.name, "has other values in its own header than in the "
                                           "directory");
        }
        const std::uint64_t room = next - entry.dataOffset;
        if (room < header.packedSize) {
            return failMember(header.name, kOverlap);
        }
        return checkBehind(header, entry.dataOffset + header.packedSize, room - header.packedSize);
    }

    // With a descriptor the header may leave open what is known only behind the data (4.4.4).
    static bool agrees(const ZipHeader& local, const ZipHeader& header) {
        const bool mayBeOpen = (header.flags & kDescriptorFlag) != 0;
        const auto same = [mayBeOpen](std::uint64_t one, std::uint64_t other) {
            return one == other || (mayBeOpen && one == 0);
        };
        return local.flags == header.flags && local.method == header.method &&
               same(local.crc, header.crc) && same(local.packedSize, header.packedSize) &&
               same(local.size, header.size);
    }

    // 4.3.9: a sum and two sizes, of 32 or 64 bits, with or without a signature in front. Its size
    // alone says which.
    bool checkBehind(const ZipHeader& header, std::uint64_t offset, std::uint64_t size) {
        const bool hasDescriptor = (header.flags & kDescriptorFlag) != 0;
        if (!hasDescriptor) {
            return size == 0 || failMember(header.name, "is followed by data that is no member");
        }
        if (size != 12 && size != 16 && size != 20 && size != 24) {
            return failMember(header.name, "is followed by data that is no member");
        }
        std::vector<std::uint8_t> bytes;
        if (!read(offset, static_cast<std::size_t>(size), bytes)) {
            return false;
        }
        const std::size_t at = size % 8 == 0 ? 4 : 0; // 16 and 24: behind the signature
        const bool isWide = size >= 20;
        const std::uint64_t packed = isWide ? number64(bytes, at + 4) : number32(bytes, at + 4);
        const std::uint64_t whole = isWide ? number64(bytes, at + 12) : number32(bytes, at + 8);
        const bool isSound = (at == 0 || number32(bytes, 0) == kDescriptor) &&
                             number32(bytes, at) == header.crc && packed == header.packedSize &&
                             whole == header.size;
        return isSound || failMember(header.name, "is followed by other values than the directory "
                                                  "has");
    }

    const io::RandomAccess& m_bytes;
    const ZipLimits& m_limits;
    std::string& m_fault;
    std::vector<std::uint8_t> m_directory; // which the names of the entries point into
    std::vector<Entry> m_entries;
};

} // namespace

bool looksLikeZip(ByteView bytes) noexcept {
    return bytes.size() >= 4 && number32(bytes, 0) == kLocalHeader;
}

// What the directory says is copied, so that the archive may be large and the object small.
bool ZipArchive::open(std::shared_ptr<const io::RandomAccess> bytes, const ZipLimits& limits,
                      std::string& fault) {
    m_bytes = std::move(bytes);
    m_members.clear();
    m_byFoldedName.clear();
    return Opening(*m_bytes, limits, fault).run(m_members, m_byFoldedName);
}

const ZipMember* ZipArchive::findAnyCase(std::string_view name) const {
    const auto found = m_byFoldedName.find(foldedName(name));
    return found == m_byFoldedName.end() ? nullptr : &m_members[found->second];
}

// One index serves both: no two names share their folded form.
const ZipMember* ZipArchive::find(std::string_view name) const noexcept {
    const ZipMember* const found = findAnyCase(name);
    return found != nullptr && found->name == name ? found : nullptr;
}

} // namespace vantrel::zip
