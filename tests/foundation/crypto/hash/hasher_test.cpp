// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/hasher.h"

#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/io/_vlDataSource.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "tests/support/bytes.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {

namespace {

using crypto::Hasher;
using crypto::HashKernel;

constexpr int kAllHashes[] = {kHashSha1,    kHashSha384,   kHashSha512,    kHashMd2,
                              kHashMd5,     kHashSha256,   kHashRipemd128, kHashRipemd160,
                              kHashSha224,  kHashSha3_224, kHashSha3_256,  kHashSha3_384,
                              kHashSha3_512};

std::string nameOf(int id, const HashKernel& kernel) {
    return std::string(crypto::findHash(id)->name) + " " + std::string(kernel.name) + " ";
}

Bytes finish(Hasher& hasher) {
    Bytes digest(hasher.digestSize());
    hasher.final(digest);
    return digest;
}

Bytes digestOf(int id, const HashKernel& kernel, ByteView message) {
    Hasher hasher(id, kernel);
    hasher.update(message);
    return finish(hasher);
}

// The message of a vector, absorbed; see the comment of hash.vec.
Bytes digestOfCase(VecCase& c, int id, const HashKernel& kernel) {
    if (c.has("First")) {
        Bytes pattern(6000);
        for (std::size_t i = 0; i < pattern.size(); ++i) {
            pattern[i] = static_cast<std::uint8_t>(i * 7 + (i >> 8) * 13);
        }
        Hasher all(id, kernel);
        const auto last = static_cast<std::size_t>(c.integer("Last"));
        const auto step = static_cast<std::size_t>(c.integer("Step"));
        for (auto n = static_cast<std::size_t>(c.integer("First")); n <= last; n += step) {
            all.update(digestOf(id, kernel, ByteView(pattern).first(n)));
        }
        return finish(all);
    }
    const Bytes message = c.hex("Msg");
    const auto repeat = static_cast<std::size_t>(c.integerOr("Repeat", 1));
    Hasher hasher(id, kernel);
    for (std::size_t i = 0; i < repeat; ++i) {
        hasher.update(message);
    }
    return finish(hasher);
}

// Calls run(id, kernel) for every kernel that may run here.
template <typename Run> void forEachKernel(Run run) {
    for (const int id : kAllHashes) {
        for (const HashKernel& kernel : crypto::hashKernels(id)) {
            if (cpu::supports(kernel.needs)) {
                run(id, kernel);
            }
        }
    }
}

void checkEveryKernel(VecCase& c, int id) {
    const Bytes digest = c.hex("Digest");
    for (const HashKernel& kernel : crypto::hashKernels(id)) {
        if (cpu::supports(kernel.needs)) {
            EXPECT_EQ(toHex(digestOfCase(c, id, kernel)), toHex(digest))
                << c.where() << kernel.name;
        } else {
            c.skip(kernel.name);
        }
    }
}

TEST(Hasher, KnownAnswersFromEveryKernel) {
    for (const int id : kAllHashes) {
        forEachVector("crypto/hash/hash.vec", crypto::findHash(id)->name,
                      [id](VecCase& c) { checkEveryKernel(c, id); });
    }
}

TEST(Hasher, MessagesBeyondFourGigabits) {
    forEachVector("crypto/hash/hash.vec", "long", [](VecCase& c) {
        Hasher hasher(static_cast<int>(c.integer("Hash")));
        const Bytes piece(std::size_t{1} << 20, c.hex("Msg").at(0));
        for (std::int64_t left = c.integer("Repeat"); left > 0; left -= 1 << 20) {
            hasher.update(piece);
        }
        EXPECT_EQ(toHex(finish(hasher)), toHex(c.hex("Digest"))) << c.where();
    });
}

// `message` cut at every place in two, with a copy made at the cut, and fed byte by byte.
void checkCuts(int id, const HashKernel& kernel, ByteView message) {
    const Bytes digest = digestOf(id, kernel, message);
    for (std::size_t cut = 0; cut <= message.size(); ++cut) {
        Hasher hasher(id, kernel);
        hasher.update(message.first(cut));
        Hasher copy = hasher;
        hasher.update(message.subspan(cut));
        copy.update(message.subspan(cut));
        ASSERT_EQ(finish(hasher), digest) << nameOf(id, kernel) << message.size() << " at " << cut;
        ASSERT_EQ(finish(copy), digest) << nameOf(id, kernel) << message.size() << " at " << cut;
    }
    Hasher bytewise(id, kernel);
    for (const std::uint8_t byte : message) {
        bytewise.update(byte);
    }
    ASSERT_EQ(finish(bytewise), digest) << nameOf(id, kernel) << message.size();
}

// Every length up to two of the largest blocks and some.
TEST(Hasher, ResultDoesNotDependOnHowTheMessageIsCut) {
    const Bytes message = RandomBytes(1).bytes(310);
    forEachKernel([&message](int id, const HashKernel& kernel) {
        const std::size_t longest = id == kHashMd2 ? 50 : message.size();
        for (std::size_t size = 0; size <= longest; ++size) {
            checkCuts(id, kernel, ByteView(message).first(size));
        }
    });
}

// Random sizes at random addresses, up to several batches of the widest kernel, as one call to the
// compression function and as several.
TEST(Hasher, EveryKernelAgreesWithThePortableOne) {
    RandomBytes random(2);
    const Bytes pool = random.bytes(9000);
    forEachKernel([&](int id, const HashKernel& kernel) {
        const HashKernel& portable = crypto::hashKernels(id).back();
        if (portable.run == kernel.run) {
            return;
        }
        for (int round = 0; round < 300; ++round) {
            const std::size_t offset = random.below(64);
            const std::size_t size = random.below(pool.size() - offset);
            const ByteView message = ByteView(pool).subspan(offset, size);
            const std::size_t cut = random.below(size + 1);
            Hasher hasher(id, kernel);
            hasher.update(message.first(cut));
            hasher.update(message.subspan(cut));
            ASSERT_EQ(finish(hasher), digestOf(id, portable, message))
                << nameOf(id, kernel) << offset << " " << size << " " << cut;
        }
    });
}

TEST(Hasher, UnknownIdentifierYieldsNothing) {
    for (const int id : {-1, 0, 6, 8, 11, 255, 256 + kHashSha1, 1 << 30}) {
        Hasher hasher(id);
        hasher.update(asBytes("abc"));
        std::uint8_t out[crypto::kMaxDigestSize];
        EXPECT_FALSE(hasher.valid()) << id;
        EXPECT_TRUE(hasher.final(out).empty()) << id;
        EXPECT_TRUE(crypto::hashKernels(id).empty()) << id;

        DataBuffer digest(asBytes("kept"));
        _vlHash::doHash("abc", 3, id, digest);
        EXPECT_EQ(asText(digest.view()), "kept") << id;
    }
}

TEST(VlHash, AppendsTheDigest) {
    for (const int id : kAllHashes) {
        const Bytes expected = digestOf(id, crypto::hashKernels(id).back(), asBytes("abc"));
        const Bytes ofNothing = digestOf(id, crypto::hashKernels(id).back(), {});
        DataBuffer out(asBytes("x"));
        _vlHash::doHash("abc", 3, id, out);
        _vlHash::doHash(nullptr, 0, id, out);
        Bytes both = bytesOf("x");
        both.insert(both.end(), expected.begin(), expected.end());
        both.insert(both.end(), ofNothing.begin(), ofNothing.end());
        EXPECT_EQ(toHex(out.view()), toHex(both)) << id;
    }
}

// Hands out a message in pieces of changing sizes; fails when `failAt` bytes were handed out.
class PiecewiseSource final : public _vlDataSource {
public:
    PiecewiseSource(ByteView message, std::size_t failAt) : m_rest(message), m_failAt(failAt) {}

    bool readSource(std::span<std::uint8_t> room, std::size_t& count, LogBase& /*log*/) override {
        if (m_given >= m_failAt) {
            return false;
        }
        m_piece = m_piece * 5 % 9973 + 1;
        count = std::min({m_piece, room.size(), m_rest.size(), m_failAt - m_given});
        std::copy_n(m_rest.begin(), count, room.begin());
        m_rest = m_rest.subspan(count);
        m_given += count;
        return true;
    }

private:
    ByteView m_rest;
    std::size_t m_failAt;
    std::size_t m_given = 0;
    std::size_t m_piece = 1;
};

TEST(VlHash, StreamsGiveTheDigestOfTheirBytes) {
    const Bytes message = RandomBytes(4).bytes(200000);
    LogNull log;
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, message.size()}) {
        const ByteView bytes = ByteView(message).first(size);
        DataBuffer expected(asBytes("x"));
        _vlHash::doHash(bytes.data(), static_cast<std::uint32_t>(size), kHashSha384, expected);
        PiecewiseSource source(bytes, SIZE_MAX);
        DataBuffer out(asBytes("x"));
        DataBuffer content;
        EXPECT_TRUE(_vlHash::hashDataSource(source, kHashSha384, &content, out, nullptr, log));
        EXPECT_TRUE(out.equals(expected)) << size;
        EXPECT_TRUE(std::ranges::equal(content.view(), bytes)) << size;
    }
    for (const std::size_t failAt : {std::size_t{0}, std::size_t{1}, std::size_t{150000}}) {
        PiecewiseSource source(message, failAt);
        DataBuffer out(asBytes("x"));
        EXPECT_FALSE(_vlHash::hashDataSource(source, kHashSha1, nullptr, out, nullptr, log));
        EXPECT_EQ(asText(out.view()), "x") << failAt;
    }
    PiecewiseSource source(message, SIZE_MAX);
    DataBuffer out;
    EXPECT_FALSE(_vlHash::hashDataSource(source, kHashNone, nullptr, out, nullptr, log));
    EXPECT_TRUE(out.isEmpty());
}

TEST(VlHash, ObjectIdentifiers) {
    const std::pair<const char*, int> known[] = {
        {"1.3.14.3.2.26", kHashSha1},
        {"2.16.840.1.101.3.4.2.1", kHashSha256},
        {"2.16.840.1.101.3.4.2.2", kHashSha384},
        {"2.16.840.1.101.3.4.2.3", kHashSha512},
        {"1.2.840.113549.2.2", kHashMd2},
        {"1.2.840.113549.2.5", kHashMd5},
        {"1.3.36.3.2.1", kHashRipemd160},
        {"1.3.36.3.2.2", kHashRipemd128},
        {"2.16.840.1.101.3.4.2.4", kHashSha224},
        {"2.16.840.1.101.3.4.2.10", kHashSha3_512},
        {"2.16.840.1.101.3.4.2.5", kHashNone},
        {"1.3.14.3.2.2", kHashNone},
        {"1.3.14.3.2.26.1", kHashNone},
        {"", kHashNone},
    };
    for (const auto& [oid, id] : known) {
        EXPECT_EQ(_vlHash::oidToHashAlg(StringBuffer(oid)), id) << oid;
    }
}

} // namespace

} // namespace vantrel::test
