// SPDX-License-Identifier: MIT
// `xmldsig path`: whether a certificate leads to a trust anchor, and if not, why not. The whole
// judgement is the library's (findPath); here its query is put together from files and options.
// Nothing is fetched: certificates, lists and responses are those that are given. Exit code 1 says
// that the certificate is not trusted.

#include "cli/commands.h"
#include "cli/input.h"
#include "cli/terminal.h"
#include <vantrel/StringBuffer.h>
#include <vantrel/_vlLogger.h>
#include <vantrel/json_writer.h>
#include <vantrel/path.h>

#include <chrono>

namespace vantrel::cli {

namespace {

// Far above what any authority issues; longer ones would only be work.
constexpr int kHighestDepth = 1000;

// Seconds since 1970, as the query takes its time.
std::int64_t now() {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::seconds>(since).count();
}

// Every certificate of every file or folder of the option. One that gives none is an error: a
// misspelt name must not shrink what is trusted, or what is looked at.
bool readCertificates(const Arguments& arguments, std::string_view option,
                      x509::PathMaterial& material, std::vector<const VantrelX509*>& out,
                      std::string& complaint) {
    for (const std::string& name : arguments.all(option)) {
        _vlLogger log;
        if (!material.addCertificateSource(name, out, log)) {
            complaint = std::string(option) + " " + name + ": " + std::string(log.lastErrorLine());
            return false;
        }
    }
    return true;
}

// A list that cannot be read says nothing, and would let pass whom it names.
bool areLists(const std::vector<ByteView>& lists, const std::string& name, std::string& complaint) {
    for (const ByteView list : lists) {
        std::string_view whyNot;
        if (!x509::isRevocationList(list, whyNot)) {
            complaint =
                withRemedy("--crl " + name + ": this is no certificate revocation list, " +
                               std::string(whyNot),
                           "openssl crl -in " + shellWord(name) + " -text (with -inform DER)");
            return false;
        }
    }
    return true;
}

// Lists and responses that somebody fetched beforehand. Whether they are about these certificates,
// signed by the right key and of the right time is the library's to judge.
bool readRevocationData(const Arguments& arguments, x509::PathMaterial& material,
                        x509::PathQuery& query, std::string& complaint) {
    for (const std::string& name : arguments.all("--crl")) {
        DataBuffer bytes;
        _vlLogger log;
        std::vector<ByteView> lists;
        if (!readOptionFile("--crl", name, bytes, complaint)) {
            return false;
        }
        if (!material.addCrls(bytes.view(), lists, log)) {
            complaint = "--crl " + name + ": " + std::string(log.lastErrorLine());
            return false;
        }
        if (!areLists(lists, name, complaint)) {
            return false;
        }
        query.crls.insert(query.crls.end(), lists.begin(), lists.end());
    }
    for (const std::string& name : arguments.all("--ocsp")) {
        DataBuffer bytes;
        if (!readOptionFile("--ocsp", name, bytes, complaint)) {
            return false;
        }
        // One that is none is a problem of the path, not of the command line.
        material.addOcspResponse(bytes.view(), query.ocspResponses);
    }
    return true;
}

// What the certificate is asked for: time, purpose, name.
bool readDemands(const Arguments& arguments, x509::PathQuery& query, std::string& complaint) {
    // A signature of last year is judged as of then, hence --at.
    query.time = now();
    if (const std::string* const at = arguments.last("--at");
        at != nullptr && !x509::parseMoment(*at, query.time)) {
        complaint = withRemedy("--at takes a time, not \"" + *at + "\"", "2026-01-31T12:00:00Z");
        return false;
    }
    for (const std::string& purpose : arguments.all("--purpose")) {
        if (!x509::parsePurpose(purpose, query.purposes.emplace_back())) {
            complaint = withRemedy("--purpose does not know \"" + purpose + "\"",
                                   "serverAuth, documentSigning or an object identifier");
            return false;
        }
    }
    if (const std::string* const name = arguments.last("--name")) {
        query.name = *name;
        if (!x509::isPeerName(*name)) {
            complaint = withRemedy("--name does not take \"" + *name + "\"",
                                   "dns:HOST, ip:ADDRESS or email:MAILBOX");
            return false;
        }
    }
    std::optional<int> depth;
    if (!arguments.number("--max-depth", 0, kHighestDepth, depth, complaint)) {
        return false;
    }
    if (depth) {
        query.maxDepth = static_cast<std::size_t>(*depth);
    }
    query.checkRevocation = arguments.has("--check-revocation");
    return true;
}

// The inputs (c) to (g) of RFC 5280, 6.1.1. Without --policy any policy will do.
bool readPolicies(const Arguments& arguments, x509::PathQuery& query, std::string& complaint) {
    query.policies = arguments.all("--policy");
    for (const std::string& policy : query.policies) {
        if (!x509::isObjectIdentifier(policy)) {
            complaint =
                withRemedy("--policy takes an object identifier, not \"" + policy + "\"", "1.2.3");
            return false;
        }
    }
    query.explicitPolicy = arguments.has("--explicit-policy");
    query.inhibitMapping = arguments.has("--inhibit-mapping");
    query.inhibitAnyPolicy = arguments.has("--inhibit-any");
    return true;
}

// The certificate in question; those behind it in its file may lie on its way.
bool readTarget(const std::string& name, x509::PathMaterial& material, x509::PathQuery& query,
                std::string& complaint) {
    DataBuffer bytes;
    _vlLogger log;
    std::vector<const VantrelX509*> found;
    if (!readInput(name, bytes, complaint)) {
        complaint = name + ": " + complaint;
        return false;
    }
    if (!material.addCertificates(bytes.view(), found, log)) {
        complaint = name + ": " + std::string(log.lastErrorLine());
        return false;
    }
    // Chain files begin with the certificate that they are about (as in RFC 8446, 4.4.2).
    query.target = found.front();
    query.candidates.insert(query.candidates.end(), found.begin() + 1, found.end());
    return true;
}

// In the order in which complaints help most: what is asked for, then what is trusted, then what is
// offered, and at last the certificate in question.
bool readQuery(const Arguments& arguments, x509::PathMaterial& material, x509::PathQuery& query,
               std::string& complaint) {
    if (!arguments.has("--anchor")) {
        // No anchors by default: what is trusted must have been said.
        complaint = withRemedy("--anchor is needed: what is trusted", "--anchor system");
        return false;
    }
    if (arguments.operands().size() != 1) {
        complaint = "one certificate at a time is validated";
        return false;
    }
    return readDemands(arguments, query, complaint) && readPolicies(arguments, query, complaint) &&
           readCertificates(arguments, "--anchor", material, query.anchors, complaint) &&
           readCertificates(arguments, "--cert", material, query.candidates, complaint) &&
           readRevocationData(arguments, material, query, complaint) &&
           readTarget(arguments.operands().front(), material, query, complaint);
}

// Names of certificates are as hostile as documents.
std::string nameOf(const VantrelX509& certificate) {
    const std::string subject = x509::subjectText(certificate);
    return subject.empty() ? "a certificate without a subject" : printable(subject);
}

// For people: the verdict, the way from the certificate to the anchor, the policies that hold along
// it, and all that was found against it, also beside a path that holds.
void writeText(const x509::PathResult& result) {
    std::string out = coloured(result.trusted ? "trusted" : "not trusted",
                               result.trusted ? Colour::Good : Colour::Bad) +
                      "\n";
    for (const VantrelX509* const certificate : result.path) {
        out += "  path: " + nameOf(*certificate) + "\n";
    }
    for (const std::string& policy : result.policies) {
        out += "  policy: " + policy + "\n";
    }
    for (const x509::PathProblem& problem : result.problems) {
        out += "  " + std::string(x509::pathFaultWord(problem.fault)) + ": " +
               nameOf(*problem.certificate) + ": " + printable(problem.text) + "\n";
    }
    writeOutput(out);
}

} // namespace

int runPath(const Arguments& arguments) {
    x509::PathMaterial material;
    x509::PathQuery query;
    std::string complaint;
    if (!readQuery(arguments, material, query, complaint)) {
        complain(complaint);
        return kCannotTell;
    }
    // Bounded by the limits of the query, however many certificates of one name were given.
    const x509::PathResult result = x509::findPath(query);
    if (arguments.has("--json")) {
        StringBuffer json;
        json::JsonWriter writer(json);
        x509::writePathResult(result, writer);
        writeOutput(std::string(json.view()) + "\n");
    } else {
        writeText(result);
    }
    return result.trusted ? kEverythingHolds : kSomethingFails;
}

} // namespace vantrel::cli
