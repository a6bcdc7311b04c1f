// SPDX-License-Identifier: MIT
// Memory runs out at one allocation after the other, of everything that the public surface does
// with documents: no exception leaves but the one that is announced, nothing comes out falsely,
// nothing leaks, and afterwards the same object works as if nothing had been.

#include "api/document.h"
#include "api/verify.h"
#include "bindings/c/vantrel.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/trust/policy.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/base/ClsStringArray.h"
#include "foundation/text/LogBase.h"
#include "foundation/x509/ClsXmlCertVault.h"
#include "foundation/x509/path/path_material.h"
#include "foundation/x509/path/path_query.h"
#include "tests/dsig/case_setting.h"
#include "tests/dsig/document_case.h"
#include "tests/support/bytes.h"
#include "tests/support/corpus.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/key_messages.h"
#include "tests/support/live_objects.h"

#include <cstdio>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// What an operation says: true, or a failure that may be one of memory.
using Operation = std::function<bool()>;

enum class Throws { Nothing, BadAlloc };

// Every allocation of a short operation, then ever fewer: a long one repeats itself, and with
// sanitizers takes its time.
long following(long n) {
#if defined(VANTREL_SANITIZED_MALLOC)
    return n + 1 + n / 8;
#else
    return n + 1 + (n < 600 ? 0 : n / (n < 1000 ? 100 : 8));
#endif
}

// Whether the operation ended as it may, with its n-th allocation failing.
bool endsWell(long n, Throws throws, const Operation& operation, bool& reached) {
    bool ended = false;
    reached = withFailingAllocation(n, [&] {
        try {
            static_cast<void>(operation());
            ended = true;
        } catch (const std::bad_alloc&) {
            ended = throws == Throws::BadAlloc;
        } catch (...) {}
    });
    return ended;
}

// `operation` works when it has all memory; how it ends without some is its result.
void failEach(const std::string& name, Throws throws, const Operation& operation) {
    ASSERT_TRUE(operation()) << name;
    long count = 0;
    long tried = 0;
    for (bool reached = true; reached; count = following(count), ++tried) {
        ASSERT_TRUE(endsWell(count, throws, operation, reached)) << name << " throws at " << count;
        // The second time nothing is made that stays, such as what is made at first need.
        const long before = liveBlocks();
        ASSERT_TRUE(endsWell(count, throws, operation, reached)) << name << " throws at " << count;
        ASSERT_EQ(liveBlocks(), before) << name << " leaks at allocation " << count;
    }
    ASSERT_TRUE(operation()) << name << " afterwards";
    EXPECT_GT(tried, 3) << name;
    std::printf("%s: %ld of some %ld allocations\n", name.c_str(), tried, count);
}

// The same of one object that lives on: each failure is followed by a success.
void failEachOf(const std::string& name, ClsXmlDSig& verifier, bool expected,
                const std::function<bool(ClsXmlDSig&)>& operation) {
    ASSERT_EQ(operation(verifier), expected) << name << "\n" << logOf(verifier);
    long n = 0;
    for (bool reached = true; reached; n = following(n)) {
        bool found = false;
        bool ended = false;
        reached = withFailingAllocation(n, [&] {
            try {
                found = operation(verifier);
                ended = true;
            } catch (...) {}
        });
        ASSERT_TRUE(ended) << name << " throws at allocation " << n;
        ASSERT_FALSE(found && !expected) << name << " at allocation " << n;
        ASSERT_EQ(operation(verifier), expected) << name << " after allocation " << n << "\n"
                                                 << logOf(verifier);
    }
    EXPECT_GT(n, 10) << name;
    std::printf("%s: up to allocation %ld\n", name.c_str(), n);
}

// One folder for each way that a verification takes.
constexpr std::string_view kRoutes[] = {
    "attribute-order/prefix", "cut-outs/sii",     "cut-outs/doda",     "ebics/three-elements",
    "enveloped/adjacent",     "methods/hmac",     "methods/rsa",       "removals/element-with-id",
    "removals/swift",         "zatca/",           "references/base64", "standards/",
    "encodings/iso-8859-1",   "entities/declared"};

TEST(Memory, RunsOutWhileLoadingAndVerifying) {
    int routes = 0;
    for (const auto& [group, folders] : casesByGroup()) {
        for (const std::string& folder : folders) {
            if (std::ranges::none_of(kRoutes, [&](std::string_view route) {
                    return folder.find(route) != std::string::npos;
                })) {
                continue;
            }
            for (VecCase& c : readVectors(folder + "/case.vec", "runs")) {
                if (!c.has("WithReferences") || c.has("First") || c.has("LoadError")) {
                    continue;
                }
                const LiveObjectCheck live;
                const Setting setting = readSetting(c, folder);
                ClsXmlDSig verifier;
                std::string log;
                prepare(verifier, setting, log);
                XString text(setting.document);
                ClsBinData octets;
                octets.data().append(bytesOf(setting.document));
                failEachOf(c.where(), verifier, c.boolean("WithReferences"), [&](ClsXmlDSig& it) {
                    if (!(setting.asBytes ? it.LoadSignatureBd(octets) : it.LoadSignature(text))) {
                        return false;
                    }
                    it.put_Selector(setting.selector);
                    return it.VerifySignature(true);
                });
                ++routes;
                break;
            }
        }
    }
    EXPECT_GE(routes, 14);
}

// Ten times the same signature: the third one's value is worked out together with those behind it.
TEST(Memory, RunsOutWhileValuesAreWorkedOutTogether) {
    constexpr int kCount = 10;
    const std::string message =
        keyMessage("message", "", "<ds:KeyValue>" + keyValueNamed("rsa.signer") + "</ds:KeyValue>");
    const std::string end = "</ds:Signature>";
    const std::size_t start = message.find("<ds:Signature ");
    const std::size_t behind = message.find(end) + end.size();
    std::string text = message.substr(0, behind);
    for (int i = 1; i < kCount; ++i) {
        text += message.substr(start, behind - start);
    }
    text += message.substr(behind);
    ClsXmlDSig verifier;
    XString document(text);
    failEachOf("values", verifier, true, [&](ClsXmlDSig& it) {
        if (!it.LoadSignature(document)) {
            return false;
        }
        // One allocation fails, so one verification may; those behind it use what it left.
        int failures = 0;
        for (int i = 0; i < 2 * kCount; ++i) {
            it.put_Selector(i % kCount);
            failures += it.VerifySignature(true) ? 0 : 1;
        }
        EXPECT_LE(failures, 1);
        return failures == 0;
    });
}

// A document that is digested while it is read, as far as memory lasts.
TEST(Memory, RunsOutWhileALargeDocumentIsReadByTwoThreads) {
    std::string text = "<r xmlns:p='urn:p'>";
    while (text.size() < std::size_t{9} << 19) {
        text += "<p:e x='1'>te&gt;xt</p:e>";
    }
    text += "<Signature xmlns='http://www.w3.org/2000/09/xmldsig#'><SignedInfo><Reference URI=''>"
            "<Transforms><Transform Algorithm='http://www.w3.org/2000/09/"
            "xmldsig#enveloped-signature'/></Transforms><DigestMethod "
            "Algorithm='http://www.w3.org/2001/04/xmlenc#sha256'/><DigestValue>?</DigestValue>"
            "</Reference></SignedInfo><SignatureValue>AAAA</SignatureValue></Signature></r>";
    ClsXmlDSig verifier;
    XString document(text);
    ASSERT_TRUE(verifier.LoadSignature(document) && !verifier.VerifyReferenceDigest(0));
    XString json;
    verifier.get_LastJsonData(json);
    const std::string_view report = json.getUtf8Sb().view();
    constexpr std::string_view kComputed = "\"computed\":\"";
    const std::size_t computed = report.find(kComputed) + kComputed.size();
    text.replace(text.find('?'), 1, report.substr(computed, report.find('"', computed) - computed));
    const XString right(text);
    verifier.SetThreads(2);
    failEachOf("ahead", verifier, true, [&](ClsXmlDSig& it) {
        document.copyFromX(right);
        return it.LoadSignature(document) && it.VerifyReferenceDigest(0);
    });
}

bool isReport(const XString& json, std::string_view status) {
    // Without an allocation of the test's own, which could be the one that fails.
    constexpr std::string_view kStatus = "\"status\":\"";
    const std::string_view text = json.getUtf8Sb().view();
    for (std::size_t at = text.find(kStatus); at != text.npos; at = text.find(kStatus, at + 1)) {
        if (text.substr(at + kStatus.size()).starts_with(status)) {
            return true;
        }
    }
    return false;
}

std::shared_ptr<dsig::Policy> policy() {
    const auto made = std::make_shared<dsig::Policy>();
    made->mustCover = {"document", "/Invoice/Total"};
    return made;
}

TEST(Memory, RunsOutWhileReportsAreMade) {
    for (const auto& [name, status] :
         {std::pair{"invoice.xml", "valid"}, std::pair{"invoice-tampered.xml", "invalid"}}) {
        const LiveObjectCheck live;
        ClsXmlDSig verifier;
        verifier.SetPolicy(policy());
        loadDocument(verifier, sourcePath(std::string("examples/") + name));
        verifier.VerifySignature(true);
        failEachOf(name, verifier, true, [status = status](ClsXmlDSig& it) {
            XString text;
            ClsBinData octets;
            ClsStringArray certificates;
            XString title("a page");
            it.VerifySignature(true);
            it.get_LastErrorText(text);
            it.get_LastErrorLine(text);
            const bool made = it.LastAcceptance(text) && it.KeepForHtmlReport();
            it.get_LastJsonData(text);
            return made && isReport(text, status) && it.HtmlReport(title, text) &&
                   it.DescribeSignature(text) && it.SignedInfoOctets(octets) &&
                   it.DigestInput(0, octets) && it.GetCerts(certificates);
        });
    }
}

// A cause that is named reproduces the digest, so there is nothing false to be said.
TEST(Memory, RunsOutWhileCausesAreSearched) {
    const LiveObjectCheck live;
    std::string document = readText(sourcePath("examples/invoice.xml"));
    document.insert(document.find("</Invoice>"), "\n");
    ClsXmlDSig verifier;
    failEachOf("explain", verifier, true, [&](ClsXmlDSig& it) {
        XString text(document);
        return it.LoadSignature(text) && !it.VerifySignature(true) && it.ExplainFailures(1);
    });
}

TEST(Memory, RunsOutWhileCanonicalizing) {
    ClsXmlDSig verifier;
    // More of everything than a walk has room for without an allocation.
    std::string declarations;
    std::string attributes;
    for (int i = 0; i < 40; ++i) {
        const std::string prefix = "p" + std::to_string(i);
        declarations += " xmlns:" + prefix + "='urn:" + prefix + "'";
        attributes += " " + prefix + ":a=''";
    }
    XString text("<r" + declarations + "><e" + attributes + "/></r>");
    XString expected;
    XString version("1.1");
    ASSERT_TRUE(verifier.CanonicalizeXml(text, version, true, expected));
    failEachOf("canonicalize", verifier, true, [&](ClsXmlDSig& it) {
        XString out;
        const bool ok = it.CanonicalizeXml(text, version, true, out);
        EXPECT_TRUE(!ok || out.getUtf8Sb().view() == expected.getUtf8Sb().view());
        return ok;
    });
}

TEST(Memory, RunsOutWhileKeysAreRead) {
    for (const char* const name : {"bag.p7b", "cert.der", "key.pem", "key.xml", "set.jwk"}) {
        const std::string bytes = readText(sourcePath(std::string("fuzz/corpus/key_file/") + name));
        failEach(name, Throws::BadAlloc, [&] { return !!Key::fromBytes(bytes); });
    }
    const std::string pem = readText(sourcePath("examples/keys/signer.pem"));
    failEach("anchors", Throws::BadAlloc, [&] { return !!TrustAnchors::fromBytes(pem); });
    XString file(sourcePath("examples/keys/signer.pem"));
    failEach("vault", Throws::Nothing, [&] {
        ClsXmlCertVault vault;
        return vault.AddCertFile(file);
    });
}

TEST(Memory, RunsOutOnTheWayToAnAnchor) {
    const std::string bag = readText(sourcePath("fuzz/corpus/path/policies.pem"));
    failEach("path", Throws::BadAlloc, [&] {
        LogNull log;
        x509::PathMaterial material;
        x509::PathQuery query;
        const bool read = material.addCertificates(bytesOf(bag), query.candidates, log);
        static_cast<void>(material.addCrls(bytesOf(bag), query.crls, log));
        if (!read) {
            return false;
        }
        query.target = query.candidates.front();
        query.anchors = {query.candidates.back()};
        std::int64_t notAfter = 0;
        static_cast<void>(query.target->validity(query.time, notAfter));
        return !x509::findPath(query).path.empty();
    });
}

TEST(Memory, RunsOutOverATimeStamp) {
    VANTREL_NEED_CORPUS(path, "tsa/xml/exc-sha384.xml");
    ClsXmlDSig verifier;
    XString words("VerifyEncapsulatedTimeStamp");
    verifier.put_UncommonOptions(words);
    XString text(readText(path));
    failEachOf("time-stamp", verifier, true, [&](ClsXmlDSig& it) {
        return it.LoadSignature(text) && it.HasEncapsulatedTimeStamp() && it.VerifySignature(true);
    });
}

// An archive has room for all of it: several documents, a policy, JSON.
TEST(Memory, RunsOutInTheTypedInterfaces) {
    const std::string document = readText(sourcePath("examples/orders.xml"));
    const std::string json = R"({"require":["covered"],"hmacKey":"00","mustCover":["#a"]})";
    failEach("verify", Throws::BadAlloc, [&] {
        const Result<VerifyOptions> options = optionsFromJson(json);
        return options && !verify(document, *options).json().empty();
    });
    failEach("document", Throws::BadAlloc, [&] {
        Result<Document> loaded = Document::load(document);
        return loaded && !!loaded->verify();
    });
    failEach("interface for C", Throws::Nothing, [&] {
        vantrel_options* options = nullptr;
        vantrel_result* result = nullptr;
        const vantrel_code parsed =
            vantrel_options_parse(json.data(), json.size(), &options, nullptr);
        EXPECT_EQ(parsed == VANTREL_OK, options != nullptr);
        const vantrel_code code =
            vantrel_verify(document.data(), document.size(), options, &result);
        EXPECT_EQ(code == VANTREL_OK, result != nullptr);
        const bool ok = parsed == VANTREL_OK && code == VANTREL_OK &&
                        vantrel_result_json(result, "a") != nullptr;
        vantrel_result_free(result);
        vantrel_options_free(options);
        return ok;
    });
}

} // namespace
} // namespace vantrel::test
