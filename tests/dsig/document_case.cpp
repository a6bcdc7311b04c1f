// SPDX-License-Identifier: MIT
#include "tests/dsig/document_case.h"

#include "dsig/reference/DSigReference.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/x509/ClsXmlCertVault.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "tests/support/bytes.h"

#include <algorithm>
#include <string_view>

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

void loadText(ClsXmlDSig& verifier, const std::string& document) {
    XString text(document);
    ASSERT_TRUE(verifier.LoadSignature(text)) << logOf(verifier);
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

namespace {

std::string base64Of(const DataBuffer& bytes) {
    StringBuffer text;
    bytes.encodeDB("base64", text);
    return std::string(text.view());
}

// The leniencies by which a digest is accepted that is not the stored text.
bool isOtherThanStored(const json::JsonValue& reference) {
    const auto& codes = reference.find("accommodations")->elements();
    return std::any_of(codes.begin(), codes.end(), [](const auto& code) {
        return code.text().starts_with("digest.") || code.text().starts_with("zatca.");
    });
}

// The digest of what is handed out is the one of the report, and where that matches, the stored
// one.
void expectDigestedOctets(const std::function<void(ClsXmlDSig&)>& prepare,
                          const json::JsonValue& reference, const std::string& where) {
    const std::string place = where + " reference " + textOf(reference, "uri");
    const json::JsonValue& digests = *reference.find("digest");
    ClsXmlDSig verifier;
    prepare(verifier);
    ClsBinData octets;
    if (!verifier.DigestInput(static_cast<int>(integerOf(reference, "index")), octets)) {
        EXPECT_NE(textOf(reference, "status"), "match") << place;
        EXPECT_EQ(textOf(digests, "computed"), "") << place;
        return;
    }
    DSigReference method;
    method.m_digestMethod = StringBuffer(textOf(reference, "digestMethod"));
    method.m_digestValue = StringBuffer(textOf(digests, "stored"));
    if (!hasAccommodation(reference, "digest.unknown-sha1")) {
        method.knowStandardDigests();
    }
    DataBuffer digest;
    _vlHash::doHash(octets.data().getData2(), octets.data().getSize(), method.getHashAlg(), digest);
    EXPECT_EQ(textOf(digests, "computed"), base64Of(digest)) << place;
    if (textOf(reference, "status") == "match" && !isOtherThanStored(reference)) {
        EXPECT_EQ(textOf(digests, "stored"), textOf(digests, "computed")) << place;
    }
}

} // namespace

void expectOctetsOfVerification(const std::function<void(ClsXmlDSig&)>& prepare,
                                const std::string& where) {
    ClsXmlDSig verifier;
    prepare(verifier);
    verifier.put_VerboseLogging(true);
    verifier.VerifySignature(true);
    const std::string log = logOf(verifier);
    const json::JsonValue report = reportOf(verifier);
    for (const json::JsonValue& reference : report.find("references")->elements()) {
        expectDigestedOctets(prepare, reference, where);
    }

    ClsXmlDSig other;
    prepare(other);
    ClsBinData octets;
    const bool given = other.SignedInfoOctets(octets);
    const std::string key = "canonicalizedSignedInfo: [";
    const std::size_t at = log.find(key);
    if (at == std::string::npos) {
        return; // the verification did not come so far
    }
    ASSERT_TRUE(given) << where << logOf(other);
    const std::string_view logged = std::string_view(log).substr(at + key.size());
    if (hasAccommodation(report, "zatca.rules")) {
        EXPECT_TRUE(logged.starts_with(base64Of(octets.data()) + "]")) << where;
    } else {
        EXPECT_TRUE(logged.starts_with(std::string(asText(octets.data().view())) + "]")) << where;
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
