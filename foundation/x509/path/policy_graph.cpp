// SPDX-License-Identifier: MIT
#include "foundation/x509/path/policy_graph.h"

#include "foundation/x509/oids.h"
#include "foundation/x509/path/extensions.h"

#include <algorithm>
#include <utility>

namespace vantrel::x509 {

namespace {

bool isAnyPolicy(ByteView id) noexcept { return sameBytes(id, oid::kAnyPolicy); }

} // namespace

void PolicyGraph::addCertificate(const CertificateFacts& facts, bool anyAllowed) {
    const bool assertsAny =
        anyAllowed && std::any_of(facts.policies.begin(), facts.policies.end(), isAnyPolicy);
    Level level;
    // Once any-policy is lost at a level it does not come back further down.
    level.any = m_expected.any && assertsAny;
    // 6.1.3 d 2: any-policy keeps everything that is expected.
    if (assertsAny) {
        level.policies = m_expected.policies;
    }
    // 6.1.3 d 1: what is expected, or follows from any-policy above.
    for (const ByteView id : facts.policies) {
        const auto expected = m_expected.policies.find(asText(id));
        if (isAnyPolicy(id)) {
            continue;
        }
        if (expected != m_expected.policies.end()) {
            level.policies.insert(*expected);
        } else if (m_expected.any) {
            // Its parent is the any-policy above it, which has no name in the graph.
            level.policies.emplace(asText(id), Parents());
        }
    }
    m_levels.push_back(std::move(level));
}

bool PolicyGraph::mapPolicies(const CertificateFacts& facts, bool mappingAllowed) {
    Level& level = m_levels.back();
    Level next;
    next.any = level.any;
    // A policy may be mapped to several others, and several to one; each mapping is one edge.
    std::set<std::string_view> mapped;
    for (const auto& [issuerPolicy, subjectPolicy] : facts.mappings) {
        // RFC 5280 6.1.4 a: any-policy in a mapping would turn one permission into all of them.
        if (isAnyPolicy(issuerPolicy) || isAnyPolicy(subjectPolicy)) {
            return false;
        }
        mapped.insert(asText(issuerPolicy));
        if (!mappingAllowed) {
            // 6.1.4 b 2 below wants it known all the same.
            continue;
        }
        // 6.1.4 b 1: a policy that any-policy stands for can be mapped too.
        if (level.any) {
            level.policies.try_emplace(std::string(asText(issuerPolicy)));
        }
        if (level.policies.find(asText(issuerPolicy)) != level.policies.end()) {
            // An edge for a policy that is not valid here would raise it from nothing.
            next.policies[std::string(asText(subjectPolicy))].emplace(asText(issuerPolicy));
        }
    }
    // 6.1.4 b 2: mapped policies end here where mapping is inhibited.
    if (!mappingAllowed) {
        for (const std::string_view policy : mapped) {
            const auto place = level.policies.find(policy);
            if (place != level.policies.end()) {
                level.policies.erase(place);
            }
        }
    }
    // What is not mapped is expected under its own name. This is the expected_policy_set of a node
    // to which no mapping applies (6.1.3 d 1).
    for (const auto& [policy, parents] : level.policies) {
        if (mapped.find(policy) == mapped.end()) {
            next.policies[policy].insert(policy);
        }
    }
    m_expected = std::move(next);
    return true;
}

std::set<std::string> PolicyGraph::policiesFor(const std::set<std::string>& wanted) const {
    std::set<std::string> found;
    if (m_levels.empty()) {
        return found;
    }
    // From the last level upwards; what follows from any-policy is a policy of the path's own
    // domain, which is where the caller's policies are at home. What follows from a mapped name
    // counts under the name above the mapping.
    std::set<std::string, std::less<>> reached;
    for (const auto& [policy, parents] : m_levels.back().policies) {
        reached.insert(policy);
    }
    for (auto level = m_levels.rbegin(); level != m_levels.rend(); ++level) {
        std::set<std::string, std::less<>> above;
        for (const std::string& policy : reached) {
            // Every edge leads to a policy of the level above: only such were made.
            const Parents& parents = level->policies.find(policy)->second;
            if (parents.empty()) {
                found.insert(policy);
            }
            above.insert(parents.begin(), parents.end());
        }
        reached = std::move(above);
    }
    const std::string any(asText(oid::kAnyPolicy));
    if (m_levels.back().any) {
        // Every policy holds: all that the caller wanted, or any.
        found.insert(any);
    }
    if (wanted.empty()) {
        return found;
    }
    if (m_levels.back().any) {
        // Any-policy at the end vouches for each of those that the caller asked for (RFC 5280 6.1.5
        // g iii).
        return wanted;
    }
    // The caller's policies are those of the path's own domain.
    std::set<std::string> both;
    std::set_intersection(found.begin(), found.end(), wanted.begin(), wanted.end(),
                          std::inserter(both, both.end()));
    return both;
}

} // namespace vantrel::x509
