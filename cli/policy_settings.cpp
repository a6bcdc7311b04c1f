#include "cli/policy_settings.h"

#include "cli/input.h"
#include "cli/terminal.h"
#include <vantrel/DataBuffer.h>
#include <vantrel/_vlLogger.h>
#include <vantrel/path.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

namespace vantrel::cli {

namespace {

// Each of these asks for acceptance.
constexpr std::array<std::string_view, 7> kPolicyOptions = {
    "--only-key", "--pin", "--anchor", "--require", "--must-cover", "--strict", "--accept"};
// These say how certificates are judged that have to lead to an anchor.
constexpr std::array<std::string_view, 4> kAnchorOptions = {"--crl", "--check-revocation", "--at",
                                                            "--purpose"};

bool needsAnchor(const Arguments& arguments, std::string& complaint) {
    if (arguments.has("--anchor")) {
        return false;
    }
    const auto given = std::ranges::find_if(
        kAnchorOptions, [&](std::string_view option) { return arguments.has(option); });
    if (given == kAnchorOptions.end()) {
        return false;
    }
    complaint = withRemedy(std::string(*given) + " is about certificates that lead to an anchor, "
                                                 "and none is given",
                           "--anchor FILE");
    return true;
}

// Each must be whole: a fingerprint that was cut off when it was copied matches nothing.
bool readPins(const Arguments& arguments, dsig::Policy& policy, std::string& complaint) {
    for (const std::string& given : arguments.all("--pin")) {
        if (!dsig::parsePin(given, policy.pins.emplace_back())) {
            complaint =
                withRemedy("--pin takes sha256: and 64 hexadecimal digits, not \"" + given + "\"",
                           "xmldsig verify --json FILE (spkiSha256 is that of the signer)");
            return false;
        }
    }
    return true;
}

// What is given to be checked is asked for.
void readDemands(const Arguments& arguments, dsig::Policy& policy) {
    for (const std::string& list : arguments.all("--require")) {
        for (const std::string_view word : splitWords(list, ',')) {
            // The parser has refused other words.
            if (const std::optional<dsig::Demand> demand = dsig::demandOf(word)) {
                policy.demands.insert(*demand);
            }
        }
    }
    if (arguments.has("--strict")) {
        policy.demands.insert(dsig::strictDemands().begin(), dsig::strictDemands().end());
    }
    if (arguments.has("--pin")) {
        // Whoever names a key wants that one.
        policy.demands.insert(dsig::Demand::Pinned);
    }
    if (arguments.has("--anchor")) {
        // Whoever names an authority wants its certificates.
        policy.demands.insert(dsig::Demand::Trusted);
    }
}

// Whether a target is there is the document's affair, and a refusal; that it is none is a slip.
bool readTargets(const Arguments& arguments, dsig::Policy& policy, std::string& complaint) {
    policy.mustCover = arguments.all("--must-cover");
    for (const std::string& target : policy.mustCover) {
        if (!dsig::isTarget(target)) {
            complaint =
                withRemedy("--must-cover takes document, #ID or a path, not \"" + target + "\"",
                           "xmldsig verify --json FILE (path is that of what is covered)");
            return false;
        }
    }
    return true;
}

// A file, a folder, or the certificates themselves.
bool addAnchors(const std::string& given, dsig::Policy& policy, LogBase& log) {
    const std::optional<std::string_view> octets = inlineOctets(given);
    return octets ? policy.owned->addCertificates(asBytes(*octets), policy.anchors, log)
                  : policy.owned->addCertificateSource(given, policy.anchors, log);
}

bool readAnchors(const Arguments& arguments, dsig::Policy& policy, std::string& complaint) {
    for (const std::string& name : arguments.all("--anchor")) {
        _vlLogger log;
        if (!addAnchors(name, policy, log)) {
            complaint =
                withRemedy("--anchor " + fileName(name) + ": " + std::string(log.lastErrorLine()),
                           "--anchor with a file of certificates (PEM or DER), or system");
            return false;
        }
    }
    for (const std::string& name : arguments.all("--crl")) {
        DataBuffer bytes;
        _vlLogger log;
        if (!readOptionFile("--crl", name, bytes, complaint)) {
            return false;
        }
        if (!policy.owned->addCrls(bytes.view(), policy.crls, log)) {
            complaint = "--crl " + fileName(name) + ": " + std::string(log.lastErrorLine());
            return false;
        }
        // A list that says nothing would let pass whom it names.
        if (!std::ranges::all_of(policy.crls, dsig::isRevocationList)) {
            complaint =
                withRemedy("--crl " + fileName(name) + ": this is no certificate revocation list",
                           "openssl crl -in " + shellWord(fileName(name)) + " -text");
            return false;
        }
    }
    return true;
}

// How the certificates are judged (RFC 5280, 6.1): as of when, for what, and with how much
// knowledge of revocations.
bool readCircumstances(const Arguments& arguments, dsig::Policy& policy, std::string& complaint) {
    policy.checkRevocation = arguments.has("--check-revocation");
    if (const std::string* const at = arguments.last("--at")) {
        if (!x509::parseMoment(*at, policy.at.emplace())) {
            complaint =
                withRemedy("--at takes a time, not \"" + *at + "\"", "--at 2026-01-31T12:00:00Z");
            return false;
        }
    }
    for (const std::string& purpose : arguments.all("--purpose")) {
        if (!x509::parsePurpose(purpose, policy.purposes.emplace_back())) {
            complaint = withRemedy("--purpose does not know \"" + purpose + "\"",
                                   "documentSigning, emailProtection or an object identifier");
            return false;
        }
    }
    return true;
}

} // namespace

bool loadPolicy(const Arguments& arguments, PolicySettings& settings, std::string& complaint) {
    if (needsAnchor(arguments, complaint)) {
        return false;
    }
    const bool asked = std::ranges::any_of(
        kPolicyOptions, [&](std::string_view option) { return arguments.has(option); });
    if (!asked) {
        return true;
    }
    const auto policy = std::make_shared<dsig::Policy>();
    policy->owned = std::make_unique<x509::PathMaterial>();
    policy->onlyKey = arguments.has("--only-key");
    readDemands(arguments, *policy);
    if (!readPins(arguments, *policy, complaint) || !readTargets(arguments, *policy, complaint) ||
        !readAnchors(arguments, *policy, complaint) ||
        !readCircumstances(arguments, *policy, complaint)) {
        return false;
    }
    const std::string* const accept = arguments.last("--accept");
    settings.any = accept != nullptr && *accept == "any";
    settings.policy = policy;
    return true;
}

} // namespace vantrel::cli
