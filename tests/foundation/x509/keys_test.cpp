// SPDX-License-Identifier: MIT
// Public keys in every form that is read.
#include "foundation/crypto/dsa/DsaKeyData.h"
#include "foundation/crypto/ecc/EccVerifier.h"
#include "foundation/crypto/rsa/RsaKeyData.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "tests/support/bytes.h"
#include "tests/support/live_objects.h"
#include "tests/support/vectors.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel {

namespace {

using test::Bytes;

// Keeps the reason that stands beside the error line.
class ReasonLog final : public LogBase {
public:
    void LogError(const char* /*text*/) override { ++errors; }
    void LogInfo(const char* /*text*/) override {}
    void enterContext(const char* /*name*/) override {}
    void leaveContext() override {}
    void logText(const char* key, std::string_view value) override {
        if (std::string_view(key) == "reason") {
            reason = value;
        }
    }
    void LogBracketed(const char* /*key*/, std::string_view /*text*/) override {}
    void setLastJsonData(const StringBuffer& /*json*/) override {}
    void clearLastJsonData() override {}
    [[nodiscard]] bool isRecording() const noexcept override { return true; }

    int errors = 0;
    std::string reason;
};

Ref<ClsPublicKey> newKey() { return Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls()); }

// "der:3082..." and so on, as the bytes of a file.
Bytes bytesOfForm(const std::string& form) {
    const std::string content = form.substr(form.find(':') + 1);
    return form.starts_with("der:") ? test::fromHex(content)
                                    : test::bytesOf(test::unescape(content));
}

bool loadForm(ClsPublicKey& key, const std::string& form, LogBase& log) {
    return key.loadAnyBytes(bytesOfForm(form), log);
}

std::vector<std::string> numbersOf(const ClsPublicKey& key) {
    std::vector<ByteView> numbers;
    if (const RsaKeyData* const rsa = key.key().getRsaKeyPtr()) {
        numbers = {rsa->modulus(), rsa->exponent()};
    } else if (const DsaKeyData* const dsa = key.key().getDsaKeyPtr()) {
        numbers = {dsa->p(), dsa->q(), dsa->g(), dsa->y()};
    } else if (const EccVerifier* const ec = key.key().getEccKeyPtr()) {
        numbers = {ec->point()};
    }
    std::vector<std::string> hex;
    for (const ByteView number : numbers) {
        hex.push_back(test::toHex(number));
    }
    return hex;
}

} // namespace

TEST(PublicKey, EveryFormGivesTheSameKey) {
    const test::LiveObjectCheck live;
    test::forEachVector("x509/keys.vec", "Keys", [](test::VecCase& c) {
        const std::string type = c.text("Type");
        const auto bits = static_cast<unsigned>(c.integer("Bits"));
        const std::string curve = c.textOr("Curve", "");
        const std::vector<std::string> numbers = c.all("Number");
        for (const std::string& form : c.all("Form")) {
            SCOPED_TRACE(c.where() + form.substr(0, 60));
            ReasonLog log;
            const Ref<ClsPublicKey> key = newKey();
            ASSERT_TRUE(loadForm(*key, form, log)) << log.reason;
            EXPECT_EQ(key->keyType(), type);
            EXPECT_EQ(key->keyBits(), bits);
            EXPECT_EQ(key->curveName(), curve);
            EXPECT_EQ(key->isWeak(), bits == 1024 || bits == 192);
            EXPECT_EQ(key->key().getRsaKeyPtr() != nullptr, type == "RSA");
            EXPECT_EQ(key->key().getDsaKeyPtr() != nullptr, type == "DSA");
            EXPECT_EQ(key->key().getEccKeyPtr() != nullptr, type == "EC");
            EXPECT_EQ(numbersOf(*key), numbers);
            if (form.starts_with("xml:")) {
                EXPECT_TRUE(key->LoadXml(XString(test::unescape(form.substr(4)))));
            }
        }
    });
}

TEST(PublicKey, RefusedWithTheReason) {
    const test::LiveObjectCheck live;
    test::forEachVector("x509/keys.vec", "BadKeys", [](test::VecCase& c) {
        const std::string form = c.text("Form");
        const std::string reason = c.text("Reason");
        ReasonLog log;
        const Ref<ClsPublicKey> key = newKey();
        // A key that was there before is gone.
        ASSERT_TRUE(
            loadForm(*key, test::readVectors("x509/keys.vec", "Keys")[3].all("Form")[0], log));
        EXPECT_FALSE(loadForm(*key, form, log)) << c.where();
        EXPECT_EQ(log.reason, reason) << c.where();
        EXPECT_EQ(log.errors, 1) << c.where();
        EXPECT_TRUE(key->isEmpty()) << c.where();
    });
}

// Every truncation is refused; a changed byte is refused or gives some other valid key.
TEST(PublicKey, DamagedDerNeverCrashes) {
    test::RandomBytes random(7);
    for (test::VecCase& c : test::readVectors("x509/keys.vec", "Keys")) {
        for (const std::string& form : c.all("Form")) {
            const Bytes good = bytesOfForm(form);
            if (!form.starts_with("der:") || good.size() > 200) {
                continue;
            }
            const Ref<ClsPublicKey> key = newKey();
            LogNull log;
            for (std::size_t size = 0; size < good.size(); ++size) {
                EXPECT_FALSE(key->loadAnyDer(ByteView(good).first(size), log)) << size;
            }
            for (std::size_t at = 0; at < good.size(); ++at) {
                Bytes changed = good;
                changed[at] = static_cast<std::uint8_t>(changed[at] ^ (1U + random.below(255)));
                const bool loaded = key->loadAnyDer(ByteView(changed), log);
                EXPECT_EQ(loaded, !key->isEmpty());
            }
        }
    }
}

} // namespace vantrel
