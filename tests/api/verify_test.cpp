// SPDX-License-Identifier: MIT
// The typed interface against the tool, which reports what the same steps find out, and against
// what it promises: what is true, what is an error, what begins anew.
#include "api/verify.h"

#include "dsig/document/fingerprint.h"
#include "foundation/text/encoders.h"
#include "tests/support/bytes.h"
#include "tests/support/corpus.h"
#include "tests/support/process.h"
#include "tests/support/stored_zip.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

std::string tool() { return binaryPath("xmldsig"); }

std::string invoice() { return sourcePath("examples/invoice.xml"); }

// Every signed document of the tree.
std::vector<std::string> documents() {
    std::vector<std::string> paths;
    for (const std::string& folder : {vectorPath("dsig"), sourcePath("examples")}) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (entry.path().extension() == ".xml") {
                paths.push_back(entry.path().string());
            }
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

VerifyOptions optionsOf(const std::string& json) {
    const Result<VerifyOptions> options = optionsFromJson(json);
    EXPECT_TRUE(options) << json << ": " << options.error().what;
    return options ? *options : VerifyOptions();
}

// The same options for both, and whether whole signatures are asked for.
struct Asked {
    std::vector<std::string> arguments;
    std::string json;
    bool whole;
    bool judged = false; // by a policy
};

std::string rsaPin() {
    return "sha256:" + Key::fromFile(vectorPath("dsig/keys/rsa.pub"))->keys()[0].spkiSha256;
}

std::vector<Asked> questions() {
    const std::string key = vectorPath("dsig/keys/rsa.pub");
    const std::string root = sourcePath("examples/keys/root.pem");
    const std::string json = R"("key":[{"file":")" + key + R"("}])";
    return {
        {{}, "{" + json + "}", true},
        {{"--cert", root, "--ignore-external", "--timestamps", "--option", "AllowXmlDigestError",
          "--hmac-key", "6b6579", "--limit", "transforms=9"},
         "{" + json + R"(,"cert":{"file":")" + root +
             R"("},"ignoreExternal":true,"timestamps":true,"option":"AllowXmlDigestError",)"
             R"("hmacKey":"6b6579","limit":["transforms=9"]})",
         true},
        {{"--signature", "0", "--no-references"},
         "{" + json + R"(,"signature":0,"noReferences":true})",
         false},
        {{"--reference", "0"}, "{" + json + R"(,"reference":0})", false},
        // At a fixed time, which the reports tell.
        {{"--strict", "--anchor", root, "--at", "2027-01-01", "--must-cover", "document"},
         "{" + json + R"(,"strict":true,"anchor":{"file":")" + root +
             R"("},"at":"2027-01-01","mustCover":"document"})",
         true,
         true},
        {{"--accept", "any", "--only-key", "--pin", rsaPin(), "--require", "no-leniency"},
         "{" + json + R"(,"accept":"any","onlyKey":true,"pin":")" + rsaPin() +
             R"(","require":"no-leniency"})",
         true,
         true},
    };
}

TEST(Verify, ReportsAreThoseOfTheTool) {
    const std::vector<std::string> paths = documents();
    ASSERT_GT(paths.size(), 100U);
    for (const Asked& asked : questions()) {
        std::vector<std::string> command = {tool(), "verify", "--json", "--key",
                                            vectorPath("dsig/keys/rsa.pub")};
        command.insert(command.end(), asked.arguments.begin(), asked.arguments.end());
        command.insert(command.end(), paths.begin(), paths.end());
        const std::vector<std::string> lines = linesOf(runProgram(command).output);
        ASSERT_EQ(lines.size(), paths.size());
        const VerifyOptions options = optionsOf(asked.json);
        std::size_t valid = 0;
        std::size_t accepted = 0;
        for (std::size_t i = 0; i < paths.size(); ++i) {
            const VerifyResult result = verifyFile(paths[i], options);
            EXPECT_EQ(result.json(paths[i]), lines[i]) << asked.json;
            // A digest that an option tolerates is valid to who asked for it, and no more.
            const bool isAccepted =
                lines[i].find(R"("accepted":true,"refusals")") < lines[i].find(R"("signatures")");
            const bool holds =
                asked.judged ? isAccepted
                             : asked.whole && result.status == Status::Valid &&
                                   lines[i].find(R"("status":"mismatch")") == std::string::npos;
            EXPECT_EQ(static_cast<bool>(result), holds) << paths[i];
            valid += result.status == Status::Valid ? 1 : 0;
            accepted += isAccepted ? 1 : 0;
        }
        EXPECT_GT(valid, 20U) << asked.json;
        EXPECT_LT(valid, paths.size()) << asked.json;
        EXPECT_EQ(accepted > 0, asked.judged) << asked.json;
        EXPECT_LT(accepted, valid) << asked.json;
    }
}

TEST(Verify, ValuesSayWhatTheReportSays) {
    const VerifyResult result = verifyFile(sourcePath("examples/invoice-tampered.xml"));
    ASSERT_EQ(result.signatures.size(), 1U);
    const SignatureResult& signature = result.signatures[0];
    EXPECT_EQ(signature.value, ValueStatus::Valid);
    EXPECT_EQ(signature.cause.value_or(Cause()).code, "reference-failed");
    EXPECT_TRUE(signature.hasWarning("key-from-document"));
    ASSERT_TRUE(signature.signer);
    EXPECT_EQ(signature.signer->subject, "CN=Example Signer,O=Example");
    ASSERT_EQ(signature.keys.size(), 1U);
    EXPECT_TRUE(signature.keys[0].used);
    EXPECT_EQ(signature.keys[0].bits, 2048);
    EXPECT_EQ(signature.keys[0].spkiSha256, signature.signer->spkiSha256);
    ASSERT_EQ(signature.references.size(), 1U);
    const ReferenceResult& reference = signature.references[0];
    EXPECT_EQ(reference.status, ReferenceStatus::Mismatch);
    EXPECT_EQ(reference.covers, Covers::Document);
    EXPECT_NE(reference.computedDigest, reference.storedDigest);
    ASSERT_EQ(reference.excluded.size(), 1U);
    EXPECT_EQ(reference.excluded[0].path, signature.path);
    EXPECT_EQ(reference.cause.value_or(Cause()).code, "digest-mismatch");
    EXPECT_EQ(toString(reference.status), "mismatch");
}

TEST(Verify, PoliciesAreValues) {
    const std::string keys = sourcePath("examples/keys/");
    VerifyOptions options;
    options.policy.anchors.push_back(*TrustAnchors::fromFile(keys + "root.pem"));
    options.policy.strict = true;
    options.policy.at = std::chrono::sys_days(std::chrono::year(2027) / 1 / 1);
    VerifyResult result = verifyFile(invoice(), options);
    ASSERT_TRUE(result) << result.json();
    EXPECT_EQ(result.acceptance, Acceptance::Accepted);
    const SignatureResult& signature = result.signatures[0];
    EXPECT_TRUE(signature.trust && signature.trust->trusted);
    EXPECT_EQ(signature.trust->time, "2027-01-01T00:00:00Z");
    EXPECT_EQ(signature.trust->path.size(), 2U);
    EXPECT_FALSE(signature.hasWarning("key-from-document"));
    // Whoever holds a result may have changed it.
    result.signatures[0].acceptance = Acceptance::NotAsked;
    EXPECT_FALSE(result);

    options.policy.at = std::chrono::sys_days(std::chrono::year(1999) / 1 / 1);
    result = verifyFile(invoice(), options);
    EXPECT_EQ(result.status, Status::Valid);
    EXPECT_FALSE(result);
    ASSERT_EQ(result.refusals.size(), 2U);
    EXPECT_EQ(result.refusals[0].code, "not-trusted");
    EXPECT_NE(result.refusals[0].text, "");
    EXPECT_TRUE(result.signatures[0].hasRefusal("not-vouched"));
    EXPECT_EQ(result.signatures[0].trust->problems[0].code, "not-yet-valid");

    // What cannot be judged is not accepted, and a policy that means nothing is an error.
    EXPECT_EQ(verify("<a", options).acceptance, Acceptance::Refused);
    EXPECT_EQ(verify("<a/>", options).acceptance, Acceptance::Refused);
    options.policy.anchors.clear();
    EXPECT_EQ(verifyFile(invoice(), options).error,
              "the option at is about certificates that lead to an anchor, and none is given");
}

// Beside a good signature one that was moved elsewhere, which holds no more.
TEST(Verify, OneAcceptedSignatureMaySuffice) {
    const std::string good = readText(invoice());
    const std::size_t start = good.find("<Signature ");
    const std::size_t end = good.find("</Signature>") + 12;
    ASSERT_LT(start, end);
    const std::string moved = "<All>" + good.substr(start, end - start) + "</All>";
    VerifyOptions options;
    options.policy.accept = Accept::Any;
    EXPECT_FALSE(verify(moved, options));
    VerifyResult result = verify(good, options);
    ASSERT_TRUE(result);
    EXPECT_TRUE(result.oneSuffices);
    result.signatures.push_back(verify(moved).signatures.at(0));
    result.status = Status::Invalid;
    EXPECT_TRUE(result);
    result.oneSuffices = false;
    EXPECT_FALSE(result);
    result.oneSuffices = true;
    result.signatures[0].value = ValueStatus::NotChecked;
    EXPECT_FALSE(result);
}

TEST(TrustAnchors, SayWhatTheBytesAre) {
    const std::string keys = sourcePath("examples/keys/");
    const std::string pem = readText(keys + "root.pem");
    EXPECT_EQ(TrustAnchors::fromBytes(pem + readText(keys + "signer.pem"))->size(), 2U);
    EXPECT_EQ(TrustAnchors::fromBytes(Certificate::fromBytes(pem)->der())->size(), 1U);
    EXPECT_EQ(TrustAnchors::fromFile(keys)->size(), 2U); // of a folder what is a certificate
    EXPECT_EQ(TrustAnchors::fromFile(keys + "root.key").error().what,
              "this is a private key (PEM)");
    EXPECT_EQ(TrustAnchors::fromFile(keys + "signer.pub").error().what,
              "this is a public key, not a certificate");
    EXPECT_NE(TrustAnchors::fromFile(keys + "absent").error().what.find("No such file"),
              std::string::npos);
    EXPECT_EQ(RevocationLists::fromFile(keys + "root.pem").error().what,
              "this is a certificate, not a revocation list");
}

TEST(Verify, NothingSignedIsNeverTrue) {
    EXPECT_FALSE(VerifyResult());
    for (const char* const text : {"", "<a/>", "<a", "%PDF-1.4", "<a>&b;</a>"}) {
        const VerifyResult result = verify(text);
        EXPECT_FALSE(result) << text;
        const bool loads = std::string_view(text) == "<a/>";
        EXPECT_EQ(result.status, loads ? Status::NoSignature : Status::Error) << text;
        EXPECT_EQ(result.error.empty(), loads) << text;
    }
    VerifyResult emptied = verifyFile(invoice());
    EXPECT_TRUE(emptied);
    emptied.signatures.clear();
    EXPECT_FALSE(emptied);
    VerifyOptions absent;
    absent.signature = 1;
    EXPECT_EQ(verifyFile(invoice(), absent).error,
              "there is no signature with index 1; the document has 1");
}

// The octets that each operation hands out are those of the verification.
TEST(Document, OperationsAgreeWithTheVerification) {
    for (const std::string& path : {invoice(), sourcePath("examples/orders.xml")}) {
        Result<Document> document = Document::loadFile(path);
        ASSERT_TRUE(document) << document.error().what;
        const VerifyResult first = document->verify();
        ASSERT_TRUE(first);
        for (const ReferenceResult& reference : first.signatures[0].references) {
            const Result<std::string> octets = document->digestInput(0, reference.index);
            ASSERT_TRUE(octets) << octets.error().what;
            EXPECT_EQ(octets->size(), reference.octets);
        }
        EXPECT_TRUE(document->signedInfoOctets(0)->starts_with("<SignedInfo"));
        const auto list = document->signatures();
        ASSERT_TRUE(list);
        ASSERT_EQ(list->size(), first.signatures.size());
        EXPECT_EQ((*list)[0].references.size(), first.signatures[0].references.size());
        EXPECT_EQ((*list)[0].references[0].digestValue,
                  first.signatures[0].references[0].storedDigest);
        const auto certificates = document->certificates(0);
        ASSERT_TRUE(certificates);
        EXPECT_EQ(certificates->empty(), first.signatures[0].signer->subject.empty());
        EXPECT_EQ(*document->canonicalize(), runProgram({tool(), "c14n", path}).output);
        EXPECT_EQ(*document->htmlReport(path),
                  runProgram({tool(), "report", "--html", path}).output);
        EXPECT_EQ(*document->htmlReport("again"), *document->htmlReport("again"));
        // Whatever was done in between.
        EXPECT_EQ(document->verify().json(), first.json());
        EXPECT_EQ(document->verify(0).json(), first.json());
        EXPECT_FALSE(document->digestInput(0, 99));
        EXPECT_FALSE(document->digestInput(-1, 0));
        CanonicalForm form;
        form.id = "absent";
        EXPECT_FALSE(document->canonicalize(form));
        form = CanonicalForm();
        form.prefixes = "a"; // for the exclusive form only
        EXPECT_FALSE(document->canonicalize(form));
    }
}

TEST(Document, ExplainsAndLogs) {
    VerifyOptions options;
    options.log = true;
    Result<Document> document =
        Document::loadFile(sourcePath("examples/invoice-tampered.xml"), options);
    ASSERT_TRUE(document);
    const VerifyResult plain = document->verify();
    EXPECT_NE(plain.signatures[0].log.find(plain.signatures[0].reason), std::string::npos);
    EXPECT_TRUE(plain.signatures[0].references[0].cause->evidence.empty());
    const VerifyResult explained = document->explain();
    EXPECT_FALSE(explained.signatures[0].references[0].cause->evidence.empty());
    options.limits.reportOctets = 100;
    EXPECT_EQ(verifyFile(invoice(), options).status, Status::Error);
}

TEST(Document, IsTheSignatureDocumentOfAPackage) {
    const std::string letter = readText(sourcePath("examples/letter.txt"));
    const std::string signedBy = readText(sourcePath("examples/letter-detached.xml"));
    const std::string package = storedZip({{"letter.txt", letter}, {"signature.xml", signedBy}});
    Result<Document> document = Document::load(package);
    ASSERT_TRUE(document) << document.error().what;
    const VerifyResult result = document->verify();
    EXPECT_EQ(result.status, Status::Valid) << result.error;
    ASSERT_TRUE(result.container);
    EXPECT_TRUE(result.container->parts.at(0).covered);
    EXPECT_EQ(result.sha256, dsig::sha256Text(asBytes(package)));
    EXPECT_EQ(*document->digestInput(0, 0), letter);
    EXPECT_EQ(*document->canonicalize(), *Document::load(signedBy)->canonicalize());
    EXPECT_NE(document->htmlReport("x")->find("letter.txt"), std::string::npos);

    // Of several one has to be named, in a file as in memory.
    const std::string path = testing::TempDir() + "two.zip";
    const std::string other = storedZip(
        {{"letter.txt", "?"}, {"signature.xml", signedBy}, {"_xmlsignatures/s.xml", "<r/>"}});
    std::ofstream(path, std::ios::binary) << other;
    EXPECT_NE(Document::loadFile(path).error().what.find("2 signature documents"),
              std::string::npos);
    VerifyOptions options;
    options.part = "signature.xml";
    document = Document::loadFile(path, options);
    ASSERT_TRUE(document) << document.error().what;
    EXPECT_EQ(document->verify().status, Status::Invalid);
    EXPECT_EQ(*document->digestInput(0, 0), "?");
    EXPECT_FALSE(Document::load(storedZip({{"letter.txt", letter}})));
    std::filesystem::remove(path);
}

TEST(Key, SaysWhatTheBytesAre) {
    const std::string keys = sourcePath("examples/keys/");
    const Result<Key> key = Key::fromFile(keys + "signer.pub");
    ASSERT_TRUE(key);
    EXPECT_EQ(key->keys()[0].type, "RSA");
    const Result<Certificate> certificate = Certificate::fromFile(keys + "signer.pem");
    ASSERT_TRUE(certificate);
    EXPECT_EQ(certificate->spkiSha256(), key->keys()[0].spkiSha256);
    EXPECT_EQ(Certificate::fromBytes(certificate->pem())->sha256(), certificate->sha256());
    EXPECT_EQ(Certificate::fromBytes(certificate->der())->sha256(), certificate->sha256());
    EXPECT_EQ(Key::fromFile(keys + "signer.key").error().what, "this is a private key (PEM)");
    EXPECT_EQ(Certificate::fromFile(keys + "signer.key").error().what,
              "this is a private key (PEM)");
    EXPECT_EQ(Certificate::fromFile(keys + "signer.pub").error().what,
              "this is a public key, not a certificate");
    EXPECT_EQ(Certificate::fromBytes("").error().what, "the file is empty");
    EXPECT_NE(Key::fromFile(keys).error().what.find("s a directory"), std::string::npos);
}

// Keys and stores are shared; what verifiers change is not.
TEST(Verify, ThreadsShareOptions) {
    const std::string text = readText(invoice());
    VerifyOptions options;
    options.keys.push_back(*Key::fromFile(sourcePath("examples/keys/signer.pub")));
    std::string error;
    ASSERT_TRUE(options.certificates.addFile(sourcePath("examples/keys/signer.pem"), error));
    const std::string expected = verify(text, options).json();
    std::vector<std::string> found(4);
    std::vector<std::thread> threads;
    for (std::string& json : found) {
        threads.emplace_back([&] { json = verify(text, options).json(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(found, std::vector<std::string>(4, expected));
}

} // namespace
} // namespace vantrel::test
