#include "foundation/crypto/mac/Hmac.h"

#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/mac/constant_time.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "tests/support/bytes.h"
#include "tests/support/vectors.h"

#include <climits>

#include <gtest/gtest.h>

namespace vantrel::test {

namespace {

int sizeOf(const Bytes& bytes) { return static_cast<int>(bytes.size()); }

TEST(Hmac, KnownAnswers) {
    forEachVector("crypto/mac/hmac.vec", "", [](VecCase& c) {
        const Bytes key = c.hex("Key");
        const Bytes message = c.hex("Msg");
        LogNull log;
        DataBuffer out(asBytes("x"));
        ASSERT_TRUE(Hmac::doHMAC(message.data(), sizeOf(message), key.data(), sizeOf(key),
                                 static_cast<int>(c.integer("Hash")), out, log))
            << c.where();
        Bytes expected = c.hex("Mac");
        expected.insert(expected.begin(), 'x');
        EXPECT_EQ(toHex(out.view()), toHex(expected)) << c.where();
    });
}

TEST(Hmac, RefusesWhatItCannotCompute) {
    LogNull log;
    DataBuffer out(asBytes("kept"));
    for (const int id : {-1, 0, 6, 8, 11, INT_MAX}) {
        EXPECT_FALSE(Hmac::doHMAC("data", 4, "key", 3, id, out, log)) << id;
    }
    EXPECT_FALSE(Hmac::doHMAC("data", -1, "key", 3, kHashSha256, out, log));
    EXPECT_FALSE(Hmac::doHMAC("data", 4, "key", INT_MIN, kHashSha256, out, log));
    EXPECT_EQ(asText(out.view()), "kept");
}

TEST(ConstantTime, EqualOnlyWhenEveryByteIs) {
    const Bytes code = RandomBytes(3).bytes(64);
    for (std::size_t size = 1; size <= code.size(); ++size) {
        const ByteView a = ByteView(code).first(size);
        Bytes b(a.begin(), a.end());
        EXPECT_TRUE(crypto::constantTimeEqual(a, b));
        for (std::size_t bit = 0; bit < size * 8; ++bit) {
            b[bit / 8] = static_cast<std::uint8_t>(b[bit / 8] ^ (1U << bit % 8));
            EXPECT_FALSE(crypto::constantTimeEqual(a, b)) << size << " " << bit;
            b[bit / 8] = a[bit / 8];
        }
        EXPECT_FALSE(crypto::constantTimeEqual(a, ByteView(code).first(size - 1)));
    }
    EXPECT_FALSE(crypto::constantTimeEqual({}, {}));
}

} // namespace

} // namespace vantrel::test
