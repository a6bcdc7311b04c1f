// SPDX-License-Identifier: MIT
// One small authority, and what is said of each thing that can be wrong with a path. The suites of
// the corpus tell whether a path holds; here it is why not, and about which certificate.

#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_writer.h"
#include "foundation/json/json_writer.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/x509/path/path_report.h"
#include "foundation/x509/path/path_words.h"
#include "foundation/x509/path/peer_name.h"
#include "tests/foundation/x509/path/path_case.h"
#include "tests/support/process.h"
#include "tests/support/test_authority.h"

#include <cstdlib>
#include <functional>

namespace vantrel {
namespace {

using test::PathCase;
using x509::PathQuery;
using x509::PathResult;

constexpr std::int64_t kDay = 86400;
const std::string kCa = "basicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign\n"
                        "subjectKeyIdentifier=hash\n";
const std::string kUser = "keyUsage=critical,digitalSignature\nsubjectAltName=DNS:a.example,"
                          "IP:192.0.2.7,email:Ada@Example.com\n";

// root -> middle -> user, valid now, with files of those names.
class SmallAuthority {
public:
    explicit SmallAuthority(const std::string& openssl) : m_authority(openssl) {
        m_authority.issue("root", "", kCa);
        m_authority.issue("middle", "root", kCa);
        m_authority.issue("user", "middle", kUser);
    }
    test::TestAuthority& authority() { return m_authority; }
    [[nodiscard]] const test::TestAuthority& authority() const { return m_authority; }
    [[nodiscard]] test::Bytes read(const std::string& name) const {
        return test::readFile(m_authority.file(name));
    }

    // The path of `target` with `middle` at hand and `root` as the anchor.
    [[nodiscard]] PathCase path(const std::string& target, const std::string& middle = "middle",
                                const std::string& root = "root") const {
        PathCase made;
        made.add(read(root + ".pem"), made.query.anchors);
        made.add(read(middle + ".pem"), made.query.candidates);
        made.setTarget(read(target + ".pem"));
        std::int64_t notAfter = 0;
        EXPECT_TRUE(made.readable && made.query.target->validity(made.query.time, notAfter));
        made.query.time += kDay;
        return made;
    }

private:
    test::TestAuthority m_authority;
};

// "code subject" of every problem, subjects by their common names.
std::string problemsOf(const PathResult& result) {
    std::string all;
    for (const x509::PathProblem& problem : result.problems) {
        const std::string subject = x509::subjectText(*problem.certificate);
        all += all.empty() ? "" : ", ";
        all += x509::pathFaultWord(problem.fault);
        all += " " + subject.substr(3, subject.find(',') - 3);
    }
    return all;
}

TEST(PathVerdict, EveryProblemHasItsCode) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    SmallAuthority small(openssl);
    test::TestAuthority& made = small.authority();
    made.issue("other", "", kCa, "ec", "root");
    made.issue("notca", "root", "basicConstraints=critical,CA:FALSE\n", "ec");
    made.issue("nosign", "root", "basicConstraints=critical,CA:TRUE\nkeyUsage=cRLSign\n");
    made.issue("short", "root", kCa + "nameConstraints=critical,permitted;DNS:b.example\n");
    made.issue("low", "root", "basicConstraints=critical,CA:TRUE,pathlen:0\n");
    made.issue("below", "low", kCa);
    made.issue("odd", "root", kCa + "1.2.3.4=critical,DER:0500\n");
    made.issue("server", "root", kCa + "extendedKeyUsage=serverAuth\n");
    made.issue("strict", "root", kCa + "policyConstraints=requireExplicitPolicy:0\n");
    made.issue("broken", "root", kCa + "nameConstraints=DER:3000\n");
    made.issue("ruled", "root", kCa + "certificatePolicies=1.2.3,1.2.4\n");
    made.issue("by_ruled", "ruled",
               kUser + std::string("certificatePolicies=1.2.4\n"
                                   "crlDistributionPoints=URI:http://a/\n"));
    for (const char* const issuer :
         {"notca", "nosign", "short", "below", "odd", "server", "strict", "broken"}) {
        made.issue(std::string("by_") + issuer, issuer, kUser);
    }
    struct Case {
        const char* target;
        const char* middle;
        const char* root;
        std::function<void(PathQuery&)> change;
        const char* problems;
    };
    const auto same = [](PathQuery&) {};
    const Case cases[] = {
        {"user", "middle", "root", same, ""},
        {"root", "middle", "root", same, ""}, // itself the anchor
        {"user", "notca", "root", same, "no-path user"},
        {"user", "middle", "other", same, "bad-signature middle"},
        {"user", "middle", "root", [](PathQuery& q) { q.time += 4000 * kDay; },
         "expired root, expired middle, expired user"},
        {"user", "middle", "root", [](PathQuery& q) { q.time -= 4000 * kDay; },
         "not-yet-valid root, not-yet-valid middle, not-yet-valid user"},
        {"by_notca", "notca", "root", same, "not-a-ca notca"},
        {"by_nosign", "nosign", "root", same, "key-usage nosign"},
        {"by_short", "short", "root", same, "name-constraints by_short"},
        {"by_odd", "odd", "root", same, "unknown-critical-extension odd"},
        {"by_broken", "broken", "root", same, "malformed broken"},
        {"by_server", "server", "root", [](PathQuery& q) { q.purposes = {"1.3.6.1.5.5.7.3.8"}; },
         "extended-key-usage server"},
        {"by_strict", "strict", "root", same, "policy by_strict"},
        {"user", "middle", "root", [](PathQuery& q) { q.explicitPolicy = true; }, "policy user"},
        {"by_ruled", "ruled", "root", [](PathQuery& q) { q.explicitPolicy = true; }, ""},
        {"by_ruled", "ruled", "root",
         [](PathQuery& q) {
             q.explicitPolicy = true;
             q.policies = {"1.2.3"};
         },
         "policy by_ruled"},
        {"user", "middle", "root", [](PathQuery& q) { q.keyUsage = x509::kUsageCrlSign; },
         "key-usage user"},
        {"user", "middle", "root", [](PathQuery& q) { q.name = "dns:b.example"; },
         "name-mismatch user"},
        {"user", "middle", "root", [](PathQuery& q) { q.maxDepth = 0; }, "path-too-long user"},
        {"user", "middle", "root", [](PathQuery& q) { q.checkRevocation = true; },
         "revocation-unknown middle, revocation-unknown user"},
        {"user", "middle", "root", [](PathQuery& q) { q.limits.signatureChecks = 1; },
         "limit middle"},
        {"user", "middle", "root", [](PathQuery& q) { q.anchors.clear(); }, "no-path middle"},
    };
    for (const Case& each : cases) {
        PathCase path = small.path(each.target, each.middle, each.root);
        each.change(path.query);
        const PathResult result = path.run();
        EXPECT_EQ(problemsOf(result), each.problems) << each.target << ' ' << each.middle;
        EXPECT_EQ(result.trusted, *each.problems == '\0') << each.target;
    }
    PathCase tooLong = small.path("by_below", "below");
    tooLong.add(small.read("low.pem"), tooLong.query.candidates);
    EXPECT_EQ(problemsOf(tooLong.run()), "path-too-long below");
}

// A certificate is signed by a key of every kind, and by no other key of that kind and name.
TEST(PathVerdict, EveryKindOfKeySigns) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    SmallAuthority small(openssl);
    test::TestAuthority& made = small.authority();
    for (const std::string kind : {"rsa", "dsa", "ec384", "ed25519", "ed448"}) {
        made.issue(kind, "root", kCa, kind);
        made.issue("by_" + kind, kind, kUser);
        made.issue("false_" + kind, "root", kCa, kind, kind);
        EXPECT_TRUE(small.path("by_" + kind, kind).run().trusted) << kind;
        EXPECT_FALSE(small.path("by_" + kind, "false_" + kind).run().trusted) << kind;
    }
}

// The certificate `name` again, issued by a key without parameters in it (RFC 5280 6.1.4 d to f).
void leaveOutParameters(const SmallAuthority& small, const std::string& name,
                        const std::string& issuer) {
    const PathCase made = small.path(name);
    const VantrelX509& certificate = *made.query.target;
    const ByteView info = certificate.publicKeyInfo();
    asn1::DerReader reader(certificate.tbsCertificate());
    asn1::DerReader fields;
    asn1::DerReader key(info);
    asn1::DerReader parts;
    asn1::DerReader algorithm;
    ByteView kind;
    ASSERT_TRUE(
        reader.enter(asn1::Tag::Sequence, fields) && key.enter(asn1::Tag::Sequence, parts) &&
        parts.enter(asn1::Tag::Sequence, algorithm) && algorithm.readWhole(asn1::Tag::Oid, kind));
    const ByteView all = fields.rest();
    asn1::DerWriter content;
    content.open(asn1::Tag::Sequence);
    content.writeRaw({all.data(), info.data()});
    content.open(asn1::Tag::Sequence);
    content.write(asn1::Tag::Sequence, kind);
    content.writeRaw(parts.rest());
    content.close();
    content.writeRaw({info.data() + info.size(), all.data() + all.size()});
    content.close();
    const test::TestAuthority& authority = small.authority();
    test::writeFile(authority.file("tbs"), asText(content.bytes()));
    authority.run({"dgst", "-sha256", "-sign", issuer + ".key", "-out", "tbs.sig", "tbs"});
    asn1::DerWriter der;
    der.open(asn1::Tag::Sequence);
    der.writeRaw(content.bytes());
    der.writeRaw(certificate.signatureAlgorithm());
    der.write(asn1::Tag::BitString, asBytes('\0' + test::readText(authority.file("tbs.sig"))));
    der.close();
    test::writeFile(authority.file(name + ".pem"), asText(der.bytes()));
}

// Only a path gives such a key its parameters, so that its signatures are checked behind the
// search.
TEST(PathVerdict, KeysThatInheritTheirParametersSign) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    SmallAuthority small(openssl);
    test::TestAuthority& made = small.authority();
    made.issue("top", "", kCa, "dsa");
    made.issue("heir", "top", kCa, "dsa");
    made.issue("genuine", "heir", kUser);
    made.issue("heir2", "top", kCa, "dsa", "heir");
    made.issue("forged", "heir2", kUser);
    leaveOutParameters(small, "heir", "top");
    EXPECT_TRUE(small.path("genuine", "heir", "top").run().trusted);
    EXPECT_EQ(problemsOf(small.path("forged", "heir", "top").run()), "bad-signature forged");
    // What is above hands no parameters down.
    EXPECT_FALSE(small.path("genuine", "heir", "root").run().trusted);
}

TEST(PathVerdict, NamesThatItWasIssuedFor) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    SmallAuthority small(openssl);
    small.authority().issue("wild", "middle", "subjectAltName=DNS:*.b.example\n");
    const auto holds = [&](const std::string& target, const std::string& name) {
        PathCase path = small.path(target);
        path.query.name = name;
        return path.run().trusted;
    };
    for (const char* const name : {"dns:A.example", "dns:a.example.", "ip:192.0.2.7",
                                   "ip:192.0.2.7", "email:Ada@EXAMPLE.com"}) {
        EXPECT_TRUE(holds("user", name)) << name;
    }
    for (const char* const name :
         {"dns:x.a.example", "dns:user", "dns:192.0.2.7", "ip:192.0.2.8", "email:ada@example.com",
          "email:@example.com", "a.example", "dns:", "dns:*.example", "ip:192.0.2.07"}) {
        EXPECT_FALSE(holds("user", name)) << name;
    }
    EXPECT_TRUE(holds("wild", "dns:x.B.example"));
    EXPECT_FALSE(holds("wild", "dns:b.example"));
    EXPECT_FALSE(holds("wild", "dns:x.y.b.example"));

    // RFC 4291 2.2
    const auto octets = [](const std::string& text) {
        x509::PeerName name;
        return x509::parsePeerName("ip:" + text, name) ? test::toHex(asBytes(name.value)) : "";
    };
    EXPECT_EQ(octets("2001:db8::8:800:200c:417a"), "20010db80000000000080800200c417a");
    EXPECT_EQ(octets("::ffff:192.0.2.1"), "00000000000000000000ffffc0000201");
    EXPECT_EQ(octets("::"), std::string(32, '0'));
    for (const char* const wrong :
         {"1::2::3", "1:2:3:4:5:6:7", "1:2:3:4:5:6:7:8:9", ":1:2:3:4:5:6:7:8", "12345::", "1.2.3",
          "1.2.3.256", "1:2:3:4:5:6:7:", "g::"}) {
        EXPECT_EQ(octets(wrong), "") << wrong;
    }
}

// The authority's account of its certificates, as openssl keeps it; lists and answers come from it.
class Account {
public:
    explicit Account(test::TestAuthority& authority) : m_authority(authority) {
        test::writeFile(
            m_authority.file("ca.cnf"),
            "[ca]\ndefault_ca = here\n[here]\ndatabase = index.txt\ndefault_md = sha256\n");
    }
    // `state`: of the user's certificate, a line of the account up to the serial number.
    void set(const std::string& state) const {
        setLine(state.empty() ? "" : state + "\t03EB\tunknown\t/CN=user");
    }
    void setLine(const std::string& line) const {
        test::writeFile(m_authority.file("index.txt"), line.empty() ? "" : line + "\n");
    }
    [[nodiscard]] test::Bytes list(const std::string& ca) const {
        m_authority.run({"ca", "-config", "ca.cnf", "-cert", ca + ".pem", "-keyfile", ca + ".key",
                         "-gencrl", "-crldays", "30", "-out", "list.pem"});
        return test::readFile(m_authority.file("list.pem"));
    }
    // With the responder's certificate, where it is another than the issuer.
    [[nodiscard]] test::Bytes answer(const std::string& responder,
                                     const std::string& certificate = "user") const {
        std::vector<std::string> words = {"ocsp",
                                          "-index",
                                          "index.txt",
                                          "-CA",
                                          "middle.pem",
                                          "-issuer",
                                          "middle.pem",
                                          "-rsigner",
                                          responder + ".pem",
                                          "-rkey",
                                          responder + ".key",
                                          "-cert",
                                          certificate + ".pem",
                                          "-ndays",
                                          "30",
                                          "-respout",
                                          "answer.der"};
        if (responder == "middle") {
            words.emplace_back("-resp_no_certs");
        }
        m_authority.run(words);
        return test::readFile(m_authority.file("answer.der"));
    }

private:
    test::TestAuthority& m_authority;
};

TEST(PathVerdict, RevocationLists) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    SmallAuthority small(openssl);
    const Account account(small.authority());
    account.set("");
    PathCase path = small.path("user");
    path.addCrl(account.list("root"));
    path.addCrl(account.list("middle"));
    path.query.checkRevocation = true;
    EXPECT_EQ(problemsOf(path.run()), "");
    // Once nextUpdate is past, the status is unknown again.
    path.query.time += 60 * kDay;
    EXPECT_EQ(problemsOf(path.run()), "revocation-unknown middle, revocation-unknown user");

    // A list that names it counts although its status was not asked for; somebody else's of the
    // same name says nothing.
    account.set("R\t491231235959Z\t491230000000Z");
    PathCase revoked = small.path("user");
    revoked.addCrl(account.list("middle"));
    EXPECT_EQ(problemsOf(revoked.run()), "revoked user");
    // Two signatures are the path's own: a list that cannot be looked at any more is not left out.
    revoked.query.limits.signatureChecks = 2;
    EXPECT_EQ(problemsOf(revoked.run()), "limit user");
    revoked.query.limits.signatureChecks = 3;
    EXPECT_EQ(problemsOf(revoked.run()), "revoked user");
    small.authority().issue("impostor", "", kCa, "ec", "middle");
    PathCase foreign = small.path("user");
    foreign.addCrl(account.list("impostor"));
    EXPECT_EQ(problemsOf(foreign.run()), "");

    // Judged at a time before the revocation, by a list from later; unless the key was known to be
    // in other hands by then.
    revoked.query.revocationTime = revoked.query.time + kDay;
    EXPECT_EQ(problemsOf(revoked.run()), "");
    account.set("R\t491231235959Z\t491230000000Z,keyTime,20200101000000Z");
    PathCase compromised = small.path("user");
    compromised.addCrl(account.list("middle"));
    compromised.query.revocationTime = compromised.query.time + kDay;
    EXPECT_EQ(problemsOf(compromised.run()), "revoked user");
}

TEST(PathVerdict, AnswersOfResponders) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    SmallAuthority small(openssl);
    const Account account(small.authority());
    small.authority().issue("responder", "middle", "extendedKeyUsage=OCSPSigning\n");
    small.authority().issue("unfit", "middle", "extendedKeyUsage=timeStamping\n");
    small.authority().issue("alien", "root", "extendedKeyUsage=OCSPSigning\n");
    const auto problemsWith = [&](const std::string& responder) {
        PathCase path = small.path("user");
        path.add(small.read("middle.pem"), path.query.anchors); // so that one answer is enough
        path.material->addOcspResponse(account.answer(responder), path.query.ocspResponses);
        path.query.checkRevocation = true;
        return problemsOf(path.run());
    };
    account.set("V\t491231235959Z\t");
    EXPECT_EQ(problemsWith("middle"), "");
    EXPECT_EQ(problemsWith("responder"), "");
    EXPECT_EQ(problemsWith("unfit"), "revocation-unknown user");
    EXPECT_EQ(problemsWith("alien"), "revocation-unknown user");
    account.set("R\t491231235959Z\t200101000000Z,superseded");
    EXPECT_EQ(problemsWith("responder"), "revoked user");
    EXPECT_EQ(problemsWith("unfit"), "revocation-unknown user");
}

// Answers count from the second on in which the certificate was issued.
TEST(PathVerdict, AnswerAtOnce) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    SmallAuthority small(openssl);
    test::TestAuthority& made = small.authority();
    const Account account(made);
    test::Bytes answer;
    bool isAtOnce = false;
    for (int tries = 0; tries < 50 && !isAtOnce; ++tries) {
        made.issue("user", "middle", kUser);
        const std::string text =
            made.run({"x509", "-in", "user.pem", "-noout", "-serial", "-startdate"});
        const std::string serial = text.substr(7, text.find('\n') - 7); // behind "serial="
        const std::size_t date = text.find("notBefore=") + 10;
        account.setLine("V\t491231235959Z\t\t" + serial + "\tunknown\t/CN=user");
        answer = account.answer("middle");
        const std::string about =
            made.run({"ocsp", "-respin", "answer.der", "-noverify", "-resp_text"});
        isAtOnce = about.find("Produced At: " + text.substr(date, text.find('\n', date) - date)) !=
                   std::string::npos;
    }
    ASSERT_TRUE(isAtOnce);
    PathCase path = small.path("user");
    path.add(small.read("middle.pem"), path.query.anchors);
    path.material->addOcspResponse(answer, path.query.ocspResponses);
    path.query.checkRevocation = true;
    EXPECT_EQ(problemsOf(path.run()), "");
}

// The issuer's word on a responder, by a list or an answer of its own, goes before his; an issuer
// that wrote that nobody need ask is not asked.
TEST(PathVerdict, RevokedResponders) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    SmallAuthority small(openssl);
    const Account account(small.authority());
    const std::string revoked = "R\t491231235959Z\t200101000000Z";
    const std::string responder = "extendedKeyUsage=OCSPSigning\n";
    small.authority().issue("responder", "middle", responder);                  // 03EC
    small.authority().issue("free", "middle", responder + "noCheck=ignored\n"); // 03ED
    account.setLine(revoked + "\t03EC\tunknown\t/CN=responder");
    const test::Bytes byIssuer = account.answer("middle", "responder");
    const test::Bytes byResponder = account.answer("free", "responder");
    const test::Bytes listed = account.list("middle");
    account.setLine(revoked + "\t03ED\tunknown\t/CN=free");
    const test::Bytes freeListed = account.list("middle");
    // What is found when `name` says that the user is revoked.
    account.set(revoked);
    const auto problemsWith = [&](const std::string& name, const test::Bytes& list,
                                  const test::Bytes& other) {
        PathCase path = small.path("user");
        path.material->addOcspResponse(account.answer(name), path.query.ocspResponses);
        if (!list.empty()) {
            path.addCrl(list);
        }
        path.material->addOcspResponse(other, path.query.ocspResponses);
        return problemsOf(path.run());
    };
    EXPECT_EQ(problemsWith("responder", {}, {}), "revoked user");
    EXPECT_EQ(problemsWith("responder", {}, byIssuer), "");
    EXPECT_EQ(problemsWith("responder", listed, {}), "");
    EXPECT_EQ(problemsWith("free", freeListed, {}), "revoked user");
    // Responders have no say about each other.
    EXPECT_EQ(problemsWith("responder", {}, byResponder), "revoked user");
}

TEST(PathVerdict, MaterialFromFilesAndFolders) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    SmallAuthority small(openssl);
    const std::string folder = small.authority().file("");
    x509::PathMaterial material;
    std::vector<const VantrelX509*> found;
    LogNull log;
    // Three certificates among keys, requests and serial numbers.
    EXPECT_TRUE(material.addCertificateSource(folder, found, log));
    EXPECT_EQ(found.size(), 3U);
    ASSERT_EQ(setenv("SSL_CERT_FILE", small.authority().file("root.pem").c_str(), 1), 0);
    EXPECT_TRUE(material.addCertificateSource("system", found, log));
    ASSERT_EQ(unsetenv("SSL_CERT_FILE"), 0);
    EXPECT_EQ(found.size(), 4U);
    EXPECT_FALSE(material.addCertificateSource(folder + "user.key", found, log));
    EXPECT_FALSE(material.addCertificateSource(folder + "absent.pem", found, log));
    EXPECT_EQ(found.size(), 4U);
    std::vector<ByteView> lists;
    EXPECT_FALSE(material.addCrls(small.read("root.pem"), lists, log));
}

TEST(PathVerdict, ReportAsJson) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    const SmallAuthority small(openssl);
    PathCase path = small.path("user");
    path.query.time = 4'102'444'800; // 2100
    StringBuffer text;
    json::JsonWriter writer(text);
    x509::writePathResult(path.run(), writer);
    json::JsonValue report;
    std::size_t faultAt = 0;
    ASSERT_TRUE(json::parseJson(text.view(), report, faultAt));
    EXPECT_EQ(test::textOf(report, "status"), "not-trusted");
    EXPECT_EQ(test::textOf(report, "time"), "2100-01-01T00:00:00Z");
    EXPECT_EQ(test::textsOf(report, "path"),
              (std::vector<std::string>{"CN=user,O=Test,C=XX", "CN=middle,O=Test,C=XX",
                                        "CN=root,O=Test,C=XX"}));
    const json::JsonValue& problem = report.find("problems")->elements().front();
    EXPECT_EQ(test::textOf(problem, "code"), "expired");
    EXPECT_EQ(test::textOf(problem, "certificate"), "CN=root,O=Test,C=XX");
}

TEST(PathVerdict, MomentsAndPurposesAsPeopleWriteThem) {
    std::int64_t utc = 0;
    std::int64_t other = 0;
    ASSERT_TRUE(x509::parseMoment("2026-01-31T12:00:00Z", utc));
    EXPECT_EQ(utc, 1'769'860'800);
    for (const char* const text :
         {"2026-01-31T14:00:00+02:00", "2026-01-31t12:00:00.25z", "2026-01-31 06:30:00-05:30"}) {
        EXPECT_TRUE(x509::parseMoment(text, other)) << text;
        EXPECT_EQ(other, utc) << text;
    }
    EXPECT_TRUE(x509::parseMoment("2026-01-31", other));
    EXPECT_EQ(other, utc - kDay / 2);
    for (const char* const text : {"", "2026-1-31", "2026-02-30", "2026-01-31T12:00:00", "now",
                                   "2026-01-31T12:00:00.Z", "2026-01-31T12:00:00+2"}) {
        EXPECT_FALSE(x509::parseMoment(text, other)) << text;
    }
    std::string oid;
    EXPECT_TRUE(x509::parsePurpose("documentsigning", oid) && oid == "1.3.6.1.5.5.7.3.36");
    EXPECT_TRUE(x509::parsePurpose("1.2.3", oid) && oid == "1.2.3");
    EXPECT_FALSE(x509::parsePurpose("signing", oid));
}

} // namespace
} // namespace vantrel
