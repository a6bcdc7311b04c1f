// SPDX-License-Identifier: MIT
#include "foundation/x509/path/validate_path.h"

#include "foundation/asn1/asn1_time.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/path/crl_check.h"
#include "foundation/x509/path/extensions.h"
#include "foundation/x509/path/name_constraints.h"
#include "foundation/x509/path/ocsp_check.h"
#include "foundation/x509/path/policy_graph.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace vantrel::x509 {

namespace {

void note(PathProblems& problems, PathFault fault, const CertificateFacts& facts,
          std::string text) {
    problems.push_back({fault, facts.certificate, std::move(text)});
}

std::string isoTime(std::int64_t seconds) {
    std::string text;
    asn1::appendIsoTime(seconds, text);
    return text;
}

std::string dotted(ByteView oid) {
    std::string text;
    return asn1::oidToText(oid, text) ? text : "an unreadable identifier";
}

// Counts down to the certificate from which a policy rule holds (RFC 5280 6.1.2 d to f). RFC 5280
// calls them explicit_policy, policy_mapping and inhibit_anyPolicy; they begin at the length of the
// path plus one and a rule is in force at zero.
using Countdown = std::size_t;

void lower(Countdown& count, const std::optional<std::uint32_t>& limit) noexcept {
    if (limit) {
        count = std::min<Countdown>(count, *limit);
    }
}

// One validation: the state variables of RFC 5280 6.1.2 and the steps on them, from the anchor
// down. The anchor is a certificate like the others, but for its signature and its policies.
class Validation {
public:
    // The path's length counts its anchor, so it is the n + 1 of the standard.
    Validation(const CandidatePath& path, const PathRules& rules, const PathMeans& means)
        : m_path(path), m_rules(rules), m_means(means), m_names(means.nameChecks),
          m_pathLength(path.size()), m_explicit(rules.explicitPolicy ? 0 : path.size()),
          m_mapping(rules.inhibitMapping ? 0 : path.size()),
          m_anyPolicy(rules.inhibitAnyPolicy ? 0 : path.size()) {
        for (const asn1::OidBytes& purpose : rules.purposes) {
            m_purposes.push_back(&purpose);
        }
    }

    // From the anchor to the target; each certificate but the target then prepares the state for
    // those below it. Nothing ends the loop early: whoever reads the problems wants to mend all of
    // them at once.
    PathVerdict run() {
        for (std::size_t i = m_path.size(); i-- > 0;) {
            m_target = i == 0;
            m_anchor = i + 1 == m_path.size();
            const CertificateFacts& facts = m_path[i]->facts;
            checkCertificate(i, facts);
            if (!m_target) {
                prepareForNext(facts);
            }
        }
        checkTarget(m_path.front()->facts);
        checkPolicies(m_path.front()->facts);
        checkDepth();
        // Revocation costs signatures and perhaps paths of its own, and of a path that does not
        // hold nobody needs to know it.
        if (m_verdict.problems.empty()) {
            checkRevocation();
        }
        return std::move(m_verdict);
    }

private:
    // RFC 5280 6.1.3
    void checkCertificate(std::size_t i, const CertificateFacts& facts) {
        static_cast<void>(isUsable(facts, m_means.query.time, m_verdict.problems));
        if (!m_anchor) {
            checkSignature(facts, m_path[i + 1]->facts);
            checkStrength(
                SignatureChecks::algorithmStrength(facts.certificate->signatureAlgorithm()), facts,
                "its signature");
            checkNames(facts);
            addPolicies(facts);
        }
        // Behind the signature: the parameters are for the certificates below this one.
        m_means.signatures.inheritParameters(*facts.certificate, m_keyParameters);
        checkStrength(m_means.signatures.keyStrength(*facts.certificate), facts, "its key");
        checkPurpose(facts);
    }

    // The search checked it already, so this is a look-up, but for keys that inherit their
    // parameters. Of two certificates with one subject a look-up tells which key was meant: the
    // search went through the issuer's key, not through the name.
    void checkSignature(const CertificateFacts& facts, const CertificateFacts& issuer) {
        switch (m_means.signatures.certificate(*facts.certificate, *issuer.certificate)) {
        case SignatureVerdict::Good: return;
        case SignatureVerdict::OverLimit:
            note(m_verdict.problems, PathFault::Limit, facts, "too many signatures were checked");
            return;
        case SignatureVerdict::Unsupported:
        case SignatureVerdict::NeedsParameters:
            note(m_verdict.problems, PathFault::UnsupportedAlgorithm, facts,
                 "its signature algorithm or the key of its issuer is not supported");
            return;
        case SignatureVerdict::Bad: break;
        }
        note(m_verdict.problems, PathFault::BadSignature, facts,
             "its signature was not made with the key of its issuer");
    }

    // The anchor's own signature is not looked at: nobody relies on it. Its key is. RSA keys of
    // 1024 bits and SHA-1 are in archives everywhere; whether they still count is for the caller to
    // say, so they are told and not refused.
    void checkStrength(Strength strength, const CertificateFacts& facts, const char* what) {
        if (strength == Strength::Strong) {
            return;
        }
        const bool refused = strength == Strength::Broken || m_means.query.refuseWeak;
        note(refused ? m_verdict.problems : m_verdict.remarks, PathFault::WeakAlgorithm, facts,
             std::string(what) + " uses an algorithm or size that is no longer trusted");
    }

    // 6.1.3 b and c: those that an authority issued to itself are free of them, the last is not. An
    // authority may hold a name of its own outside of what it may certify, for the change of its
    // key (RFC 5280 4.2.1.10).
    void checkNames(const CertificateFacts& facts) {
        std::string why;
        if (facts.selfIssued && !m_target) {
            return;
        }
        const NameConstraints::Verdict verdict = m_names.check(facts, why);
        if (verdict != NameConstraints::Verdict::Satisfied) {
            note(m_verdict.problems,
                 verdict == NameConstraints::Verdict::TooMany ? PathFault::Limit
                                                              : PathFault::NameConstraints,
                 facts, std::move(why));
        }
    }

    // 6.1.3 d and e
    // A self-issued certificate does not use up the patience with any-policy.
    void addPolicies(const CertificateFacts& facts) {
        m_policies.addCertificate(facts, m_anyPolicy > 0 || (facts.selfIssued && !m_target));
    }

    // RFC 5280 demands the purpose of the target alone; that an authority's own purposes limit what
    // it may issue for is what all who write them mean. A certificate for timestamping authorities
    // alone would otherwise issue for web servers. Purposes of the path are intersected from the
    // anchor down, and the one that leaves nothing is named.
    void checkPurpose(const CertificateFacts& facts) {
        const bool left = !m_purposes.empty();
        std::erase_if(m_purposes, [&facts](const asn1::OidBytes* purpose) {
            return !facts.allowsPurpose(purpose->view());
        });
        if (m_rules.askPurpose && left && m_purposes.empty()) {
            note(m_verdict.problems, PathFault::ExtendedKeyUsage, facts,
                 "its extended key usage does not allow the purpose");
        }
    }

    // RFC 5280 6.1.4
    void prepareForNext(const CertificateFacts& facts) {
        if (!m_anchor && !m_policies.mapPolicies(facts, m_mapping > 0)) {
            note(m_verdict.problems, PathFault::Policy, facts,
                 "it maps a policy from or to any-policy");
        }
        // Behind the check of this certificate's own names: it binds those below.
        m_names.add(facts);
        // h: certificates that an authority issued to itself do not count. The anchor is none of
        // the path's certificates as RFC 5280 counts them.
        if (!m_anchor && !facts.selfIssued) {
            countDown(m_explicit);
            countDown(m_mapping);
            countDown(m_anyPolicy);
        }
        lower(m_explicit, facts.requireExplicitPolicy);
        lower(m_mapping, facts.inhibitPolicyMapping);
        lower(m_anyPolicy, facts.inhibitAnyPolicy);
        static_cast<void>(mayIssue(facts, m_verdict.problems));
        checkPathLength(facts);
    }

    static void countDown(Countdown& count) noexcept { count -= count > 0 ? 1 : 0; }

    // l and m
    // A path length binds the authorities below, not the target, however it is marked.
    void checkPathLength(const CertificateFacts& facts) {
        if (!m_anchor && !facts.selfIssued) {
            if (m_pathLength == 0) {
                note(m_verdict.problems, PathFault::PathTooLong, facts,
                     "an authority above it does not allow as many authorities below itself");
                return;
            }
            --m_pathLength;
        }
        lower(m_pathLength, facts.pathLength);
    }

    // What the caller asks of the certificate itself, beyond what makes the path hold. RFC 5280
    // leaves these to applications: purpose, usage and name.
    void checkTarget(const CertificateFacts& facts) {
        if (m_rules.askPurpose && m_rules.purposes.empty()) {
            note(m_verdict.problems, PathFault::ExtendedKeyUsage, facts,
                 "the purpose that was asked for is no object identifier");
        }
        if (m_rules.keyUsage != 0 && !facts.maySign(m_rules.keyUsage)) {
            note(m_verdict.problems, PathFault::KeyUsage, facts,
                 "its key usage does not allow what its key was used for");
        }
        // A name that could not be read fails like one that does not fit.
        if (m_rules.askName && !(m_rules.name && isIssuedFor(facts, *m_rules.name))) {
            note(m_verdict.problems, PathFault::NameMismatch, facts,
                 "it was not issued for the name that was asked for");
        }
    }

    // RFC 5280 6.1.5 a, b and g
    void checkPolicies(const CertificateFacts& facts) {
        // A trusted target is its own authority on policies.
        if (m_path.size() == 1) {
            m_verdict.policies = m_rules.policies;
            if (m_rules.policies.empty()) {
                m_verdict.policies.emplace(asText(oid::kAnyPolicy));
            }
            return;
        }
        // A demand for an explicit policy that reaches zero anywhere stays there, and so does an
        // empty graph; so it is enough to ask once, at the end.
        m_verdict.policies = m_policies.policiesFor(m_rules.policies);
        // RFC 5280 6.1.5 a and b are for the target itself.
        if (!facts.selfIssued) {
            countDown(m_explicit);
        }
        const bool demandedHere = facts.requireExplicitPolicy && *facts.requireExplicitPolicy == 0;
        if ((m_explicit == 0 || demandedHere) && m_verdict.policies.empty()) {
            note(m_verdict.problems, PathFault::Policy, facts,
                 "no certificate policy holds along the path, although one is demanded");
        }
    }

    // The caller's own bound, counted as pathLenConstraint counts: neither the ends nor
    // certificates that an authority issued to itself.
    void checkDepth() {
        const auto counts = [](const Candidate* one) { return !one->facts.selfIssued; };
        if (!m_rules.maxDepth || m_path.size() < 3) {
            return;
        }
        const auto depth = std::count_if(m_path.begin() + 1, m_path.end() - 1, counts);
        if (static_cast<std::size_t>(depth) > *m_rules.maxDepth) {
            note(m_verdict.problems, PathFault::PathTooLong, m_path.front()->facts,
                 "there are more authorities above it than were asked for");
        }
    }

    // Lists and answers that were given are used whether they are asked for or not: nobody who
    // holds a revocation wants it to be ignored.
    void checkRevocation() {
        const PathQuery& query = m_means.query;
        if (!query.checkRevocation && query.crls.empty() && query.ocspResponses.empty()) {
            return;
        }
        // From the top: the keys that vouch for lists further down are known to be good by then.
        // The anchor is trusted by the caller, who would have to take that back himself.
        for (std::size_t i = m_path.size() - 1; i-- > 0;) {
            checkRevocationOf(*m_path[i], *m_path[i + 1]);
        }
        // Evidence that was not looked at may be the one that says revoked.
        if (m_means.limited || m_means.signatures.isExhausted()) {
            note(m_verdict.problems, PathFault::Limit, m_path.front()->facts,
                 "its revocation took more work than is allowed");
        }
    }

    void checkRevocationOf(const Candidate& certificate, const Candidate& issuer) {
        const PathPlace place = {certificate, issuer, *m_path.back()};
        // Both kinds of evidence are asked: one that says good must not hide another that says
        // revoked.
        const RevocationFinding answer = m_means.responses.check(place);
        if (answer.status == RevocationStatus::Revoked) {
            note(m_verdict.problems, PathFault::Revoked, certificate.facts, answer.why);
            return;
        }
        const RevocationFinding list = m_means.crls.check(place);
        if (list.status == RevocationStatus::Revoked) {
            note(m_verdict.problems, PathFault::Revoked, certificate.facts, list.why);
            return;
        }
        // One kind that says good is enough; the other may not have been given. The kind that the
        // caller has is the one to be mended.
        if (m_means.query.checkRevocation && answer.status != RevocationStatus::Good &&
            list.status != RevocationStatus::Good) {
            note(m_verdict.problems, PathFault::RevocationUnknown, certificate.facts,
                 m_means.query.ocspResponses.empty() ? list.why : answer.why);
        }
    }

    const CandidatePath& m_path;
    const PathRules& m_rules;
    const PathMeans& m_means;
    PathVerdict m_verdict;
    bool m_target = false;
    bool m_anchor = false;

    NameConstraints m_names;
    PolicyGraph m_policies;
    ByteView m_keyParameters;
    std::vector<const asn1::OidBytes*> m_purposes; // allowed so far
    Countdown m_pathLength;                        // max_path_length
    Countdown m_explicit;                          // explicit_policy
    Countdown m_mapping;                           // policy_mapping
    Countdown m_anyPolicy;                         // inhibit_anyPolicy
};

} // namespace

// A text of the query that cannot be read stays a demand, which then fails: a slip of the pen must
// not widen what is trusted.
PathRules readRules(const PathQuery& query) {
    PathRules rules;
    for (const std::string& purpose : query.purposes) {
        asn1::OidBytes id;
        rules.askPurpose = true;
        if (asn1::oidFromText(purpose, id)) {
            rules.purposes.push_back(id);
        }
    }
    // Policies and purposes are compared as octets; texts are turned into them once.
    bool any = query.policies.empty();
    for (const std::string& policy : query.policies) {
        asn1::OidBytes id;
        // What is no identifier equals that of no policy, but is asked for all the same.
        std::string octets = "\xFF";
        if (asn1::oidFromText(policy, id)) {
            octets = asText(id.view());
        }
        // Whoever asks for any policy asks for none in particular.
        any = any || octets == asText(oid::kAnyPolicy);
        rules.policies.insert(std::move(octets));
    }
    if (any) {
        rules.policies.clear();
    }
    PeerName name;
    rules.askName = !query.name.empty();
    if (rules.askName && parsePeerName(query.name, name)) {
        rules.name = std::move(name);
    }
    rules.keyUsage = query.keyUsage;
    rules.explicitPolicy = query.explicitPolicy;
    rules.inhibitMapping = query.inhibitMapping;
    rules.inhibitAnyPolicy = query.inhibitAnyPolicy;
    rules.maxDepth = query.maxDepth;
    return rules;
}

PathVerdict validatePath(const CandidatePath& path, const PathRules& rules,
                         const PathMeans& means) {
    return Validation(path, rules, means).run();
}

bool isUsable(const CertificateFacts& facts, std::int64_t time, PathProblems& problems) {
    const std::size_t before = problems.size();
    if (!facts.fault.empty()) {
        note(problems, PathFault::Malformed, facts, std::string(facts.fault));
        return false;
    }
    // Both ends belong to the validity (RFC 5280 4.1.2.5).
    if (time > facts.notAfter) {
        note(problems, PathFault::Expired, facts, "it was valid until " + isoTime(facts.notAfter));
    } else if (time < facts.notBefore) {
        note(problems, PathFault::NotYetValid, facts,
             "it is valid from " + isoTime(facts.notBefore));
    }
    if (!facts.unknownCritical.empty()) {
        note(problems, PathFault::UnknownCriticalExtension, facts,
             "its critical extension " + dotted(facts.unknownCritical) + " is not understood");
    }
    return problems.size() == before;
}

bool mayIssue(const CertificateFacts& facts, PathProblems& problems) {
    const std::size_t before = problems.size();
    if (!facts.isCa) {
        note(problems, PathFault::NotACa, facts,
             "its basic constraints do not make it an authority");
    }
    if (!facts.maySign(kUsageKeyCertSign)) {
        note(problems, PathFault::KeyUsage, facts,
             "its key usage does not allow it to sign certificates");
    }
    return problems.size() == before;
}

} // namespace vantrel::x509
