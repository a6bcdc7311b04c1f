// SPDX-License-Identifier: MIT
// Time-stamps from an authority (openssl ts, on the loopback interface): added to documents that
// xmlsec1 signed, verified here, by xmlsec1 and by openssl; and authorities and tokens that are
// not what they should be.

#include "dsig/object/ClsXmlDSig.h"
#include "foundation/base/ClsStringBuilder.h"
#include "foundation/io/ClsHttp.h"
#include "foundation/json/ClsJsonObject.h"
#include "foundation/x509/ClsXmlCertVault.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "tests/dsig/document_case.h"
#include "tests/support/bytes.h"
#include "tests/support/loopback_server.h"
#include "tests/support/process.h"
#include "tests/support/test_authority.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

const std::string kDsig = "http://www.w3.org/2000/09/xmldsig#";
const std::string kExclusive = "http://www.w3.org/2001/10/xml-exc-c14n#";
const std::string kXades132 = "http://uri.etsi.org/01903/v1.3.2#";
const std::string kXades111 = "http://uri.etsi.org/01903/v1.1.1#";
constexpr const char* kTstInfoType = "1.2.840.113549.1.9.16.1.4";
constexpr const char* kNotVerified = "Verification of encapsulated timestamp failed.";
constexpr const char* kNotEqual = "Computed hash not equal to the expected hash.";

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
        text.replace(at, what.size(), by);
    }
    return text;
}

std::string between(const std::string& text, const std::string& before, const std::string& after) {
    const std::size_t start = text.find(before) + before.size();
    return text.substr(start, text.find(after, start) - start);
}

std::string expand(const std::string& text) {
    const std::string first = replaced(replaced(text, "{ds}", kDsig), "{x132}", kXades132);
    return replaced(first, "{x111}", kXades111);
}

// What was added to a document and what the operation said.
struct Stamped {
    bool ok = false;
    std::string document;
    std::string log;
};

// What a verification with the time-stamp option says.
struct Verdict {
    bool valid = false;
    std::string timestamp;
    std::string time;
    bool trusted = false;
    std::string log;
    [[nodiscard]] bool says(const std::string& text) const {
        return log.find(text) != std::string::npos;
    }
};

std::string tokenOf(const std::string& document) {
    return between(document, "#DER\">", "</xades:EncapsulatedTimeStamp>");
}

std::string withToken(const std::string& document, const Bytes& token) {
    std::string changed = document;
    const std::string old = tokenOf(document);
    return changed.replace(changed.find(">" + old + "<") + 1, old.size(), toBase64(token));
}

// Identifiers of four groups of four digits, none of them below 1000, and the token give way to
// their names.
std::string withoutFreshParts(std::string document) {
    if (const std::string token = tokenOf(document); token.size() > 1000) {
        document = replaced(document, token, "{TOKEN}");
    }
    for (const std::string& name :
         {std::string("\"signature-timestamp-"), std::string("\"signature-object-")}) {
        const std::size_t at = document.find(name);
        if (at == std::string::npos) {
            continue;
        }
        std::string shape = document.substr(at + name.size(), 20);
        for (std::size_t i = 0; i < shape.size(); ++i) {
            if (shape[i] >= (i % 5 == 0 ? '1' : '0') && shape[i] <= '9') {
                shape[i] = '9';
            }
        }
        if (shape == "9999-9999-9999-9999\"") {
            document.replace(at + name.size(), 19, "{ID}");
        }
    }
    return document;
}

// The elliptic-curve authority is P-384.
class TimeStamps : public testing::Test {
protected:
    static void SetUpTestSuite() {
        if (findProgram("openssl").empty()) {
            return;
        }
        s_authority = std::make_unique<TestAuthority>(findProgram("openssl"));
        s_authority->issue("root", "", kRootExtensions);
        s_authority->issue("rsa", "root", kTsaExtensions, "rsa");
        s_authority->issue("ec", "root", kTsaExtensions, "ec384");
        s_authority->issue("codesign", "root",
                           "basicConstraints=CA:FALSE\nextendedKeyUsage=critical,codeSigning\n");
        s_authority->issue("signer", "", kRootExtensions, "rsa");
    }
    static void TearDownTestSuite() { s_authority.reset(); }

    void SetUp() override {
        m_xmlsec = findProgram("xmlsec1");
        if (s_authority == nullptr || m_xmlsec.empty()) {
            GTEST_SKIP() << "openssl or xmlsec1 is not installed";
        }
        m_server =
            std::make_unique<LoopbackServer>([this](const Peer& peer, const std::string& post) {
                const Bytes query = bytesOf(post.substr(post.find("\r\n\r\n") + 4));
                reply(peer, textOf(s_authority->answer(m_name, "root", query)));
            });
    }

    static void reply(const Peer& peer, const std::string& body) {
        peer.send("HTTP/1.1 200 OK\r\nContent-Type: application/timestamp-reply\r\n"
                  "Content-Length: " +
                  std::to_string(body.size()) + "\r\n\r\n" + body);
    }

    static TestAuthority& authority() { return *s_authority; }

    // A document signed by xmlsec1: over itself, and over the element `signedId` when there is one.
    std::string sign(const std::string& open, const std::string& rest,
                     const std::string& signedId = "") const {
        std::string prefix = between(open, "<", "Signature");
        const auto reference = [](const std::string& uri, const std::string& transforms) {
            return "<{p}Reference URI=\"" + uri + "\"><{p}Transforms>" + transforms +
                   "</{p}Transforms><{p}DigestMethod Algorithm=\"" + kDsig +
                   "sha1\"/><{p}DigestValue/></{p}Reference>";
        };
        const std::string transform = "<{p}Transform Algorithm=\"";
        std::string text =
            "<?xml version=\"1.0\"?>\n<r xmlns:q=\"urn:q\" a=\"&#xe9;\"><t>text</t>" + open +
            "<{p}SignedInfo><{p}CanonicalizationMethod Algorithm=\"" + kExclusive +
            "\"/><{p}SignatureMethod "
            "Algorithm=\"http://www.w3.org/2001/04/xmldsig-more#rsa-sha256\"/>" +
            reference("", transform + kDsig + "enveloped-signature\"/>") +
            (signedId.empty() ? "" : reference("#" + signedId, transform + kExclusive + "\"/>")) +
            "</{p}SignedInfo><{p}SignatureValue Id=\"value\"/>" + rest + "</{p}Signature></r>";
        writeFile(authority().file("template.xml"), replaced(std::move(text), "{p}", prefix));
        // xmlsec1 escapes more than it must; the signature itself is not covered.
        return replaced(runXmlsec({"--sign", "--privkey-pem", authority().file("signer.key"),
                                   authority().file("template.xml")}),
                        "&gt;", ">");
    }

    std::string signPlain() const {
        return sign("<ds:Signature xmlns:ds=\"" + kDsig + "\" Id=\"sig\">", "");
    }

    std::string runXmlsec(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin() + 1, {"--id-attr:Id", kXades132 + ":SignedProperties"});
        arguments.insert(arguments.begin(), m_xmlsec);
        const ProcessResult result = runProgram(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        return result.output;
    }

    // `options`: members of the JSON object beside the authority's URL.
    static Stamped stamp(const std::string& document, const std::string& url,
                         const std::string& options = "", int selector = 0) {
        ClsXmlDSig verifier;
        XString text(document);
        EXPECT_TRUE(verifier.LoadSignature(text)) << logOf(verifier);
        verifier.put_Selector(selector);
        ClsHttp http;
        http.put_MaxResponseSize(1U << 20);
        verifier.SetHttpObj(http);
        ClsJsonObject json;
        LogNull quiet;
        EXPECT_TRUE(json.load("{\"tsaUrl\":\"" + url + "\"" + options + "}", quiet));
        ClsStringBuilder out;
        Stamped stamped;
        stamped.ok = verifier.AddEncapsulatedTimeStamp(json, out);
        stamped.document = out.xstring().getUtf8();
        stamped.log = logOf(verifier);
        return stamped;
    }

    static Verdict verify(const std::string& document, const std::string& trusted = "",
                          const std::string& options = "",
                          const std::string& words = "VerifyEncapsulatedTimeStamp") {
        ClsXmlDSig verifier;
        XString word(words);
        verifier.put_UncommonOptions(word);
        XString json(options);
        verifier.put_VerifyOptions(json);
        ClsXmlCertVault vault;
        if (!trusted.empty()) {
            EXPECT_TRUE(vault.AddCertFile(XString(authority().file(trusted + ".pem"))));
            EXPECT_TRUE(verifier.UseCertVault(vault));
        }
        XString text(document);
        EXPECT_TRUE(verifier.LoadSignature(text)) << document;
        const Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
        EXPECT_TRUE(key->LoadFromFile(XString(authority().file("signer.pem"))));
        EXPECT_TRUE(verifier.SetPublicKey(*key));
        Verdict verdict;
        verdict.valid = verifier.VerifySignature(true);
        verdict.log = logOf(verifier);
        const json::JsonValue report = reportOf(verifier);
        verdict.timestamp = textOf(report, "timestamp");
        verdict.time = textOf(report, "timestampTime");
        XString reportText;
        verifier.get_LastJsonData(reportText);
        verdict.trusted = reportText.getUtf8Sb().containsSubstring("\"timestampTrusted\":true");
        return verdict;
    }

    // The verdicts of the independent programs. The canonical SignatureValue is put together here.
    void expectPeersAgree(const std::string& document) const {
        writeFile(authority().file("stamped.xml"), document);
        runXmlsec({"--verify", "--pubkey-cert-pem", authority().file("signer.pem"),
                   authority().file("stamped.xml")});
        writeFile(authority().file("value.txt"), canonicalValue(document));
        writeFile(authority().file("token.tst"), textOf(fromBase64(tokenOf(document))));
        EXPECT_NE(authority()
                      .run({"ts", "-verify", "-data", "value.txt", "-in", "token.tst", "-token_in",
                            "-CAfile", "root.pem", "-untrusted", m_name + ".pem"})
                      .find("Verification: OK"),
                  std::string::npos);
    }

    static std::string canonicalValue(const std::string& document,
                                      const std::string& inherited = "") {
        const std::size_t start = document.rfind('<', document.find("SignatureValue"));
        const std::string prefix = between(document.substr(start), "<", "SignatureValue");
        const std::string name = prefix + "SignatureValue";
        const std::string declared =
            prefix.empty() ? "xmlns" : "xmlns:" + prefix.substr(0, prefix.size() - 1);
        return "<" + name + " " + declared + "=\"" + kDsig + "\"" + inherited + " Id=\"value\">" +
               between(document.substr(start), ">", "<") + "</" + name + ">";
    }

    // A token of the authority over any bytes.
    Bytes tokenOver(const std::string& data) const {
        writeFile(authority().file("data.bin"), data);
        authority().run({"ts", "-query", "-data", "data.bin", "-sha256", "-cert", "-out", "q.tsq"});
        writeFile(authority().file("r.tsr"),
                  textOf(authority().answer(m_name, "root", readFile(authority().file("q.tsq")))));
        authority().run({"ts", "-reply", "-in", "r.tsr", "-token_out", "-out", "t.tst"});
        return readFile(authority().file("t.tst"));
    }

    static std::string tstInfoOf(const Bytes& token) {
        writeFile(authority().file("t.tst"), textOf(token));
        authority().run(
            {"cms", "-verify", "-noverify", "-inform", "DER", "-in", "t.tst", "-out", "info.der"});
        return readText(authority().file("info.der"));
    }

    std::string m_name = "ec"; // the authority that answers
    std::unique_ptr<LoopbackServer> m_server;

private:
    static std::unique_ptr<TestAuthority> s_authority;
    std::string m_xmlsec;
};

std::unique_ptr<TestAuthority> TimeStamps::s_authority;

} // namespace

// The whole result is known but for the identifiers and the token.
TEST_F(TimeStamps, GoIntoEveryKindOfSignature) {
    const char* const hashes[] = {"sha1", "sha256", "sha384", "sha512"};
    std::size_t round = 0;
    forEachVector("dsig/timestamp_places.vec", "places", [&](VecCase& c) {
        m_name = round % 2 == 0 ? "ec" : "rsa";
        const std::string hash = hashes[round++ / 2 % 4];
        const std::string rest = expand(c.text("Rest"));
        const std::string document = sign(expand(c.text("Open")), rest, c.textOr("Signed", ""));
        const std::string declares = expand(c.textOr("Declares", ""));
        const std::string mark = "SignatureValue>" + rest;
        const std::size_t at = document.find(mark);
        ASSERT_NE(at, std::string::npos) << c.where() << document;

        const Stamped stamped =
            stamp(document, m_server->url(), ",\"hashAlgorithm\":\"" + hash + "\"");
        ASSERT_TRUE(stamped.ok) << c.where() << stamped.log;
        const std::string stampElement =
            "<xades:SignatureTimeStamp Id=\"signature-timestamp-{ID}\"" +
            (declares.empty() ? "" : " " + declares) + "><ds:CanonicalizationMethod Algorithm=\"" +
            kExclusive + "\"/><xades:EncapsulatedTimeStamp Encoding=\"" +
            "http://uri.etsi.org/01903/v1.2.2#DER\">{TOKEN}</xades:EncapsulatedTimeStamp>"
            "</xades:SignatureTimeStamp>";
        std::string expected = document;
        expected.replace(at + 15, rest.size(),
                         replaced(expand(c.text("Result")), "{TS}", stampElement));
        const std::string known = withoutFreshParts(stamped.document);
        ASSERT_EQ(known, expected) << c.where();

        expectPeersAgree(stamped.document);
        const Verdict verdict = verify(stamped.document);
        EXPECT_TRUE(verdict.valid) << c.where() << verdict.log;
        EXPECT_EQ(verdict.timestamp, "valid") << c.where();
        EXPECT_TRUE(verdict.says("The computed hash is equal to the expected hash."));
        EXPECT_FALSE(verdict.says("computed_hash_with_CRLF"));
    });
    EXPECT_GE(round, 8U) << "not every hash with both authorities";
}

TEST_F(TimeStamps, OfTheSelectedSignatureOnly) {
    const std::string one = "<S xmlns=\"urn:n\"><Signature xmlns=\"" + kDsig +
                            "\"><SignedInfo><Reference><DigestValue>{}</DigestValue></Reference>"
                            "</SignedInfo><SignatureValue Id=\"v{}\">AA==</SignatureValue>"
                            "</Signature></S>";
    const std::string document =
        "<r>" + replaced(one, "{}", "AAAA") + replaced(one, "{}", "BBBB") + "</r>";
    const Stamped stamped = stamp(document, m_server->url(), "", 1);
    ASSERT_TRUE(stamped.ok) << stamped.log;
    const std::size_t place = document.rfind("</Signature>");
    ASSERT_EQ(stamped.document.substr(0, place), document.substr(0, place));
    ASSERT_NE(stamped.document.find("<xades:SignatureTimeStamp", place), std::string::npos);
    ClsXmlDSig verifier;
    XString text(stamped.document);
    ASSERT_TRUE(verifier.LoadSignature(text));
    EXPECT_FALSE(verifier.HasEncapsulatedTimeStamp());
    verifier.put_Selector(1);
    EXPECT_TRUE(verifier.HasEncapsulatedTimeStamp());
    // Each operation draws identifiers of its own and leaves the loaded document alone.
    EXPECT_NE(stamped.document, stamp(document, m_server->url(), "", 1).document);
}

TEST_F(TimeStamps, AreNotAddedWhereTheyCannotBe) {
    const std::string signature = "<Signature xmlns=\"" + kDsig +
                                  "\"{i}><SignedInfo>{r}"
                                  "</SignedInfo>{v}</Signature>";
    const std::string value = "<SignatureValue Id=\"v\">AA==</SignatureValue>";
    const auto with = [&](const std::string& id, const std::string& rest) {
        return "<r>" + replaced(replaced(replaced(signature, "{i}", id), "{r}", ""), "{v}", rest) +
               "</r>";
    };
    const std::string valueIsEntity =
        "<!DOCTYPE r [<!ENTITY v \"" + replaced(value, "\"", "'") + "\">]>";
    const struct {
        std::string document;
        const char* error;
    } cases[] = {
        {"<r/>", "No signature at the selector."},
        {with("", value), "No Reference at index 0"},
        {with(" Id=\"s\"", ""), "No SignatureValue found."},
        {with(" Id=\"s\"", "<SignatureValue>AA==</SignatureValue>"),
         "No SignatureValue Id attribute found."},
        {valueIsEntity + with(" Id=\"s\"", "&v;"), "No SignatureValue location found."},
        {with(" Id=\"s\"", value + "<x:EncapsulatedTimeStamp xmlns:x=\"urn:x\"/>"),
         "Already has an EncapsulatedTimeStamp."},
    };
    for (const auto& one : cases) {
        const Stamped stamped = stamp(one.document, m_server->url());
        EXPECT_FALSE(stamped.ok) << one.error;
        EXPECT_EQ(stamped.document, "") << one.error;
        EXPECT_NE(stamped.log.find(one.error), std::string::npos) << one.error << stamped.log;
    }
}

// The result then has an empty element and the log says what happened.
TEST_F(TimeStamps, BadAuthoritiesLeaveTheElementEmptyInTime) {
    const std::string document = signPlain();
    const auto answering = [](const std::string& body) {
        return [body](const Peer& peer, const std::string&) { reply(peer, body); };
    };
    const Bytes other = authority().answer(m_name, "root", [&] {
        static_cast<void>(tokenOver("something else"));
        return readFile(authority().file("q.tsq"));
    }());
    const struct {
        const char* what;
        LoopbackServer::Handler handler;
        const char* error;
    } cases[] = {
        {"silent", [](const Peer& peer, const std::string&) { peer.pause(3000); }, "timed out"},
        {"slow",
         [](const Peer& peer, const std::string&) {
             peer.send("HTTP/1.1 200 OK\r\n\r\n");
             while (peer.pause(10) && peer.send("0")) {}
         },
         "timed out"},
        {"endless",
         [](const Peer& peer, const std::string&) {
             peer.send("HTTP/1.1 200 OK\r\n\r\n");
             while (peer.send(std::string(65536, '0'))) {}
         },
         "cannot be used"},
        {"error status",
         [](const Peer& peer, const std::string&) {
             peer.send("HTTP/1.1 503 Busy\r\nContent-Length: 0\r\n\r\n");
         },
         "another HTTP status than 200"},
        {"no HTTP", [](const Peer& peer, const std::string&) { peer.send("\x16\x03"); },
         "cannot be used"},
        {"garbage", answering("<html>"), "is malformed"},
        {"nothing", answering(""), "is malformed"},
        {"refusal", answering(textOf(fromHex("30053003020102"))), "refused the request"},
        {"another token", answering(textOf(other)), "not over the data that was sent"},
    };
    std::string gone;
    const auto check = [&](const char* what, const std::string& url, const char* error) {
        SCOPED_TRACE(what);
        // Only those that hang are cut short; the rest have time on a loaded machine, too.
        const bool hangs = std::string_view(error) == "timed out";
        const auto start = std::chrono::steady_clock::now();
        const Stamped stamped =
            stamp(document, url, hangs ? ",\"timeoutMs\":300" : ",\"timeoutMs\":20000");
        EXPECT_TRUE(!hangs ||
                    std::chrono::steady_clock::now() - start < std::chrono::milliseconds(2500));
        EXPECT_TRUE(stamped.ok);
        EXPECT_NE(stamped.log.find(error), std::string::npos) << stamped.log;
        EXPECT_NE(stamped.document.find("#DER\"></xades:Enc"), std::string::npos);
        EXPECT_TRUE(verify(stamped.document, "", "", "").valid);
        const Verdict verdict = verify(stamped.document);
        EXPECT_FALSE(verdict.valid);
        EXPECT_EQ(verdict.timestamp, "invalid");
        EXPECT_TRUE(verdict.says("Failed to parse ASN.1 of encapsulated timestamp."));
    };
    for (const auto& one : cases) {
        const LoopbackServer server(one.handler);
        gone = server.url();
        check(one.what, gone, one.error);
    }
    check("gone", gone, "The HTTP connection failed.");
}

TEST_F(TimeStamps, TrustNeedsAKnownAuthority) {
    const char* const strict = "{\"requireTrustedTsa\":true}";
    const Stamped stamped = stamp(signPlain(), m_server->url());
    EXPECT_TRUE(verify(stamped.document, "root").trusted);
    EXPECT_TRUE(verify(stamped.document, "root", strict).valid);
    EXPECT_FALSE(verify(stamped.document).trusted);
    EXPECT_FALSE(verify(stamped.document, "", strict).valid);
    EXPECT_FALSE(verify(stamped.document, "signer", strict).valid);
    // A token that does not carry its certificate.
    const Stamped bare = stamp(signPlain(), m_server->url(), ",\"requestCert\":false");
    EXPECT_LT(bare.document.size(), stamped.document.size() - 500);
    EXPECT_TRUE(verify(bare.document, m_name).valid);
    const Verdict verdict = verify(bare.document);
    EXPECT_TRUE(!verdict.valid && verdict.says(kNotVerified)) << verdict.log;
}

// Cut anywhere, the token fails; with one byte changed it fails, or what it says is the same (the
// certificates beside the signer's are not covered by anything).
TEST_F(TimeStamps, ChangedTokensFail) {
    const Stamped stamped = stamp(signPlain(), m_server->url());
    const Verdict genuine = verify(stamped.document);
    ASSERT_TRUE(genuine.valid) << genuine.log;
    const Bytes token = fromBase64(tokenOf(stamped.document));
    for (std::size_t size = 0; size < token.size(); size += 7) {
        const Bytes cut(token.begin(), token.begin() + static_cast<std::ptrdiff_t>(size));
        const Verdict verdict = verify(withToken(stamped.document, cut));
        ASSERT_TRUE(!verdict.valid && verdict.timestamp == "invalid") << "cut to " << size;
    }
    std::size_t accepted = 0;
    for (std::size_t i = 0; i < token.size(); i += 3) {
        Bytes changed = token;
        changed[i] ^= 0x04U;
        const Verdict verdict = verify(withToken(stamped.document, changed));
        accepted += verdict.valid ? 1U : 0U;
        ASSERT_TRUE(!verdict.valid || verdict.time == genuine.time) << i;
    }
    EXPECT_LT(accepted, token.size() / 6);

    // What the authority signed: the TSTInfo and its own signature.
    const std::string info = tstInfoOf(token);
    const auto start = static_cast<std::size_t>(textOf(token).find(info));
    ASSERT_LT(start, token.size());
    for (std::size_t i = start; i < start + info.size(); ++i) {
        Bytes changed = token;
        changed[i] ^= 0x01U;
        ASSERT_FALSE(verify(withToken(stamped.document, changed)).valid) << i;
    }
    Bytes changed = token;
    changed.back() ^= 0x01U;
    const Verdict verdict = verify(withToken(stamped.document, changed));
    EXPECT_TRUE(!verdict.valid && verdict.says(kNotVerified)) << verdict.log;
}

// Tokens made for the case: what each says, and what it is refused for.
TEST_F(TimeStamps, TokensMustBeTokensOverThisValue) {
    const std::string document = stamp(signPlain(), m_server->url()).document;
    const std::string value = canonicalValue(document);
    const std::string info = tstInfoOf(tokenOver(value));
    Bytes lying = tokenOver(value + " ");
    const std::string hash = info.substr(info.find("\x04\x20") + 2, 32);
    const std::string otherInfo = tstInfoOf(lying);
    const std::string otherHash = otherInfo.substr(otherInfo.find("\x04\x20") + 2, 32);
    const auto place =
        std::search(lying.begin(), lying.end(), otherHash.begin(), otherHash.end(),
                    [](std::uint8_t a, char b) { return a == static_cast<std::uint8_t>(b); });
    ASSERT_NE(place, lying.end());
    std::transform(hash.begin(), hash.end(), place,
                   [](char c) { return static_cast<std::uint8_t>(c); });

    const std::vector<std::string> asToken = {"-econtent_type", kTstInfoType};
    const struct {
        const char* what;
        Bytes token;
        const char* error; // null: it holds
        const char* more;
    } cases[] = {
        {"made with cms -sign", authority().sign("ec", info, asToken), nullptr, ""},
        {"plain message around a TSTInfo", authority().sign("ec", info), kNotVerified, ""},
        {"no time-stamping usage", authority().sign("codesign", info, asToken), kNotVerified,
         "is not made for time-stamping"},
        {"digest attribute lies", lying, kNotVerified,
         "The message-digest attribute is not the digest of the content."},
        {"another value", tokenOver(value + " "), kNotEqual, "computed_hash_with_CRLF"},
        {"no token", bytesOf("none"), "Failed to parse ASN.1 of encapsulated timestamp.", ""},
        {"CRLF", tokenOver(replaced(value, "\n", "\r\n")), nullptr, "computed_hash_with_CRLF"},
    };
    for (const auto& one : cases) {
        const Verdict verdict = verify(withToken(document, one.token));
        EXPECT_EQ(verdict.valid, one.error == nullptr) << one.what << verdict.log;
        EXPECT_EQ(verdict.timestamp, one.error == nullptr ? "valid" : "invalid") << one.what;
        EXPECT_EQ(verdict.time.empty(), one.error != nullptr) << one.what << verdict.time;
        EXPECT_TRUE(one.error == nullptr || verdict.says(one.error)) << one.what << verdict.log;
        EXPECT_TRUE(verdict.says(one.more)) << one.what << verdict.log;
        EXPECT_TRUE(!verdict.valid || verdict.says("computed_hash:")) << verdict.log;
        // Who does not ask is not told.
        EXPECT_TRUE(verify(withToken(document, one.token), "", "", "").valid) << one.what;
    }
}

// A genuine old token, with the SignatureValue it was made for, moved into a newer document whose
// markup leads a search of the text to that element.
TEST_F(TimeStamps, OfAnotherSignatureDoNotPassForOnesOwn) {
    const std::string open = "<ds:Signature xmlns:ds=\"" + kDsig + "\" Id=\"sig\">";
    const std::string old = stamp(sign(open, "<ds:KeyInfo/>"), m_server->url()).document;
    std::string fresh =
        stamp(sign(open,
                   "<ds:Object><xades:QualifyingProperties xmlns:xades=\"" + kXades132 +
                       "\"><xades:SignedProperties Id=\"props\"/>" +
                       "</xades:QualifyingProperties></ds:Object>" + "<ds:Object>{}</ds:Object>",
                   "props"),
              m_server->url())
            .document;
    ASSERT_NE(canonicalValue(old), canonicalValue(fresh));
    fresh = replaced(fresh, "SignatureValue Id=\"value\"", "SignatureValue Id=\"v2\"");
    fresh = replaced(fresh, "{}", canonicalValue(old));
    fresh = withToken(fresh, fromBase64(tokenOf(old)));
    EXPECT_TRUE(verify(fresh, "", "", "").valid);
    EXPECT_TRUE(verify(fresh).says(kNotEqual));
    const std::string misleading =
        replaced(fresh, "Id=\"sig\"", "x=\"SignatureValue\" xId=\"value\"");
    EXPECT_TRUE(verify(misleading, "", "", "").valid);
    const Verdict verdict = verify(misleading);
    EXPECT_FALSE(verdict.valid) << verdict.log;
    EXPECT_EQ(verdict.timestamp, "invalid");
    EXPECT_TRUE(verdict.says("not the Id of the SignatureValue")) << verdict.log;
}

// The search of the text does not see what an entity stands for; the tree does. Such a time-stamp
// is not passed over.
TEST_F(TimeStamps, FromAnEntityFail) {
    const std::string document = stamp(signPlain(), m_server->url()).document;
    const struct {
        std::string begin;
        std::string end;
        const char* error;
    } cases[] = {
        {"<ds:Object", "</ds:Object>", "comes from an entity"},
        {"<xades:SignatureTimeStamp", "</xades:SignatureTimeStamp>", "comes from an entity"},
        {"<ds:SignatureValue", "</ds:SignatureValue>", "Failed to load signature XML."},
    };
    for (const auto& one : cases) {
        const std::string part = one.begin + between(document, one.begin, one.end) + one.end;
        ASSERT_NE(document.find(part), std::string::npos) << one.begin;
        const std::string entity =
            "<!DOCTYPE r [<!ENTITY e '" + replaced(part, "\n", "&#10;") + "'>]>\n<r ";
        const std::string hidden = replaced(replaced(document, part, "&e;"), "<r ", entity);
        EXPECT_TRUE(verify(hidden, "", "", "").valid) << one.begin;
        const Verdict verdict = verify(hidden);
        EXPECT_FALSE(verdict.valid) << one.begin;
        EXPECT_EQ(verdict.timestamp, "invalid") << one.begin;
        EXPECT_TRUE(verdict.says(one.error)) << one.begin << verdict.log;
    }
}

TEST_F(TimeStamps, CanonicalizationAndIdAreReadAsTheDocumentHasThem) {
    const std::string document = stamp(signPlain(), m_server->url()).document;
    const std::string method =
        "<ds:CanonicalizationMethod Algorithm=\"" + kExclusive + "\"/><xades";
    ASSERT_NE(document.find(method), std::string::npos);
    const std::string inclusive =
        "<ds:CanonicalizationMethod Algorithm=\"http://www.w3.org/TR/2001/"
        "REC-xml-c14n-20010315\"/><xades";
    const Bytes token = tokenOver(canonicalValue(document, " xmlns:q=\"urn:q\""));
    for (const std::string& by : {std::string("<xades"), inclusive}) {
        const Verdict verdict = verify(withToken(replaced(document, method, by), token));
        EXPECT_TRUE(verdict.valid) << verdict.log;
        EXPECT_EQ(verdict.says("Did not find CanonicalizationMethod tag."), by == "<xades");
        EXPECT_FALSE(verify(replaced(document, method, by)).valid);
    }
    EXPECT_FALSE(verify(withToken(document, token)).valid);

    const std::string loose = "SignatureValue\n\tId\r\n=\n \"value\"";
    EXPECT_TRUE(verify(replaced(document, "SignatureValue Id=\"value\"", loose)).valid);
    const std::string single = replaced(document, "Id=\"value\"", "Id='value'");
    EXPECT_TRUE(verify(single, "", "", "").valid);
    const Verdict verdict = verify(single);
    EXPECT_TRUE(!verdict.valid && verdict.says("Expected open double quote")) << verdict.log;
}

} // namespace vantrel::test
