// SPDX-License-Identifier: MIT
// Signatures made by an independent signer, over all methods, canonicalizations and forms: they
// verify, and with one byte changed anywhere that counts they do not.

#include "dsig/object/ClsXmlDSig.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "tests/dsig/document_case.h"
#include "tests/support/bytes.h"
#include "tests/support/process.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

const std::string kDsig = "http://www.w3.org/2000/09/xmldsig#";
const std::string kMore = "http://www.w3.org/2001/04/xmldsig-more#";
const std::string kDsig11 = "http://www.w3.org/2009/xmldsig11#";
const std::string kEnc = "http://www.w3.org/2001/04/xmlenc#";
const std::string kHmacSecret = "a secret of some length";

struct Method {
    std::string uri;
    std::string key; // file stem of the signer's key; "hmac" for the secret
};

const std::vector<Method> kMethods = {
    {kDsig + "rsa-sha1", "rsa"},        {kMore + "rsa-sha256", "rsa"},
    {kMore + "rsa-sha384", "rsa"},      {kMore + "rsa-sha512", "rsa"},
    {kMore + "rsa-md5", "rsa"},         {kMore + "rsa-ripemd160", "rsa"},
    {kMore + "rsa-sha256", "rsa3072"},  {kDsig + "dsa-sha1", "dsa"},
    {kDsig11 + "dsa-sha256", "dsa"},    {kMore + "ecdsa-sha1", "p256"},
    {kMore + "ecdsa-sha256", "p256"},   {kMore + "ecdsa-sha384", "p384"},
    {kMore + "ecdsa-sha512", "p521"},   {kMore + "ecdsa-sha256", "k256"},
    {kDsig + "hmac-sha1", "hmac"},      {kMore + "hmac-sha256", "hmac"},
    {kMore + "hmac-sha384", "hmac"},    {kMore + "hmac-sha512", "hmac"},
    {kMore + "hmac-ripemd160", "hmac"}, {kMore + "hmac-md5", "hmac"},
    {kMore + "rsa-sha224", "rsa"},      {kMore + "ecdsa-sha224", "p256"},
    {kMore + "hmac-sha224", "hmac"},
};

const std::vector<std::string> kDigests = {kEnc + "sha256", kDsig + "sha1", kMore + "sha384",
                                           kEnc + "sha512", kMore + "md5",  kEnc + "ripemd160",
                                           kMore + "sha224"};

const std::vector<std::string> kCanonicalizations = {
    "http://www.w3.org/TR/2001/REC-xml-c14n-20010315", "http://www.w3.org/2001/10/xml-exc-c14n#"};

enum class Form { Enveloped, Enveloping, SameDocument };

// What is signed: text that a canonicalizer has something to do with.
const std::string kContent =
    R"(<d:item xmlns:d="urn:d" xmlns="urn:e" b='2' a="1&#9;x" d:c="&lt;3"><e/>tom &amp; jerry<![CDATA[ <raw> ]]>)"
    "\r\n<d:e xmlns=\"\" xml:lang='en'><f/></d:e></d:item>";

std::string reference(const std::string& uri, const std::string& transforms,
                      const std::string& digest) {
    return "<Reference URI=\"" + uri + "\"><Transforms>" + transforms +
           "</Transforms><DigestMethod Algorithm=\"" + digest +
           "\"/><DigestValue></DigestValue></Reference>";
}

std::string transform(const std::string& algorithm) {
    return "<Transform Algorithm=\"" + algorithm + "\"/>";
}

std::string signatureTemplate(const Method& method, const std::string& c14n,
                              const std::string& references, const std::string& rest) {
    return "<Signature xmlns=\"" + kDsig + "\"><SignedInfo><CanonicalizationMethod Algorithm=\"" +
           c14n + "\"/><SignatureMethod Algorithm=\"" + method.uri + "\"/>" + references +
           "</SignedInfo><SignatureValue></SignatureValue>" + rest + "</Signature>";
}

std::string documentTemplate(Form form, const Method& method, const std::string& c14n,
                             const std::string& digest) {
    const std::string prologue = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<?pi before?>\n";
    switch (form) {
    case Form::Enveloped: {
        const std::string refs =
            reference("", transform(kDsig + "enveloped-signature") + transform(c14n), digest);
        return prologue + "<root xmlns=\"urn:r\">" + kContent +
               signatureTemplate(method, c14n, refs, "") + "</root>";
    }
    case Form::Enveloping: {
        const std::string refs = reference("#object", transform(c14n), digest);
        return prologue + signatureTemplate(method, c14n, refs,
                                            "<Object Id=\"object\">" + kContent + "</Object>");
    }
    case Form::SameDocument: break;
    }
    const std::string refs =
        reference("#one", transform(c14n), digest) + reference("#two", transform(c14n), digest);
    return prologue + "<x:root xmlns:x=\"urn:x\" xml:space=\"preserve\"><Object Id=\"one\">" +
           kContent + "</Object><Object Id=\"two\">second</Object>" +
           signatureTemplate(method, c14n, refs, "") + "</x:root>";
}

class Interop : public testing::Test {
protected:
    void SetUp() override {
        m_signer = findProgram("xmlsec1");
        m_openssl = findProgram("openssl");
        if (m_signer.empty() || m_openssl.empty()) {
            GTEST_SKIP() << "xmlsec1 or openssl is not installed";
        }
        m_folder.write("hmac.key", kHmacSecret);
        makeKey("rsa", {"genpkey", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048"});
        makeKey("rsa3072", {"genpkey", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:3072"});
        makeKey("p256", {"genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256"});
        makeKey("p384", {"genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-384"});
        makeKey("p521", {"genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-521"});
        makeKey("k256", {"genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:secp256k1"});
        run({"dsaparam", "-out", m_folder.file("dsa.params"), "2048"});
        makeKey("dsa", {"gendsa", m_folder.file("dsa.params")});
    }

    void run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), m_openssl);
        const ProcessResult result = runProgram(arguments);
        ASSERT_EQ(result.exitCode, 0) << arguments[1] << ": " << result.errors;
    }

    void makeKey(const std::string& name, std::vector<std::string> command) const {
        command.insert(command.begin() + 1, {"-out", m_folder.file(name + ".pem")});
        run(command);
        run({"pkey", "-in", m_folder.file(name + ".pem"), "-pubout", "-out",
             m_folder.file(name + ".pub")});
    }

    std::string sign(const std::string& document, const Method& method) const {
        const std::string unsignedFile = m_folder.write("unsigned.xml", document);
        std::vector<std::string> command = {m_signer, "--sign", "--id-attr:Id", "Object"};
        command.insert(command.end(), {"--id-attr:Id", kDsig + ":Object"});
        if (method.key == "hmac") {
            command.insert(command.end(), {"--hmackey", m_folder.file("hmac.key")});
        } else {
            command.insert(command.end(), {"--privkey-pem", m_folder.file(method.key + ".pem")});
        }
        command.push_back(unsignedFile);
        const ProcessResult result = runProgram(command);
        EXPECT_EQ(result.exitCode, 0) << method.uri << ": " << result.errors;
        return method.key == "hmac" ? withoutSpaceInValue(result.output) : result.output;
    }

    // A MAC is compared as text, and this signer breaks long ones over lines.
    static std::string withoutSpaceInValue(std::string document) {
        const std::size_t start = document.find("<SignatureValue>");
        for (std::size_t end = document.find("</SignatureValue>"), at = start; at < end;) {
            if (document[at] == '\n') {
                document.erase(at, 1);
                --end;
            } else {
                ++at;
            }
        }
        return document;
    }

    bool verifies(const std::string& document, const Method& method, std::string& log) const {
        ClsXmlDSig verifier;
        XString xml(document);
        if (!verifier.LoadSignature(xml)) {
            log = logOf(verifier);
            return false;
        }
        if (method.key == "hmac") {
            XString secret(kHmacSecret);
            XString encoding("ascii");
            EXPECT_TRUE(verifier.SetHmacKey(secret, encoding));
        } else {
            const Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
            EXPECT_TRUE(key->LoadFromFile(XString(m_folder.file(method.key + ".pub"))));
            EXPECT_TRUE(verifier.SetPublicKey(*key));
        }
        const bool valid = verifier.VerifySignature(true);
        log = logOf(verifier);
        return valid;
    }

    // Changes the byte `skip` bytes behind the first `mark` to another one.
    static std::string changed(std::string document, const std::string& mark, std::size_t skip) {
        const std::size_t at = document.find(mark) + mark.size() + skip;
        document[at] = document[at] == 'A' ? 'B' : 'A';
        return document;
    }

    void expectOnlyTheOriginalVerifies(const std::string& document, const Method& method,
                                       const std::string& where) const {
        struct Change {
            const char* what;
            const char* mark;
            std::size_t skip;
        };
        constexpr Change kChanges[] = {{"content", "tom", 0},
                                       {"SignedInfo", "<DigestMethod Algorithm=\"", 0},
                                       {"SignatureValue", "<SignatureValue>", 3},
                                       {"digest", "<DigestValue>", 3}};
        std::string log;
        EXPECT_TRUE(verifies(document, method, log)) << where << "\n" << log << document;
        for (const Change& change : kChanges) {
            const std::string tampered = changed(document, change.mark, change.skip);
            EXPECT_FALSE(verifies(tampered, method, log)) << where << ": changed " << change.what;
        }
    }

    std::string m_signer;
    std::string m_openssl;
    TempDir m_folder;
};

TEST_F(Interop, EveryMethodCanonicalizationAndFormVerifiesAndEveryChangeIsFound) {
    std::size_t turn = 0;
    for (const Method& method : kMethods) {
        for (const std::string& c14n : kCanonicalizations) {
            for (const Form form : {Form::Enveloped, Form::Enveloping, Form::SameDocument}) {
                const std::string& digest = kDigests[turn++ % kDigests.size()];
                const std::string where = method.uri + " " + method.key + " " + c14n + " " +
                                          digest + " form " +
                                          std::to_string(static_cast<int>(form));
                const std::string document =
                    sign(documentTemplate(form, method, c14n, digest), method);
                expectOnlyTheOriginalVerifies(document, method, where);
            }
        }
    }
}

// The signer knows no RSA-PSS, so its SignedInfo is signed by hand: written so that it is its own
// canonical form.
TEST_F(Interop, RsaPssVerifiesAndEveryChangeIsFound) {
    const std::map<std::string, std::string> names = {
        {"sha1", "sha1"}, {"sha256", "sha256"}, {"sha384", "sha384"}, {"sha512", "sha512"}};
    for (const auto& [hash, name] : names) {
        for (const char* const salt : {"digest", "max", "0"}) {
            const Method method = {"http://www.w3.org/2007/05/xmldsig-more#" + hash + "-rsa-MGF1",
                                   "rsa"};
            const Method stand = {kMore + "rsa-sha256", "rsa"};
            std::string document =
                sign(documentTemplate(Form::Enveloping, stand, kCanonicalizations[0], kDigests[0]),
                     stand);
            document.replace(document.find(stand.uri), stand.uri.size(), method.uri);
            const std::size_t start = document.find("<SignedInfo>");
            const std::string end = "</SignedInfo>";
            std::string signedInfo =
                document.substr(start, document.find(end) + end.size() - start);
            // Canonical: the inherited namespace is declared, empty elements have end tags.
            signedInfo.insert(11, " xmlns=\"" + kDsig + "\"");
            for (std::size_t at = 0; (at = signedInfo.find("/>", at)) != std::string::npos;) {
                const std::size_t open = signedInfo.rfind('<', at);
                const std::string element =
                    signedInfo.substr(open + 1, signedInfo.find(' ', open) - open - 1);
                signedInfo.replace(at, 2, "></" + element + ">");
            }
            const std::string input = m_folder.write("signed-info", signedInfo);
            const std::string output = m_folder.file("pss.sig");
            ASSERT_NO_FATAL_FAILURE(
                run({"dgst", "-" + name, "-sign", m_folder.file("rsa.pem"), "-sigopt",
                     "rsa_padding_mode:pss", "-sigopt", std::string("rsa_pss_saltlen:") + salt,
                     "-out", output, input}));
            const std::size_t value = document.find("<SignatureValue>") + 16;
            document.replace(value, document.find("</SignatureValue>") - value,
                             toBase64(readFile(output)));
            expectOnlyTheOriginalVerifies(document, method, method.uri + " salt " + salt);
        }
    }
}

} // namespace
} // namespace vantrel::test
