// SPDX-License-Identifier: MIT
#include "cli/policy_settings.h"

#include "cli/input.h"
#include "cli/terminal.h"
#include <vantrel/DataBuffer.h>
#include <vantrel/make_policy.h>
#include <vantrel/option_values.h>
#include <vantrel/path.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>

namespace vantrel::cli {

namespace {

void readDemands(const Arguments& arguments, Policy& policy) {
    policy.strict = arguments.has("--strict");
    for (const std::string& list : arguments.all("--require")) {
        for (const std::string_view word : splitWords(list, ',')) {
            // The parser has refused other words.
            if (const std::optional<Demand> demand = dsig::demandOf(word)) {
                policy.demands.insert(*demand);
            }
        }
    }
}

// One value of --anchor. False, with the reason in `complaint`, where a file cannot be read.
bool readAnchor(const std::string& name, Result<TrustAnchors>& anchors, std::string& complaint) {
    std::error_code ignored;
    if (name == api::kSystemAnchors || std::filesystem::is_directory(name, ignored)) {
        anchors = api::anchorsNamed(name);
        return true;
    }
    DataBuffer bytes;
    if (!readOptionFile("--anchor", name, bytes, complaint)) {
        return false;
    }
    anchors = TrustAnchors::fromBytes(asText(bytes.view()));
    return true;
}

bool readAnchors(const Arguments& arguments, Policy& policy, std::string& complaint) {
    for (const std::string& name : arguments.all("--anchor")) {
        Result<TrustAnchors> anchors = Error();
        if (!readAnchor(name, anchors, complaint)) {
            return false;
        }
        if (!anchors) {
            complaint = withRemedy("--anchor " + name + ": " + anchors.error().what,
                                   "--anchor with a file of certificates (PEM or DER), or system");
            return false;
        }
        policy.anchors.push_back(*anchors);
    }
    return true;
}

bool readLists(const Arguments& arguments, Policy& policy, std::string& complaint) {
    for (const std::string& name : arguments.all("--crl")) {
        DataBuffer bytes;
        if (!readOptionFile("--crl", name, bytes, complaint)) {
            return false;
        }
        const Result<RevocationLists> lists = RevocationLists::fromBytes(asText(bytes.view()));
        if (!lists) {
            complaint = withRemedy("--crl " + name + ": " + lists.error().what,
                                   "openssl crl -in " + shellWord(name) + " -text");
            return false;
        }
        policy.crls.push_back(*lists);
    }
    return true;
}

// How the certificates are judged (RFC 5280, 6.1): as of when, for what, and with how much
// knowledge of revocations.
bool readCircumstances(const Arguments& arguments, Policy& policy, std::string& complaint) {
    policy.checkRevocation = arguments.has("--check-revocation");
    policy.purposes = arguments.all("--purpose");
    const std::string* const at = arguments.last("--at");
    std::int64_t seconds = 0;
    if (at != nullptr && !x509::parseMoment(*at, seconds)) {
        complaint =
            withRemedy("--at takes a time, not \"" + *at + "\"", "--at 2026-01-31T12:00:00Z");
        return false;
    }
    if (at != nullptr) {
        policy.at = std::chrono::sys_seconds(std::chrono::seconds(seconds));
    }
    return true;
}

// What the library says of the whole, in the words of the command line.
bool check(const Policy& policy, std::string& complaint) {
    std::shared_ptr<const dsig::Policy> ignored;
    api::OptionFault fault;
    if (api::makePolicy(policy, ignored, fault)) {
        return true;
    }
    const std::string value = fault.value.empty() ? "" : ", not \"" + fault.value + "\"";
    complaint = withRemedy(longName(fault.option) + " " + fault.what + value, fault.remedy);
    return false;
}

} // namespace

bool loadPolicy(const Arguments& arguments, Policy& policy, std::string& complaint) {
    policy.onlyKey = arguments.has("--only-key");
    policy.pins = arguments.all("--pin");
    policy.mustCover = arguments.all("--must-cover");
    readDemands(arguments, policy);
    if (const std::string* const accept = arguments.last("--accept")) {
        policy.accept = *accept == "any" ? Accept::Any : Accept::All;
    }
    return readAnchors(arguments, policy, complaint) && readLists(arguments, policy, complaint) &&
           readCircumstances(arguments, policy, complaint) && check(policy, complaint);
}

} // namespace vantrel::cli
