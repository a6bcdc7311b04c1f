// SPDX-License-Identifier: MIT
#include "foundation/crypto/mac/Hmac.h"

#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/mac/constant_time.h"
#include "foundation/json/json_value.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "tests/support/bytes.h"
#include "tests/support/corpus.h"
#include "tests/support/vectors.h"

#include <climits>
#include <string>

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

std::string_view member(const json::JsonValue& object, std::string_view name) {
    const json::JsonValue* const value = object.find(name);
    return value != nullptr ? value->text() : std::string_view();
}

// One Wycheproof case: the code, cut to the size of the group's tags, equals the tag exactly when
// the case is valid. The files have no "acceptable" cases.
void checkWycheproofCase(const json::JsonValue& test, std::size_t tagSize, int hashId) {
    const Bytes key = fromHex(member(test, "key"));
    const Bytes message = fromHex(member(test, "msg"));
    const Bytes tag = fromHex(member(test, "tag"));
    LogNull log;
    DataBuffer out;
    ASSERT_TRUE(
        Hmac::doHMAC(message.data(), sizeOf(message), key.data(), sizeOf(key), hashId, out, log));
    const bool equal = crypto::constantTimeEqual(out.view().first(tagSize), tag);
    EXPECT_EQ(equal ? "valid" : "invalid", member(test, "result")) << member(test, "tcId");
}

TEST(Hmac, Wycheproof) {
    struct File {
        const char* name;
        int hashId;
        int cases;
    };
    for (const File& file : {File{"hmac_sha1_test.json", kHashSha1, 170},
                             File{"hmac_sha256_test.json", kHashSha256, 174},
                             File{"hmac_sha384_test.json", kHashSha384, 174},
                             File{"hmac_sha512_test.json", kHashSha512, 174}}) {
        SCOPED_TRACE(file.name);
        VANTREL_NEED_CORPUS(path, std::string("wycheproof/") + file.name);
        const std::string content = readText(path);
        json::JsonValue root;
        std::size_t faultAt = 0;
        ASSERT_TRUE(json::parseJson(content, root, faultAt)) << faultAt;
        int cases = 0;
        for (const json::JsonValue& group : root.find("testGroups")->elements()) {
            std::int64_t tagBits = 0;
            ASSERT_TRUE(group.find("tagSize")->integer(tagBits));
            for (const json::JsonValue& test : group.find("tests")->elements()) {
                checkWycheproofCase(test, static_cast<std::size_t>(tagBits / 8), file.hashId);
                ++cases;
            }
        }
        EXPECT_EQ(cases, file.cases);
    }
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
