// SPDX-License-Identifier: MIT
#include "api/make_policy.h"

#include "api/trust_data.h"
#include "foundation/x509/path/path_words.h"

namespace vantrel::api {

namespace {

// Options without effect are no harmless slip here: who gives a revocation list believes that it
// counts.
std::string_view withoutEffect(const Policy& asked) {
    if (!asked.anchors.empty()) {
        return {};
    }
    if (!asked.crls.empty()) {
        return "crl";
    }
    if (asked.checkRevocation) {
        return "checkRevocation";
    }
    if (asked.at) {
        return "at";
    }
    return asked.purposes.empty() ? std::string_view() : "purpose";
}

// What is given to be checked is asked for.
std::set<dsig::Demand> demandsOf(const Policy& asked) {
    std::set<dsig::Demand> demands = asked.demands;
    if (asked.strict) {
        demands.insert(dsig::strictDemands().begin(), dsig::strictDemands().end());
    }
    if (!asked.pins.empty()) {
        // Whoever names a key wants that one.
        demands.insert(dsig::Demand::Pinned);
    }
    if (!asked.anchors.empty()) {
        // Whoever names an authority wants its certificates.
        demands.insert(dsig::Demand::Trusted);
    }
    return demands;
}

// Each must be whole: a fingerprint that was cut off when it was copied matches nothing.
bool takePins(const Policy& asked, dsig::Policy& policy, OptionFault& fault) {
    for (const std::string& given : asked.pins) {
        if (!dsig::parsePin(given, policy.pins.emplace_back())) {
            fault = {"pin", "takes sha256: and 64 hexadecimal digits", given,
                     "xmldsig verify --json FILE (spkiSha256 is that of the signer)"};
            return false;
        }
    }
    return true;
}

// Whether a target is there is the document's affair, and a refusal; that it is none is a slip.
bool takeTargets(const Policy& asked, dsig::Policy& policy, OptionFault& fault) {
    policy.mustCover = asked.mustCover;
    for (const std::string& target : asked.mustCover) {
        if (!dsig::isTarget(target)) {
            fault = {"mustCover", "takes document, #ID, a path or part:NAME", target,
                     "xmldsig verify --json FILE (path is that of what is covered)"};
            return false;
        }
    }
    return true;
}

bool takePurposes(const Policy& asked, dsig::Policy& policy, OptionFault& fault) {
    for (const std::string& purpose : asked.purposes) {
        if (!x509::parsePurpose(purpose, policy.purposes.emplace_back())) {
            fault = {"purpose", "takes the name or identifier of an extended key usage", purpose,
                     "documentSigning, emailProtection or an object identifier"};
            return false;
        }
    }
    return true;
}

// The policy keeps alive what it points into.
void takeMaterial(const Policy& asked, dsig::Policy& policy) {
    for (const TrustAnchors& anchors : asked.anchors) {
        const AnchorData& data = *anchors.data();
        policy.anchors.insert(policy.anchors.end(), data.certificates.begin(),
                              data.certificates.end());
        policy.owners.push_back(data.owner);
    }
    for (const RevocationLists& lists : asked.crls) {
        const RevocationData& data = *lists.data();
        policy.crls.insert(policy.crls.end(), data.lists.begin(), data.lists.end());
        policy.owners.push_back(data.owner);
    }
}

} // namespace

std::string faultText(const OptionFault& fault) {
    return "the option " + std::string(fault.option) + " " + fault.what;
}

bool makePolicy(const Policy& asked, std::shared_ptr<const dsig::Policy>& made,
                OptionFault& fault) {
    made.reset();
    if (const std::string_view option = withoutEffect(asked); !option.empty()) {
        fault = {option,
                 "is about certificates that lead to an anchor, and none is given",
                 {},
                 "--anchor FILE"};
        return false;
    }
    if (!asked.asks()) {
        return true;
    }
    // Anew for each verifier: small beside a verification, and nothing is shared that could change.
    const auto policy = std::make_shared<dsig::Policy>();
    policy->onlyKey = asked.onlyKey;
    policy->oneSuffices = asked.accept == Accept::Any;
    policy->demands = demandsOf(asked);
    policy->checkRevocation = asked.checkRevocation;
    if (asked.at) {
        policy->at = asked.at->time_since_epoch().count();
    }
    takeMaterial(asked, *policy);
    if (!takePins(asked, *policy, fault) || !takeTargets(asked, *policy, fault) ||
        !takePurposes(asked, *policy, fault)) {
        return false;
    }
    made = policy;
    return true;
}

} // namespace vantrel::api
