// SPDX-License-Identifier: MIT
#include "foundation/zip/crc32.h"
#include "foundation/zip/inflate.h"
#include "foundation/zip/zip_archive.h"
#include "foundation/zip/zip_reader.h"
#include "tests/support/bytes.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <cstdio>
#include <set>

#include <gtest/gtest.h>

namespace vantrel::test {

namespace {

using namespace zip;

constexpr ZipLimits kAmple = {1000, 1 << 30, 1 << 30, 1000};

// Hands its bytes out in pieces of a fixed size.
class PiecewiseInput final : public InflateInput {
public:
    PiecewiseInput(ByteView bytes, std::size_t piece) : m_rest(bytes), m_piece(piece) {}
    bool read(std::span<std::uint8_t> room, std::size_t& count) noexcept override {
        count = std::min({room.size(), m_piece, m_rest.size()});
        std::copy_n(m_rest.begin(), count, room.begin());
        m_rest = m_rest.subspan(count);
        return true;
    }

private:
    ByteView m_rest;
    std::size_t m_piece;
};

// The fault; empty when all came out.
std::string inflate(ByteView packed, std::size_t piece, Bytes& out) {
    PiecewiseInput input(packed, piece);
    Inflater inflater(input);
    ByteView more;
    out.clear();
    do {
        if (!inflater.next(more)) {
            return std::string(inflater.fault());
        }
        out.insert(out.end(), more.begin(), more.end());
    } while (!more.empty() && out.size() < (std::size_t{1} << 24));
    return {};
}

std::string hexOf(std::uint32_t number) {
    char text[9];
    std::snprintf(text, sizeof text, "%08x", number);
    return text;
}

std::string crcOf(ByteView bytes) {
    Crc32 crc;
    crc.update(bytes);
    return hexOf(crc.value());
}

std::shared_ptr<const io::RandomAccess> accessTo(ByteView bytes) {
    return std::make_shared<io::MemoryAccess>(DataBuffer(bytes));
}

// A disk that fails once, when it has been read so often.
class FailingAccess final : public io::RandomAccess {
public:
    FailingAccess(ByteView bytes, int readings) : m_bytes(DataBuffer(bytes)), m_left(readings) {}
    [[nodiscard]] std::uint64_t size() const noexcept override { return m_bytes.size(); }
    [[nodiscard]] bool read(std::uint64_t offset,
                            std::span<std::uint8_t> room) const noexcept override {
        return m_left-- != 0 && m_bytes.read(offset, room);
    }
    [[nodiscard]] bool hasFailed() const noexcept { return m_left < 0; }

private:
    io::MemoryAccess m_bytes;
    mutable int m_left;
};

// Opens the archive and reads every member. The first fault; empty for none. `members` := name,
// size and sum of each.
std::string readAll(const std::shared_ptr<const io::RandomAccess>& access, std::string& members,
                    const ZipLimits& limits = kAmple) {
    ZipArchive archive;
    std::string fault;
    members.clear();
    if (!archive.open(access, limits, fault)) {
        EXPECT_FALSE(fault.empty());
        return fault;
    }
    for (const ZipMember& member : archive.members()) {
        DataBuffer contents;
        std::string_view why;
        if (!readMember(archive, member, contents, why)) {
            EXPECT_FALSE(why.empty());
            return std::string(why);
        }
        members += (members.empty() ? "" : "|") + member.name + ":" +
                   std::to_string(contents.getSize()) + ":" + crcOf(contents.view());
        EXPECT_EQ(archive.find(member.name), &member);
    }
    return {};
}

std::string readAll(ByteView bytes, std::string& members, const ZipLimits& limits = kAmple) {
    return readAll(accessTo(bytes), members, limits);
}

bool saysOneOf(const std::string& fault, const std::string& parts) {
    for (std::size_t at = 0; at <= parts.size();) {
        const std::size_t end = std::min(parts.find('|', at), parts.size());
        if (fault.find(parts.substr(at, end - at)) != std::string::npos) {
            return true;
        }
        at = end + 1;
    }
    return false;
}

TEST(Crc32, KernelsAgreeInAnyPieces) {
    const Bytes check = bytesOf("123456789");
    RandomBytes random(1);
    for (const Crc32Kernel& kernel : crc32Kernels()) {
        if (!cpu::supports(kernel.needs)) {
            continue;
        }
        Crc32 known(kernel);
        known.update(check);
        EXPECT_EQ(hexOf(known.value()), "cbf43926") << kernel.name; // the polynomial's check value
        for (std::size_t size = 0; size < 700; size += 1 + size / 16) {
            const Bytes bytes = random.bytes(size);
            Crc32 whole(kernel);
            Crc32 parts(crc32Kernels().back());
            whole.update(bytes);
            const std::size_t cut = random.below(size + 1);
            parts.update(ByteView(bytes).first(cut));
            parts.update(ByteView(bytes).subspan(cut));
            EXPECT_EQ(whole.value(), parts.value()) << kernel.name << " " << size;
        }
    }
}

TEST(Inflate, StreamsOfZlibInPiecesOfAnySize) {
    forEachVector("zip/inflate.vec", "sound", [](VecCase& c) {
        const Bytes packed = c.base64("Packed");
        const std::string name = c.text("Name");
        const auto size = static_cast<std::size_t>(c.integer("Size"));
        const std::string crc = c.text("Crc");
        for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, std::size_t{1} << 20}) {
            Bytes out;
            EXPECT_EQ(inflate(packed, piece, out), "") << c.where() << name;
            EXPECT_EQ(out.size(), size) << c.where() << name;
            EXPECT_EQ(crcOf(out), crc) << c.where() << name;
        }
    });
}

// A stream that is cut is never whole, and one with a byte behind it is not, either. A changed one
// may be another stream; it only has to end.
TEST(Inflate, DamagedStreamsEnd) {
    forEachVector("zip/inflate.vec", "sound", [](VecCase& c) {
        const Bytes packed = c.base64("Packed");
        const std::string name = c.text("Name") + std::to_string(c.integer("Size")) + c.text("Crc");
        Bytes out;
        for (std::size_t size = 0; size < packed.size(); ++size) {
            ASSERT_NE(inflate(ByteView(packed).first(size), 1 << 20, out), "") << name << size;
        }
        Bytes longer = packed;
        longer.push_back(0);
        EXPECT_EQ(inflate(longer, 1 << 20, out),
                  "there is more data than the compressed data needs");
        for (std::size_t at = 0; at < std::min<std::size_t>(packed.size(), 300); ++at) {
            for (const unsigned bit : {1U, 16U, 128U}) {
                Bytes changed = packed;
                changed[at] = static_cast<std::uint8_t>(changed[at] ^ bit);
                static_cast<void>(inflate(changed, 1 << 20, out));
            }
        }
    });
}

TEST(ZipArchive, SoundArchivesAreRead) {
    forEachVector("zip/archives.vec", "sound", [](VecCase& c) {
        std::string members;
        const std::string name = c.text("Name");
        EXPECT_EQ(readAll(c.base64("Archive"), members), "") << c.where() << name;
        EXPECT_EQ(members, c.textOr("Members", "")) << c.where() << name;
    });
}

TEST(ZipArchive, NoReadingMayFail) {
    forEachVector("zip/archives.vec", "sound", [](VecCase& c) {
        const Bytes archive = c.base64("Archive");
        const std::string name = c.text("Name");
        const std::string sound = c.textOr("Members", "");
        for (int readings = 0;; ++readings) {
            const auto access = std::make_shared<FailingAccess>(ByteView(archive), readings);
            std::string members;
            const std::string fault = readAll(access, members);
            EXPECT_EQ(fault.empty(), !access->hasFailed()) << c.where() << readings;
            if (!access->hasFailed()) {
                EXPECT_EQ(members, sound) << name;
                break;
            }
        }
    });
}

TEST(ZipArchive, WhatCanBeReadInTwoWaysIsRefused) {
    forEachVector("zip/archives.vec", "refused", [](VecCase& c) {
        std::string members;
        const std::string name = c.text("Name");
        const std::string fault = readAll(c.base64("Archive"), members);
        EXPECT_TRUE(!fault.empty() && saysOneOf(fault, c.text("Fault")))
            << c.where() << name << ": " << fault;
    });
}

TEST(ZipArchive, EveryTruncationIsRefused) {
    forEachVector("zip/archives.vec", "sound", [](VecCase& c) {
        const Bytes archive = c.base64("Archive");
        const std::string name = c.text("Name") + c.textOr("Members", "");
        std::string members;
        for (std::size_t size = 0; size < archive.size(); ++size) {
            ASSERT_NE(readAll(ByteView(archive).first(size), members), "") << name << size;
        }
    });
}

// Nothing but what no reader of contents looks at (times, versions, attributes, comments, the
// padding of fields) may be changed without a word.
TEST(ZipArchive, ChangedBytesNeverChangeContents) {
    forEachVector("zip/archives.vec", "sound", [](VecCase& c) {
        const Bytes archive = c.base64("Archive");
        const std::string name = c.text("Name");
        std::string before;
        EXPECT_EQ(readAll(archive, before), "") << name;
        EXPECT_EQ(before, c.textOr("Members", "")) << name;
        const auto contentsOf = [](std::string members) {
            std::string out; // sizes and sums
            for (std::size_t at = 0; at < members.size();) {
                const std::size_t end = std::min(members.find('|', at), members.size());
                const std::string one = members.substr(at, end - at);
                out += one.substr(std::min(one.find(':'), one.size()));
                at = end + 1;
            }
            return out;
        };
        for (std::size_t at = 0; at < archive.size(); ++at) {
            Bytes changed = archive;
            changed[at] ^= 0x20;
            std::string after;
            if (readAll(changed, after).empty()) {
                EXPECT_EQ(contentsOf(after), contentsOf(before)) << name << " " << at;
            }
        }
    });
}

TEST(ZipArchive, LimitsAreNamed) {
    forEachVector("zip/archives.vec", "sound", [](VecCase& c) {
        const Bytes archive = c.base64("Archive");
        if (c.text("Name") == "zipfile") {
            std::string members;
            EXPECT_TRUE(saysOneOf(readAll(archive, members, {2, 1000, 1000, 9}), "packageMembers"));
            EXPECT_TRUE(
                saysOneOf(readAll(archive, members, {3, 499, 1000, 9}), "packageMemberOctets"));
            EXPECT_TRUE(saysOneOf(readAll(archive, members, {3, 500, 509, 9}), "packageOctets"));
            EXPECT_EQ(readAll(archive, members, {3, 500, 510, 0}), "")
                << "small ones have no ratio";
        }
        static_cast<void>(c.textOr("Members", ""));
    });
}

TEST(ZipArchive, NamesAreFoundInAnyCaseAndLeadNowhereElse) {
    forEachVector("zip/archives.vec", "sound", [](VecCase& c) {
        ZipArchive archive;
        std::string fault;
        EXPECT_TRUE(archive.open(accessTo(c.base64("Archive")), kAmple, fault)) << fault;
        if (c.text("Name") == "ZIP64 end") {
            EXPECT_EQ(archive.find("B/C"), nullptr);
            ASSERT_NE(archive.findAnyCase("B/C"), nullptr);
            EXPECT_EQ(archive.findAnyCase("B/C")->name, "b/c");
            EXPECT_EQ(archive.findAnyCase("c"), nullptr);
        }
        static_cast<void>(c.textOr("Members", ""));
    });
}

} // namespace

} // namespace vantrel::test
