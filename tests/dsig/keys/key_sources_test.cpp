// SPDX-License-Identifier: MIT
// Every key and certificate that a KeyInfo can carry or name, end to end on signed messages.

#include "dsig/keys/known_to_caller.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/base/ClsStringArray.h"
#include "foundation/keyfile/key_file.h"
#include "foundation/x509/ClsXmlCertVault.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "foundation/x509/oids.h"
#include "foundation/xml/tree/ClsXml.h"
#include "tests/dsig/document_case.h"
#include "tests/foundation/x509/certificate_corpus.h"
#include "tests/support/corpus.h"
#include "tests/support/key_messages.h"
#include "tests/support/live_objects.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <set>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

Ref<ClsPublicKey> publicKeyNamed(const std::string& name) {
    Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
    LogNull log;
    EXPECT_TRUE(key->loadAnyBytes(ByteView(fromBase64(keyValueNamed(name))), log)) << name;
    return key;
}

std::string joined(const std::vector<std::string>& all) {
    std::string out;
    for (const std::string& one : all) {
        out += (out.empty() ? "" : " ") + one;
    }
    return out;
}

std::string joinedTexts(const std::vector<std::string>& all) {
    std::string out;
    for (const std::string& one : all) {
        out += one;
    }
    return out;
}

std::string documentOf(VecCase& c) {
    std::string text = keyMessage(c.textOr("Document", "message"), joinedTexts(c.all("Token")),
                                  joinedTexts(c.all("KeyInfo")));
    for (const std::string& change : c.all("Change")) {
        const std::size_t arrow = change.find(" => ");
        const std::size_t at = text.find(change.substr(0, arrow));
        EXPECT_NE(at, std::string::npos) << c.where() << change;
        text.replace(at, arrow, change.substr(arrow + 4));
    }
    return text;
}

void prepare(VecCase& c, ClsXmlDSig& verifier) {
    if (const std::string names = c.textOr("Vault", ""); !names.empty()) {
        ClsXmlCertVault vault;
        for (const std::string& name : wordsOf(names)) {
            ASSERT_TRUE(vault.AddCertEncoded(XString(keyValueNamed(name)))) << c.where() << name;
        }
        ASSERT_TRUE(verifier.UseCertVault(vault)) << c.where();
    }
    verifier.put_VerboseLogging(c.booleanOr("Verbose", false));
    loadText(verifier, documentOf(c));
    if (const std::string name = c.textOr("Key", ""); !name.empty()) {
        ASSERT_TRUE(verifier.SetPublicKey(*publicKeyNamed(name))) << c.where();
    }
}

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

void checkLines(VecCase& c, const char* wanted, const char* unwanted, const std::string& log) {
    for (const std::string& line : c.all(wanted)) {
        EXPECT_NE(log.find(withKeyValues(line)), std::string::npos)
            << c.where() << "not in the log: " << line << "\n"
            << log;
    }
    for (const std::string& line : c.all(unwanted)) {
        EXPECT_EQ(log.find(line), std::string::npos) << c.where() << "in the log: " << line << "\n"
                                                     << log;
    }
}

std::set<std::string> textsOf(const json::JsonValue& report, const char* name) {
    std::set<std::string> all;
    for (const json::JsonValue& word : report.find(name)->elements()) {
        all.emplace(word.text());
    }
    return all;
}

void checkReport(VecCase& c, ClsXmlDSig& verifier) {
    const json::JsonValue report = reportOf(verifier);
    std::vector<std::string> sources;
    for (const json::JsonValue& key : report.find("keys")->elements()) {
        sources.push_back(textOf(key, "source") + (key.find("used") != nullptr ? "*" : ""));
    }
    EXPECT_EQ(joined(sources), c.text("Sources")) << c.where() << logOf(verifier);
    EXPECT_EQ(textOf(report, "reason").empty(), c.boolean("Valid")) << c.where();
    const std::set<std::string> warnings = textsOf(report, "warnings");
    for (const std::string& word : c.all("Warning")) {
        EXPECT_EQ(warnings.count(word), 1U) << c.where() << word;
    }
    for (const std::string& word : c.all("NoWarning")) {
        EXPECT_EQ(warnings.count(word), 0U) << c.where() << word;
    }
    if (c.has("Accommodations")) {
        const std::set<std::string> codes = textsOf(report, "accommodations");
        EXPECT_EQ(joined({codes.begin(), codes.end()}), c.text("Accommodations")) << c.where();
    }
}

void checkCerts(VecCase& c, ClsXmlDSig& verifier) {
    ClsStringArray found;
    found.appendUtf8("kept");
    EXPECT_EQ(verifier.GetCerts(found), !c.booleanOr("CertsFail", false))
        << c.where() << logOf(verifier);
    EXPECT_FALSE(verifier.get_LastMethodSuccess()) << c.where();
    if (c.has("Certs")) {
        std::vector<std::string> expected = {"kept"};
        for (const std::string& name : wordsOf(c.text("Certs"))) {
            expected.push_back(keyValueNamed(name));
        }
        std::vector<std::string> got;
        for (int i = 0; i < found.get_Count(); ++i) {
            std::string text = found.getStringUtf8(i);
            std::erase_if(text, [](char ch) { return ch == '\n' || ch == '\r'; });
            got.push_back(text);
        }
        EXPECT_EQ(got, expected) << c.where() << logOf(verifier);
    }
    checkLines(c, "CertsLog", "NoCertsLog", logOf(verifier));
}

void checkFirstKey(VecCase& c, ClsXmlDSig& verifier) {
    const Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(verifier.GetPublicKey());
    if (c.has("First")) {
        EXPECT_EQ(!key ? "none"
                       : std::string(key->keyType()) + " " + std::to_string(key->keyBits()),
                  c.text("First"))
            << c.where();
    }
    XString json;
    verifier.get_LastJsonData(json);
    EXPECT_EQ(std::string(json.getUtf8()), "") << c.where() << "the result before is forgotten";
}

TEST(KeySources, GiveTheCandidatesTheVerdictAndTheLinesTheySay) {
    forEachVector("key_sources/cases.vec", "", [](VecCase& c) {
        SCOPED_TRACE(c.text("What"));
        const LiveObjectCheck live;
        ClsXmlDSig verifier;
        ASSERT_NO_FATAL_FAILURE(prepare(c, verifier));
        EXPECT_EQ(verifier.VerifySignature(true), c.boolean("Valid"))
            << c.where() << logOf(verifier);
        const std::string log = logOf(verifier);
        checkLines(c, "Log", "NoLog", log);
        for (const std::string& entry : c.all("LogTimes")) {
            EXPECT_EQ(countOf(log, entry.substr(entry.find(' ') + 1)), std::stoul(entry))
                << c.where() << entry << "\n"
                << log;
        }
        checkReport(c, verifier);
        checkCerts(c, verifier);
        checkFirstKey(c, verifier);
    });
}

std::string certificateElements(const std::vector<Bytes>& certificates) {
    std::string out = "<ds:X509Data>";
    for (const Bytes& der : certificates) {
        out += "<ds:X509Certificate>" + toBase64(der) + "</ds:X509Certificate>";
    }
    return out + "</ds:X509Data>";
}

// Certificates and keys of one KeyInfo with many damaged certificates: `refused` gets the number of
// those that are none.
void checkDamaged(const std::vector<Bytes>& damaged, std::size_t& accepted) {
    const LiveObjectCheck live;
    ClsXmlDSig verifier;
    std::vector<Bytes> all = damaged;
    all.push_back(fromBase64(keyValueNamed("signer"))); // the walk goes on to the last
    loadText(verifier, keyMessage("message", "", certificateElements(all)));
    ClsStringArray found;
    EXPECT_TRUE(verifier.GetCerts(found));
    const std::size_t refused = countOf(logOf(verifier), "Failed to parse X.509 certificate.");
    accepted = static_cast<std::size_t>(found.get_Count());
    EXPECT_EQ(accepted + refused, all.size());
    (void)verifier.VerifySignature(false);
    const std::string log = logOf(verifier);
    EXPECT_EQ(countOf(log, "Failed to parse X.509 certificate."), refused);
    const json::JsonValue report = reportOf(verifier);
    EXPECT_EQ(report.find("keys")->elements().size() +
                  countOf(log, "Failed to parse public key DER"),
              accepted);
}

TEST(KeySources, CertificatesCutAnywhereAreSkipped) {
    const Bytes whole = fromBase64(keyValueNamed("signer"));
    std::vector<Bytes> cut;
    for (std::size_t size = 1; size < whole.size(); ++size) {
        cut.emplace_back(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    }
    std::size_t accepted = 0;
    checkDamaged(cut, accepted);
    EXPECT_EQ(accepted, 1U);
}

// Every byte changed three ways; those that are still certificates are other ones or have other
// keys, none of which brings the walk down.
TEST(KeySources, CertificatesWithAnyByteChangedDoNoHarm) {
    const Bytes whole = fromBase64(keyValueNamed("ec"));
    for (const unsigned change : {0x01U, 0x80U, 0xFFU}) {
        std::vector<Bytes> changed;
        for (std::size_t at = 0; at < whole.size(); ++at) {
            changed.push_back(whole);
            changed.back()[at] = static_cast<std::uint8_t>(changed.back()[at] ^ change);
        }
        std::size_t accepted = 0;
        checkDamaged(changed, accepted);
        EXPECT_LT(accepted, whole.size()); // lengths and tags count
        EXPECT_GT(accepted, 100U);         // signature and key bits do not
    }
}

TEST(KeySources, HugeLengthsAndDeepNestingAreSkipped) {
    std::vector<Bytes> bad = {fromHex("3084FFFFFFFF"), fromHex("3088FFFFFFFFFFFFFFFF3000"),
                              fromHex("3080"), fromHex("30847FFFFFFF3082FFFF"), fromHex("30FF00")};
    bad.emplace_back(200000, 0x30);
    Bytes nested;
    for (int i = 0; i < 20000; ++i) {
        nested.insert(nested.end(), {0x30, 0x80});
    }
    bad.push_back(nested);
    std::size_t accepted = 0;
    checkDamaged(bad, accepted);
    EXPECT_EQ(accepted, 1U);
}

std::string pathToken(const Bytes& path) {
    return "<wsse:BinarySecurityToken wsu:Id=\"T\" ValueType=\"{X509PKIPathv1}\">" +
           toBase64(path) + "</wsse:BinarySecurityToken>";
}

const char* const kPathReference =
    "<wsse:SecurityTokenReference><wsse:Reference URI=\"#T\" ValueType=\"{X509PKIPathv1}\"/>"
    "</wsse:SecurityTokenReference>";

bool verifiesPath(const Bytes& path, std::string& log) {
    ClsXmlDSig verifier;
    loadText(verifier, keyMessage("message", pathToken(path), kPathReference));
    const bool verified = verifier.VerifySignature(true);
    log = logOf(verifier);
    return verified;
}

// A hundred certificates make a path, one more is an error.
TEST(KeySources, PkiPathsHaveALimit) {
    const Bytes one = fromBase64(keyValueNamed("signer"));
    for (const std::size_t count : {100U, 101U}) {
        Bytes path;
        for (std::size_t i = 0; i < count; ++i) {
            path.insert(path.end(), one.begin(), one.end());
        }
        const std::size_t size = path.size();
        path.insert(path.begin(), {0x30, 0x83, static_cast<std::uint8_t>(size >> 16U),
                                   static_cast<std::uint8_t>(size >> 8U & 0xFFU),
                                   static_cast<std::uint8_t>(size & 0xFFU)});
        std::string log;
        EXPECT_EQ(verifiesPath(path, log), count == 100) << log;
        EXPECT_EQ(log.find("more than 100 certificates") != std::string::npos, count > 100) << log;
    }
}

TEST(KeySources, ListsOfCertificatesHaveALimit) {
    const Bytes one = fromBase64(keyValueNamed("ec"));
    for (const std::size_t count : {1000U, 1001U}) {
        ClsXmlDSig verifier;
        loadText(verifier,
                 keyMessage("curve", "", certificateElements(std::vector<Bytes>(count, one))));
        EXPECT_EQ(verifier.VerifySignature(true), count == 1000) << count;
        ClsStringArray found;
        EXPECT_TRUE(verifier.GetCerts(found));
        EXPECT_EQ(found.get_Count(), count == 1000 ? 1000 : 0);
        EXPECT_EQ(logOf(verifier).find("more than 1000 certificates") == std::string::npos,
                  count == 1000);
    }
}

TEST(KeySources, PkiPathsCutAnywhereYieldNoKey) {
    const Bytes whole = fromBase64(keyValueNamed("path-of-one"));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        std::string log;
        EXPECT_FALSE(verifiesPath({whole.begin(), whole.begin() + static_cast<int>(size)}, log));
        EXPECT_NE(log.find("No public key available to verify signature."), std::string::npos)
            << size << log;
    }
}

// The slots of explicit keys: bound to the index, bounded, replaced, and kept by the next document.
TEST(KeySources, ExplicitKeysBelongToIndexes) {
    const LiveObjectCheck live;
    const std::string one = keyMessage("message", "", "");
    const std::size_t start = one.find("<ds:Signature ");
    const std::size_t end = one.find("</ds:Signature>") + 15;
    std::string many = one;
    for (int i = 0; i < 200; ++i) {
        many.insert(end, "<x>" + one.substr(start, end - start) + "</x>");
    }
    ClsXmlDSig verifier;
    loadText(verifier, many);
    ASSERT_EQ(verifier.get_NumSignatures(), 201);
    const Ref<ClsPublicKey> wrong = publicKeyNamed("other");
    const Ref<ClsPublicKey> right = publicKeyNamed("signer");
    for (const int index : {0, 199}) {
        verifier.put_Selector(index);
        EXPECT_TRUE(verifier.SetPublicKey(*wrong));
        EXPECT_TRUE(verifier.SetPublicKey(*right));
    }
    verifier.put_Selector(200);
    EXPECT_FALSE(verifier.SetPublicKey(*right));
    EXPECT_NE(logOf(verifier).find("Selector index is not sane."), std::string::npos);
    EXPECT_NE(logOf(verifier).find("m_selector: 200"), std::string::npos);

    loadText(verifier, one);
    EXPECT_TRUE(verifier.VerifySignature(true)) << logOf(verifier);
    EXPECT_EQ(verifier.GetPublicKey(), nullptr);
    EXPECT_EQ(verifier.GetKeyInfo(), nullptr);
    EXPECT_NE(logOf(verifier).find("No KeyInfo child."), std::string::npos);
    loadText(verifier, keyMessage("message", "", "<ds:KeyName>a</ds:KeyName>"));
    const Ref<ClsXml> keyInfo = Ref<ClsXml>::adopt(verifier.GetKeyInfo());
    ASSERT_TRUE(keyInfo);
    StringBuffer name;
    EXPECT_TRUE(keyInfo->getChildContentUtf8("*:KeyName", name, false));
    EXPECT_EQ(name.view(), "a");
}

TEST(KeySources, HmacKeysAreReplacedAsAWhole) {
    const std::string document = readText(sourcePath("examples/transfer-hmac.xml"));
    const Bytes secret = readFile(sourcePath("examples/keys/secret.bin"));
    ClsXmlDSig verifier;
    loadText(verifier, document);
    const auto give = [&](const std::string& text, const char* name) {
        XString key(text);
        XString encoding(name);
        return verifier.SetHmacKey(key, encoding);
    };
    EXPECT_TRUE(give(toHex(secret), "hex"));
    EXPECT_TRUE(verifier.VerifySignature(true)) << logOf(verifier);
    EXPECT_FALSE(give("not base64 !", "base64"));
    EXPECT_FALSE(verifier.VerifySignature(true)); // never with the old key
    EXPECT_TRUE(give(toBase64(secret), "base64"));
    EXPECT_TRUE(verifier.VerifySignature(true)) << logOf(verifier);
    EXPECT_FALSE(give(toHex(secret), "no-such-encoding"));
    EXPECT_FALSE(verifier.VerifySignature(true));
    EXPECT_NE(logOf(verifier).find("No HMAC key available to verify signature."),
              std::string::npos);
    EXPECT_TRUE(give(toHex(secret) + "01", "hex"));
    EXPECT_FALSE(verifier.VerifySignature(true));
    EXPECT_NE(logOf(verifier).find("HMAC validation failed."), std::string::npos);
}

std::string escapedForXml(const std::string& text) {
    std::string out;
    for (const char c : text) {
        out += c == '&' ? "&amp;" : c == '<' ? "&lt;" : std::string(1, c);
    }
    return out;
}

std::string element(const std::string& name, const std::string& content) {
    return "<ds:" + name + ">" + escapedForXml(content) + "</ds:" + name + ">";
}

// Every certificate of the corpus in one vault, and the certificates that a KeyInfo finds there.
class CorpusKeyInfo : public testing::Test {
protected:
    void SetUp() override {
        VANTREL_NEED_CORPUS(folder, "x509");
        m_all = readCertificateCorpus(folder);
        std::erase_if(m_all, [](const CorpusCertificate& c) { return c.refused(); });
        for (const CorpusCertificate& one : m_all) {
            ClsBinData der;
            der.data() = one.der;
            ASSERT_TRUE(m_vault.AddCertDer(der)) << one.file;
        }
        ASSERT_TRUE(m_verifier.UseCertVault(m_vault));
    }

    // The one certificate found; empty for none.
    VantrelX509 find(const std::string& x509Data) {
        LogNull log;
        VantrelX509 certificate;
        ClsStringArray found;
        loadText(m_verifier,
                 "<ds:Signature xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"><ds:KeyInfo>"
                 "<ds:X509Data>" +
                     x509Data + "</ds:X509Data></ds:KeyInfo></ds:Signature>");
        EXPECT_TRUE(m_verifier.GetCerts(found));
        if (found.get_Count() == 1) {
            const DataBuffer der(ByteView(fromBase64(found.getStringUtf8(0))));
            EXPECT_TRUE(certificate.loadX509Der(der, log));
        }
        return certificate;
    }

    ClsXmlCertVault m_vault;
    ClsXmlDSig m_verifier;
    std::vector<CorpusCertificate> m_all;
};

std::string subjectOf(const VantrelX509& certificate) {
    LogNull log;
    XString text;
    certificate.getDN(true, true, text, log, 0);
    return text.getUtf8();
}

TEST_F(CorpusKeyInfo, IssuerAndDecimalSerialFindEveryCertificate) {
    LogNull log;
    std::size_t tried = 0;
    for (const CorpusCertificate& one : m_all) {
        if (one.issuerCn.empty()) {
            continue;
        }
        // The name as the library writes it; the CN in it is checked against openssl elsewhere.
        VantrelX509 certificate;
        ASSERT_TRUE(certificate.loadX509Der(one.der, log)) << one.file;
        XString issuer;
        ASSERT_TRUE(certificate.getDN(false, true, issuer, log, 0)) << one.file;
        const std::string serial = decimalOf(one.serial);
        for (const std::string& written : {serial, " \n" + serial + "\t"}) {
            const VantrelX509 found =
                find("<ds:X509IssuerSerial>" + element("X509IssuerName", issuer.getUtf8()) +
                     element("X509SerialNumber", written) + "</ds:X509IssuerSerial>");
            XString text;
            EXPECT_TRUE(found.isLoaded()) << one.file << " " << issuer.getUtf8() << " " << serial;
            found.get_SerialNumber(text, log);
            EXPECT_EQ(text.getUtf8(), one.serial) << one.file;
        }
        ++tried;
    }
    EXPECT_GT(tried, 200U);
}

// In the order of RFC 4514 with odd spacing, and the other way round.
TEST_F(CorpusKeyInfo, SubjectNameFindsEveryCertificate) {
    LogNull log;
    std::size_t tried = 0;
    for (const CorpusCertificate& one : m_all) {
        if (one.subject.empty()) {
            continue;
        }
        VantrelX509 certificate;
        ASSERT_TRUE(certificate.loadX509Der(one.der, log)) << one.file;
        XString turned;
        ASSERT_TRUE(certificate.getDN(true, false, turned, log, 0)) << one.file;
        std::string spaced;
        for (std::size_t i = 0; i < one.subject.size(); ++i) {
            const bool separator = one.subject[i] == ',' && (i == 0 || one.subject[i - 1] != '\\');
            spaced += separator ? "  ,\n\t " : std::string(1, one.subject[i]);
        }
        for (const std::string& name : {one.subject, spaced, std::string(turned.getUtf8())}) {
            const VantrelX509 found = find(element("X509SubjectName", name));
            EXPECT_EQ(subjectOf(found), subjectOf(certificate)) << one.file << ": " << name;
        }
        ++tried;
    }
    EXPECT_GT(tried, 200U);
}

TEST_F(CorpusKeyInfo, KeyIdentifierFindsEveryCertificate) {
    std::size_t tried = 0;
    for (const CorpusCertificate& one : m_all) {
        if (one.keyId.empty()) {
            continue;
        }
        std::string base64 = toBase64(fromHex(one.keyId));
        base64.insert(base64.size() / 2, "\n   ");
        const VantrelX509 found = find(element("X509SKI", base64));
        ByteView own;
        EXPECT_TRUE(found.subjectKeyId(own)) << one.file;
        EXPECT_EQ(toHex(own), toHex(fromHex(one.keyId))) << one.file;
        ++tried;
    }
    EXPECT_GT(tried, 100U);
}

// A key is the same however it is written; other keys, of its kind or another, are not.
TEST(KnownToCaller, KeysAreTheSameOrNot) {
    const auto edwards = [](const std::string& x) {
        return bytesOf(R"({"kty":"OKP","crv":"Ed25519","x":")" + x + "\"}");
    };
    const std::vector<std::vector<Bytes>> spellings = {
        {fromBase64(keyValueNamed("signer.spki")), bytesOf(keyValueNamed("jwk.signer"))},
        {fromBase64(keyValueNamed("other.spki")), bytesOf(keyValueNamed("jwk.other"))},
        {bytesOf(keyValueNamed("jwk.ec")), bytesOf(keyValueNamed("jwk.ec"))},
        {edwards("11qYAYKxCrfVS_7TyWQHOg7hcvPapiMlrwIaaPcHURo"),
         edwards("11qYAYKxCrfVS_7TyWQHOg7hcvPapiMlrwIaaPcHURo=")},
        {edwards("PUAXw-hDiVqStwqnTRt-vJyYLM8uxJaMwM1V8Sr0Zgw")},
    };
    std::vector<std::pair<std::size_t, Ref<ClsPublicKey>>> all;
    for (std::size_t number = 0; number < spellings.size(); ++number) {
        for (const Bytes& spelling : spellings[number]) {
            std::vector<Ref<ClsPublicKey>> keys;
            keyfile::KeyFileFault fault;
            if (keyfile::loadKeys(spelling, keys, fault)) {
                all.emplace_back(number, std::move(keys[0]));
            } else {
                ADD_FAILURE() << number << fault.what;
            }
        }
    }
    const Ref<ClsPublicKey> none = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
    EXPECT_TRUE(dsig::distinctiveNumber(none->key()).empty());
    EXPECT_FALSE(dsig::isSameKey(none->key(), none->key()));
    for (const auto& [number, key] : all) {
        EXPECT_FALSE(dsig::isSameKey(key->key(), none->key()));
        for (const auto& [other, otherKey] : all) {
            EXPECT_EQ(dsig::isSameKey(key->key(), otherKey->key()), number == other)
                << number << " " << other;
            EXPECT_EQ(x509::sameBytes(dsig::distinctiveNumber(key->key()),
                                      dsig::distinctiveNumber(otherKey->key())),
                      number == other);
        }
    }
}

} // namespace
} // namespace vantrel::test
