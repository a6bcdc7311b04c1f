// SPDX-License-Identifier: MIT
// Paths that are made to cost: the work is counted, not the time.

#include "foundation/asn1/der_writer.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/path/extensions.h"
#include "foundation/x509/path/name_constraints.h"
#include "foundation/x509/path/policy_graph.h"
#include "tests/foundation/x509/path/path_case.h"
#include "tests/support/process.h"
#include "tests/support/test_authority.h"

#include <algorithm>

namespace vantrel {
namespace {

using asn1::DerWriter;
using asn1::Tag;
using test::PathCase;
using x509::PathFault;
using x509::PathResult;

constexpr std::int64_t kNow = 1'600'000'000;

// CN=commonName
test::Bytes nameOf(const std::string& commonName) {
    DerWriter writer;
    writer.open(Tag::Sequence);
    writer.open(Tag::Set);
    writer.open(Tag::Sequence);
    writer.write(Tag::Oid, x509::oid::kCommonName);
    writer.write(Tag::Utf8String, asBytes(commonName));
    writer.close();
    writer.close();
    writer.close();
    return {writer.bytes().begin(), writer.bytes().end()};
}

void writeExtension(DerWriter& writer, ByteView id, ByteView value) {
    writer.open(Tag::Sequence);
    writer.write(Tag::Oid, id);
    writer.writeBoolean(true);
    writer.write(Tag::OctetString, value);
    writer.close();
}

// An authority's certificate with a key of 1024 bits that nobody has, and a signature that is none;
// `number` tells key and certificate from the others. `constraints`: NameConstraints, or empty.
test::Bytes forgeNamed(const test::Bytes& subject, const test::Bytes& issuer, std::uint64_t number,
                       ByteView constraints = {}) {
    const test::Bytes signature(128, 0x55);
    test::Bytes modulus(128, 0xC3);
    for (std::size_t i = 0; i < 8; ++i) {
        modulus[8 + i] = static_cast<std::uint8_t>(number >> (8 * i));
    }
    DerWriter key;
    key.open(Tag::Sequence);
    key.writeUnsigned(ByteView(modulus));
    key.writeUnsigned(65537);
    key.close();
    test::Bytes keyBits = {0};
    keyBits.insert(keyBits.end(), key.bytes().begin(), key.bytes().end());
    test::Bytes signatureBits = {0};
    signatureBits.insert(signatureBits.end(), signature.begin(), signature.end());
    const auto algorithm = [](DerWriter& writer, const char* id) {
        writer.open(Tag::Sequence);
        EXPECT_TRUE(writer.writeOid(id));
        writer.writeNull();
        writer.close();
    };

    DerWriter writer;
    writer.open(Tag::Sequence);
    writer.open(Tag::Sequence);
    writer.open(asn1::contextConstructed(0));
    writer.writeUnsigned(2);
    writer.close();
    writer.writeUnsigned(number + 1);
    algorithm(writer, "1.2.840.113549.1.1.11");
    writer.writeRaw(issuer);
    writer.open(Tag::Sequence);
    writer.write(Tag::UtcTime, asBytes("000101000000Z"));
    writer.write(Tag::UtcTime, asBytes("491231235959Z"));
    writer.close();
    writer.writeRaw(subject);
    writer.open(Tag::Sequence);
    algorithm(writer, "1.2.840.113549.1.1.1");
    writer.write(Tag::BitString, keyBits);
    writer.close();
    writer.open(asn1::contextConstructed(3));
    writer.open(Tag::Sequence);
    const std::uint8_t isCa[] = {0x30, 3, 1, 1, 0xFF};
    writeExtension(writer, x509::oid::kBasicConstraints, isCa);
    if (!constraints.empty()) {
        writeExtension(writer, x509::oid::kNameConstraints, constraints);
    }
    writer.close();
    writer.close();
    writer.close();
    algorithm(writer, "1.2.840.113549.1.1.11");
    writer.write(Tag::BitString, signatureBits);
    writer.close();
    return {writer.bytes().begin(), writer.bytes().end()};
}

test::Bytes forge(const std::string& subject, const std::string& issuer, std::uint64_t number,
                  ByteView constraints = {}) {
    return forgeNamed(nameOf(subject), nameOf(issuer), number, constraints);
}

bool hasFault(const PathResult& result, PathFault fault) {
    return std::any_of(result.problems.begin(), result.problems.end(),
                       [fault](const x509::PathProblem& each) { return each.fault == fault; });
}

// All have the name that the target's issuer has; none of them signed anything.
TEST(PathWork, ThousandAuthoritiesOfOneName) {
    PathCase made;
    made.setTarget(forge("target", "one name", 5000));
    for (std::uint64_t i = 0; i < 2000; ++i) {
        made.add(forge("one name", "one name", i), made.query.candidates);
    }
    made.add(forge("root", "root", 6000), made.query.anchors);
    made.query.time = kNow;
    ASSERT_TRUE(made.readable);
    PathResult result = made.run();
    EXPECT_FALSE(result.trusted);
    EXPECT_TRUE(hasFault(result, PathFault::Limit)) << test::describe(result);
    EXPECT_EQ(result.work.signatureChecks, made.query.limits.signatureChecks);
    EXPECT_LE(result.work.visits, made.query.limits.signatureChecks + 1);

    // Fewer than the limit: each is tried once, and that is the end.
    made.query.candidates.resize(900);
    result = made.run();
    EXPECT_TRUE(hasFault(result, PathFault::BadSignature)) << test::describe(result);
    EXPECT_FALSE(hasFault(result, PathFault::Limit)) << test::describe(result);
    EXPECT_EQ(result.work.signatureChecks, 900U);
}

// A thousand namesakes of the issuer cost nothing where the certificate says which key it is signed
// with: two signatures are checked, those of the path.
TEST(PathWork, TheRightKeyAmongAThousandNamesakes) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    test::TestAuthority authority(openssl);
    authority.issue("root", "", test::kRootExtensions);
    authority.issue("ca", "root", test::kRootExtensions);
    authority.issue("target", "ca", "authorityKeyIdentifier=keyid\n");
    PathCase made;
    made.setTarget(test::readFile(authority.file("target.pem")));
    made.add(test::readFile(authority.file("root.pem")), made.query.anchors);
    const test::Bytes issuer(made.query.target->issuer().begin(),
                             made.query.target->issuer().end());
    for (std::uint64_t i = 0; i < 1000; ++i) {
        made.add(forgeNamed(issuer, issuer, i), made.query.candidates);
    }
    made.add(test::readFile(authority.file("ca.pem")), made.query.candidates);
    std::int64_t notAfter = 0;
    ASSERT_TRUE(made.readable && made.query.target->validity(made.query.time, notAfter));
    const PathResult result = made.run();
    EXPECT_TRUE(result.trusted) << test::describe(result);
    EXPECT_EQ(result.work.signatureChecks, 2U);
    EXPECT_EQ(result.work.visits, 2U);
}

// Authorities that all certified each other, and no anchor: as many paths as there are orders.
TEST(PathWork, CrossSignedLoops) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    test::TestAuthority authority(openssl);
    constexpr int kAuthorities = 5;
    PathCase made;
    const auto name = [](int i) { return "ca" + std::to_string(i); };
    for (int i = 0; i < kAuthorities; ++i) {
        authority.issue(name(i), "", test::kRootExtensions);
    }
    const auto certify = [&](int subject, const std::string& issuer) {
        const std::string out = "cross" + std::to_string(subject) + issuer;
        authority.run({"x509", "-in", authority.file(name(subject) + ".pem"), "-CA",
                       authority.file(issuer + ".pem"), "-CAkey", authority.file(issuer + ".key"),
                       "-set_serial", "7", "-days", "3650", "-out", authority.file(out + ".pem")});
        made.add(test::readFile(authority.file(out + ".pem")), made.query.candidates);
    };
    for (int i = 0; i < kAuthorities; ++i) {
        for (int k = 0; k < kAuthorities; ++k) {
            if (i != k) {
                certify(i, name(k));
            }
        }
    }
    authority.issue("root", "", test::kRootExtensions);
    authority.issue("target", "ca0", "");
    made.add(test::readFile(authority.file("root.pem")), made.query.anchors);
    made.setTarget(test::readFile(authority.file("target.pem")));
    std::int64_t notAfter = 0;
    ASSERT_TRUE(made.readable && made.query.target->validity(made.query.time, notAfter));
    // The last certificate is made below, and on a slow machine begins to be valid a second later.
    made.query.time += 3600;

    PathResult result = made.run();
    EXPECT_FALSE(result.trusted);
    // Each certificate once with each of its issuer's name, whatever the number of paths.
    EXPECT_LE(result.work.signatureChecks, 21U * 5U);
    EXPECT_LE(result.work.visits, 2'000U);
    EXPECT_FALSE(result.problems.empty());
    // One way out is found among them all.
    certify(kAuthorities - 1, "root");
    result = made.run();
    EXPECT_TRUE(result.trusted) << test::describe(result);
    made.query.limits.visits = 2;
    EXPECT_TRUE(hasFault(made.run(), PathFault::Limit));
}

// Every certificate maps every policy to every other one: a tree would have 20^30 leaves.
TEST(PathWork, PolicyExplosion) {
    constexpr std::size_t kPolicies = 20;
    std::vector<test::Bytes> ids;
    for (std::size_t i = 0; i < kPolicies; ++i) {
        ids.push_back({0x2A, 3, static_cast<std::uint8_t>(i)});
    }
    x509::CertificateFacts facts;
    for (const test::Bytes& from : ids) {
        facts.policies.emplace_back(from);
        for (const test::Bytes& to : ids) {
            facts.mappings.emplace_back(from, to);
        }
    }
    x509::PolicyGraph graph;
    for (int i = 0; i < 30; ++i) {
        graph.addCertificate(facts, true);
        ASSERT_TRUE(graph.mapPolicies(facts, true));
    }
    graph.addCertificate(facts, true);
    EXPECT_EQ(graph.policiesFor({}).size(), kPolicies);
    EXPECT_EQ(graph.policiesFor({std::string(asText(ids[3]))}).size(), 1U);
}

// The comparisons are counted before the first is made.
TEST(PathWork, NameConstraintExplosion) {
    DerWriter constraints;
    constraints.open(Tag::Sequence);
    constraints.open(asn1::contextConstructed(1));
    for (int i = 0; i < 2000; ++i) {
        constraints.open(Tag::Sequence);
        constraints.write(asn1::contextPrimitive(2), asBytes("h" + std::to_string(i)));
        constraints.close();
    }
    constraints.close();
    constraints.close();
    PathCase made;
    made.setTarget(forge("authority", "root", 1, constraints.bytes()));
    ASSERT_TRUE(made.readable);
    const x509::CertificateFacts authority = x509::readCertificateFacts(*made.query.target);
    ASSERT_EQ(authority.excluded.size(), 2000U);
    x509::CertificateFacts holder = authority;
    for (int i = 0; i < 500; ++i) {
        holder.alternativeNames.push_back({x509::NameForm::Dns, asBytes("other.example")});
    }
    std::size_t checks = 3'000'000;
    std::string why;
    x509::NameConstraints names(checks);
    names.add(authority);
    EXPECT_EQ(names.check(holder, why), x509::NameConstraints::Verdict::Satisfied);
    EXPECT_EQ(checks, 2'000'000U);
    for (int i = 0; i < 25; ++i) {
        holder.alternativeNames.push_back({x509::NameForm::Dns, asBytes("other.example")});
    }
    EXPECT_EQ(names.check(holder, why), x509::NameConstraints::Verdict::TooMany); // 1 050 000
    EXPECT_EQ(checks, 2'000'000U);
}

} // namespace
} // namespace vantrel
