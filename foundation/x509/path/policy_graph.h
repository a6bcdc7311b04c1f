// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_POLICY_GRAPH_H
#define FOUNDATION_X509_PATH_POLICY_GRAPH_H

#include "foundation/x509/path/certificate_facts.h"

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::x509 {

// The valid policies of a path (RFC 5280 6.1 with the graph of RFC 9618 in place of the tree, which
// certificates could make grow without bounds). A level per certificate; a policy stands at most
// once in it, with the policies of the level above that it follows from. So the size of the graph
// is at most that of the certificates' policies and mappings, once a level. Not used for an anchor:
// what it says of policies is no part of the state (RFC 5280 6.1.1 d).
class PolicyGraph final {
public:
    // RFC 5280 6.1.3 d to f, for one certificate. `anyAllowed`: whether any-policy of this
    // certificate counts. Called from the anchor's end of the path downwards, once for each
    // certificate, with mapPolicies in between.
    void addCertificate(const CertificateFacts& facts, bool anyAllowed);
    // RFC 5280 6.1.4 a and b, for a certificate that is not the last. False when a mapping is from
    // or to any-policy.
    [[nodiscard]] bool mapPolicies(const CertificateFacts& facts, bool mappingAllowed);

    // RFC 5280 6.1.5 g: the user-constrained-policy-set, as contents octets. `wanted`: the
    // user-initial-policy-set; empty: any policy. Called once, when all certificates were added.
    // Work and memory are bounded by the size of the graph: RFC 9618 3 shows how the tree of RFC
    // 5280 doubles with every level instead.
    [[nodiscard]] std::set<std::string> policiesFor(const std::set<std::string>& wanted) const;

private:
    // What a policy follows from, by name in the level above; empty: from any-policy there. An edge
    // upwards is a name and not a pointer, so that a level can be moved.
    using Parents = std::set<std::string, std::less<>>;
    struct Level {
        std::map<std::string, Parents, std::less<>> policies;
        bool any = true; // any-policy is among them
    };

    std::vector<Level> m_levels; // after each certificate
    Level m_expected;            // what the next certificate may assert
};

} // namespace vantrel::x509

#endif
