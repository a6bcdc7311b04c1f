#include "tests/dsig/document_case.h"

#include "foundation/base/ClsBinData.h"
#include "foundation/x509/ClsXmlCertVault.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "tests/support/bytes.h"

#include <gtest/gtest.h>

namespace vantrel::test {

json::JsonValue readManifest(const std::string& path, const char* list) {
    json::JsonValue manifest;
    std::size_t faultAt = 0;
    if (!json::parseJson(readText(path), manifest, faultAt)) {
        ADD_FAILURE() << path << ": not JSON at byte " << faultAt;
        return json::JsonValue();
    }
    const json::JsonValue* const entries = manifest.find(list);
    if (entries == nullptr || entries->elements().empty()) {
        ADD_FAILURE() << path << ": no entries in " << list;
        return json::JsonValue();
    }
    return *entries;
}

std::string textOf(const json::JsonValue& object, const char* name) {
    const json::JsonValue* const value = object.find(name);
    return value != nullptr ? std::string(value->text()) : std::string();
}

std::int64_t integerOf(const json::JsonValue& object, const char* name) {
    const json::JsonValue* const value = object.find(name);
    std::int64_t number = -1;
    return value != nullptr && value->integer(number) ? number : -1;
}

void loadDocument(ClsXmlDSig& verifier, const std::string& path) {
    ClsBinData data;
    data.data().append(ByteView(readFile(path)));
    ASSERT_TRUE(verifier.LoadSignatureBd(data)) << path << "\n" << logOf(verifier);
}

namespace {

void supplyCertificates(ClsXmlDSig& verifier, const json::JsonValue& key,
                        const std::string& folder) {
    const json::JsonValue* const files = key.find("cert_store");
    if (files == nullptr) {
        return;
    }
    ClsXmlCertVault vault;
    for (const json::JsonValue& file : files->elements()) {
        XString path(folder + "/" + std::string(file.text()));
        ASSERT_TRUE(vault.AddCertFile(path)) << path.getUtf8();
    }
    ASSERT_TRUE(verifier.UseCertVault(vault));
}

} // namespace

void supplyKeysAndData(ClsXmlDSig& verifier, const json::JsonValue& entry,
                       const std::string& folder) {
    if (const json::JsonValue* const key = entry.find("key"); key != nullptr) {
        if (const std::string hex = textOf(*key, "hmac_hex"); !hex.empty()) {
            XString secret(hex);
            XString encoding("hex");
            ASSERT_TRUE(verifier.SetHmacKey(secret, encoding));
        }
        if (const std::string file = textOf(*key, "public_key"); !file.empty()) {
            Ref<ClsPublicKey> publicKey = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
            // A key of a kind that is not supported leaves the signature without one.
            if (publicKey->LoadFromFile(XString(folder + "/" + file))) {
                ASSERT_TRUE(verifier.SetPublicKey(*publicKey));
            }
        }
        supplyCertificates(verifier, *key, folder);
    }
    if (const json::JsonValue* const external = entry.find("external"); external != nullptr) {
        for (const json::JsonValue& one : external->elements()) {
            if (const std::string file = textOf(one, "file"); !file.empty()) {
                XString path(folder + "/" + file);
                ASSERT_TRUE(
                    verifier.SetRefDataFile(static_cast<int>(integerOf(one, "reference")), path));
            }
        }
    }
}

std::string logOf(ClsXmlDSig& verifier) {
    XString text;
    verifier.get_LastErrorText(text);
    return text.getUtf8();
}

json::JsonValue reportOf(ClsXmlDSig& verifier) {
    XString text;
    verifier.get_LastJsonData(text);
    json::JsonValue report;
    std::size_t faultAt = 0;
    EXPECT_TRUE(json::parseJson(text.getUtf8Sb().view(), report, faultAt)) << text.getUtf8();
    return report;
}

} // namespace vantrel::test
