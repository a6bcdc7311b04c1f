// SPDX-License-Identifier: MIT
// Suites of certification paths from elsewhere: every case with its expected verdict.

#include "tests/foundation/x509/path/path_case.h"
#include "tests/support/corpus.h"

#include <map>

namespace vantrel {
namespace {

using test::PathCase;
using x509::PathResult;

// What the case expects of a validator that holds the anchor's own certificate to the rules.
bool isExpectedValid(const json::JsonValue& test) {
    const json::JsonValue* const anchor = test.find("anchor");
    return (anchor->isObject() ? test::textOf(*anchor, "applied")
                               : test::textOf(test, "expected_result")) == "SUCCESS";
}

// Cases that are decided otherwise here, with the reason.
using Deviations = std::map<std::string, std::string>;

// What RFC 5280, sections 4 and 5, asks of issuers and section 6 does not check. Other suites have
// cases that break the same rule and are expected to hold, so that both cannot be had.
const char* const kKeyIdRule =
    "the chains and lists have certificates without an authority key identifier that hold";
const char* const kSubjectIdRule =
    "the lists have authorities without a subject key identifier that hold";
const char* const kListNumberRule = "the lists without a number are expected to count elsewhere";
const char* const kCriticalRule =
    "the chains have name constraints that are not critical and hold; they count here either way";
const char* const kCertSignRule =
    "the chains have a target with the bit that holds; without cA it allows nothing";

void runSuite(const std::string& path, const Deviations& deviations) {
    const json::JsonValue suite = test::readJson(path);
    std::size_t agreed = 0;
    std::size_t otherwise = 0;
    for (const json::JsonValue& test : suite.find("testcases")->elements()) {
        const std::string id = test::textOf(test, "id");
        PathCase made = test::readPathCase(test);
        // "Rejected by policy only": so by the policy that has it.
        made.query.refuseWeak = test::textOf(test, "note").find("SHA-1") != std::string::npos;
        const PathResult result = made.run();
        const bool differs = deviations.count(id) != 0;
        otherwise += differs ? 1 : 0;
        agreed += result.trusted == isExpectedValid(test) ? 1 : 0;
        EXPECT_EQ(result.trusted, isExpectedValid(test) != differs)
            << id << " (" << test::textOf(test, "basis") << "): " << test::describe(result);
    }
    std::cout << agreed << " of " << suite.find("testcases")->elements().size() << " as expected, "
              << otherwise << " decided otherwise\n";
}

TEST(PathCorpus, SingleChains) {
    VANTREL_NEED_CORPUS(path, "pki/chains/chains.json");
    runSuite(path, {{"chains::many-names::ok-all-types",
                     "RFC 5280 4.2.1.10: its host names from t171.test on lie in no permitted "
                     "subtree; the case is about the number of names alone"}});
}

TEST(PathCorpus, Corners) {
    VANTREL_NEED_CORPUS(path, "pki/limbo/limbo.json");
    runSuite(path,
             {{"crl::crlnumber-missing", kListNumberRule},
              {"rfc5280::aki::leaf-missing-aki", kKeyIdRule},
              {"rfc5280::aki::cross-signed-root-missing-aki", kKeyIdRule},
              {"rfc5280::ski::root-missing-ski", kSubjectIdRule},
              {"rfc5280::ski::intermediate-missing-ski", kSubjectIdRule},
              {"rfc5280::nc::permitted-dns-match-noncritical", kCriticalRule},
              {"rfc5280::nc::invalid-dnsname-leading-period",
               "many authorities write it, and all readers take it for the names below"},
              {"rfc5280::san::underscore-dns",
               "hosts in use have underscores; a name that does not fit matches nothing else"},
              {"rfc5280::leaf-ku-keycertsign", kCertSignRule}});
}

TEST(PathCorpus, PathBuildingAndNameConstraints) {
    VANTREL_NEED_CORPUS(path, "pki/limbo/bettertls.json");
    runSuite(path, {});
}

TEST(PathCorpus, RevocationLists) {
    VANTREL_NEED_CORPUS(path, "pki/crl/crl.json");
    runSuite(path, {{"crl-use::invalid-idp-onlycontainsusercerts-v1-leaf",
                     "RFC 5280 6.3.3 b: a certificate without basic constraints is a user's"}});
}

// The public key interoperability suite: DER files, the anchor first and the target last.
PathCase readInteroperabilityCase(const std::string& folder, const json::JsonValue& test) {
    PathCase made;
    const std::vector<std::string> certificates = test::textsOf(test, "certificates");
    for (std::size_t i = 0; i + 1 < certificates.size(); ++i) {
        made.add(test::readFile(folder + certificates[i]),
                 i == 0 ? made.query.anchors : made.query.candidates);
    }
    made.setTarget(test::readFile(folder + certificates.back()));
    for (const std::string& crl : test::textsOf(test, "crls")) {
        made.addCrl(test::readFile(folder + crl));
    }
    for (const ByteView crl : made.query.crls) {
        std::string_view whyNot;
        made.readable = x509::isRevocationList(crl, whyNot) && made.readable;
    }
    made.query.checkRevocation = true;
    made.query.time = test::secondsOf(test::textOf(test, "time"));
    made.query.policies = test::textsOf(test, "initial_policy_set");
    made.query.explicitPolicy = test::isTrue(test, "initial_explicit_policy");
    made.query.inhibitMapping = test::isTrue(test, "initial_policy_mapping_inhibit");
    made.query.inhibitAnyPolicy = test::isTrue(test, "initial_inhibit_any_policy");
    return made;
}

TEST(PathCorpus, InteroperabilitySuite) {
    VANTREL_NEED_CORPUS(path, "pki/pkits/manifest.json");
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    const json::JsonValue suite = test::readJson(path);
    for (const json::JsonValue& test : suite.find("tests")->elements()) {
        const PathCase made = readInteroperabilityCase(folder, test);
        const PathResult result = made.run();
        const std::string where =
            test::textOf(test, "id") + " " + test::textOf(test, "title") + ": ";
        // Whatever is wrong with one, all of them are certificates and lists.
        EXPECT_TRUE(made.readable) << where;
        EXPECT_EQ(result.trusted, test::isTrue(test, "valid")) << where << test::describe(result);
        if (result.trusted) {
            EXPECT_EQ(result.policies, test::textsOf(test, "user_constrained_policy_set")) << where;
        }
    }
}

} // namespace
} // namespace vantrel
