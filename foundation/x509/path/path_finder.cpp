// SPDX-License-Identifier: MIT
#include "foundation/x509/path/path_finder.h"

#include "foundation/asn1/oid.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/oids.h"

#include <algorithm>
#include <string>
#include <utility>

namespace vantrel::x509 {

namespace {

// Signers of lists whose own certificates need lists, and so on. A list may be signed by a key
// whose certificate is covered by another list, signed by a third, without an end. Authorities in
// use need one step or two.
constexpr std::size_t kMaxSignersInQuestion = 5;

// Certificates that are visited to tell why there is no path. An account apart from the caller's,
// for a search that used his up has yet to say so.
constexpr std::size_t kVisitsForReport = 1'000;

const char* const kVisitsSpent = "too many certificates were tried";
const char* const kSignaturesSpent = "too many signatures were checked";

// Its own issuer, so nothing above it can add to what the caller decided.
bool isSelfSignedAnchor(const Candidate& candidate) noexcept {
    return candidate.isAnchor && candidate.facts.selfIssued;
}

} // namespace

PathFinder::PathFinder(const PathQuery& query)
    : m_query(query), m_store(query), m_signatures(query.limits.signatureChecks),
      m_crls(query, m_store, m_signatures, *this),
      m_responses(query, m_store, m_signatures, m_crls), m_nameChecks(query.limits.nameChecks),
      m_visitLimit(query.limits.visits) {}

// One strict search a target, and one tolerant. The strict ones are all that a trusted certificate
// costs; the tolerant one walks the same certificates again, with their signatures known by then,
// and stops at the first whole path.
PathResult PathFinder::run() {
    const PathRules rules = readRules(m_query);
    // The caller trusts an anchor for whatever he found it used for.
    PathRules anchorRules = rules;
    anchorRules.keyUsage = 0;
    PathResult result;
    result.time = m_query.time;
    for (const Candidate* const target : m_store.targets()) {
        Search strict;
        strict.rules = target->isAnchor ? &anchorRules : &rules;
        search(*target, strict);
        // A search that ended at a bound is not repeated: the next would end there as well.
        if (strict.holds || strict.limited) {
            report(strict, result);
            return result;
        }
    }
    // Only a failure pays for its reasons.
    Search tolerant;
    tolerant.rules = m_store.target().isAnchor ? &anchorRules : &rules;
    tolerant.mode = Mode::Tolerant;
    // The signatures already checked are remembered, so they do not count again.
    m_visitLimit = m_visits + kVisitsForReport;
    search(m_store.target(), tolerant);
    // Nothing above the target fitted at all; even that has to be said in one sentence.
    if (tolerant.verdict.problems.empty()) {
        noteDeadEnd(m_store.target(), tolerant);
    }
    report(tolerant, result);
    return result;
}

// What a search found, in the caller's terms. The certificates are his own; of one that he gave
// several times the first.
void PathFinder::report(Search& found, PathResult& result) {
    result.trusted = found.holds;
    for (const Candidate* const candidate : found.path) {
        result.path.push_back(candidate->facts.certificate);
    }
    result.problems = std::move(found.holds ? found.verdict.remarks : found.verdict.problems);
    // Told also for failures: whoever tunes the bounds needs them most then.
    result.work = {m_visits, m_signatures.count()};
    if (!found.holds) {
        return;
    }
    for (const std::string& policy : found.verdict.policies) {
        std::string dotted;
        if (asn1::oidToText(asBytes(policy), dotted)) {
            result.policies.push_back(std::move(dotted));
        }
    }
    std::sort(result.policies.begin(), result.policies.end());
}

void PathFinder::push(const Candidate& candidate, Search& search) const {
    // A self-signed anchor ends every path; whatever else has its name is no issuer of it.
    Step step = {&candidate, {}, 0, false};
    // The target excepted: asked as a certificate like others, it may have a path besides being its
    // own.
    if (!isSelfSignedAnchor(candidate) || search.steps.empty()) {
        step.issuers = m_store.withSubject(candidate.facts.issuer, candidate.facts.authorityKeyId,
                                           m_query.time);
    }
    search.steps.push_back(std::move(step));
}

// A target that cannot be used ends the strict search before it costs a signature. The tolerant one
// goes on unless the certificate is unreadable: an expired certificate may have more wrong with it.
void PathFinder::search(const Candidate& target, Search& search) {
    PathProblems problems;
    if (!isUsable(target.facts, m_query.time, problems) &&
        (search.mode == Mode::Strict || problems.front().fault == PathFault::Malformed)) {
        search.path = {&target};
        search.verdict.problems = std::move(problems);
        return;
    }
    push(target, search);
    // The caller trusts the target itself: a path of one certificate.
    if (target.isAnchor && (search.anchor == nullptr || search.anchor == &target)) {
        finish(nullptr, search);
    }
    // In the tolerant mode the first whole path is enough, since its problems are what was asked
    // for.
    while (!search.steps.empty() && !search.holds && !search.limited &&
           !(search.mode == Mode::Tolerant && search.complete)) {
        advance(search);
    }
}

// One step of the search: the next issuer of the last certificate, or back.
void PathFinder::advance(Search& search) {
    // Nothing above it held. A certificate from which the search went on is no dead end itself;
    // what stopped it further up has been noted there.
    Step& last = search.steps.back();
    if (last.next == last.issuers.size()) {
        if (!last.led && search.path.size() < search.steps.size()) {
            noteDeadEnd(*last.candidate, search);
        }
        search.steps.pop_back();
        return;
    }
    const Candidate& issuer = *last.issuers[last.next++];
    if (!isOnPath(issuer, search) && tryIssuer(issuer, search)) {
        search.steps.back().led = true;
        push(issuer, search);
    }
}

// Whether the search goes on above this issuer.
bool PathFinder::tryIssuer(const Candidate& issuer, Search& search) {
    const Candidate& subject = *search.steps.back().candidate;
    if (m_visits >= m_visitLimit) {
        search.limited = true;
        // The search for reasons just ends; what it found until then is told.
        if (search.mode == Mode::Strict) {
            keepLongest(search, {PathFault::Limit, subject.facts.certificate, kVisitsSpent});
        }
        return false;
    }
    // Too long a way ends here, not the search: another issuer may be nearer to an anchor.
    if (search.steps.size() >= m_query.limits.pathLength) {
        keepLongest(search, {PathFault::PathTooLong, subject.facts.certificate,
                             "the path to it has as many certificates as one may have"});
        return false;
    }
    // Counted before the certificate is judged, so that a thousand unfit ones cost as much as
    // others.
    ++m_visits;
    if (!fits(issuer, search) || !hasSigned(issuer, subject, search)) {
        return false;
    }
    // An anchor that is certified by another authority may fail as an end and still lie on the way.
    if (issuer.isAnchor && (search.anchor == nullptr || search.anchor == &issuer)) {
        finish(&issuer, search);
    }
    return !search.holds && !isSelfSignedAnchor(issuer);
}

// RFC 4158 2.4.2: a name with its key once on a path; whatever leads back to it is a loop.
bool PathFinder::isOnPath(const Candidate& issuer, const Search& search) const noexcept {
    return std::any_of(search.steps.begin(), search.steps.end(), [&issuer](const Step& step) {
        const CertificateFacts& facts = step.candidate->facts;
        // The key counts and not the certificate: authorities renew certificates of one key, and
        // going from one to the next would be going in circles.
        return step.candidate == &issuer || (facts.subject == issuer.facts.subject &&
                                             sameBytes(facts.certificate->publicKeyInfo(),
                                                       issuer.facts.certificate->publicKeyInfo()));
    });
}

// What can be said of an issuer without looking at the signature. Cheap checks ahead of the dear
// one: validity and usages cost nothing beside a signature, and they rule most of the wrong
// candidates out.
bool PathFinder::fits(const Candidate& issuer, Search& search) {
    // Expired or unfit issuers stay on the way: the report is to say "expired" and not "no path".
    if (search.mode == Mode::Tolerant) {
        if (!issuer.facts.fault.empty()) {
            keepLongest(search, {PathFault::Malformed, issuer.facts.certificate,
                                 std::string(issuer.facts.fault)});
        }
        return issuer.facts.fault.empty();
    }
    PathProblems problems;
    return isUsable(issuer.facts, m_query.time, problems) && mayIssue(issuer.facts, problems);
}

bool PathFinder::hasSigned(const Candidate& issuer, const Candidate& subject, Search& search) {
    const VantrelX509* const certificate = subject.facts.certificate;
    switch (m_signatures.certificate(*certificate, *issuer.facts.certificate)) {
    case SignatureVerdict::Good: return true;
    // Judged when the path above is known. A DSA key may take its parameters from the certificates
    // above (RFC 5280 6.1.4 e).
    case SignatureVerdict::NeedsParameters: return true;
    case SignatureVerdict::OverLimit:
        search.limited = true;
        keepLongest(search, {PathFault::Limit, certificate, kSignaturesSpent});
        return false;
    case SignatureVerdict::Unsupported:
        keepLongest(search, {PathFault::UnsupportedAlgorithm, certificate,
                             "its signature algorithm or the key of its issuer is not supported"});
        return false;
    case SignatureVerdict::Bad: break;
    }
    keepLongest(search, {PathFault::BadSignature, certificate,
                         "its signature was not made with the key of its issuer"});
    return false;
}

// Keeps the path so far with what ended it, unless one that got further is known.
void PathFinder::keepLongest(Search& search, PathProblem problem) {
    // Two paths of one length are told together: which of them the signer meant nobody knows.
    const bool stopped = problem.fault == PathFault::Limit;
    if (search.complete && stopped) {
        search.verdict.problems.push_back(std::move(problem));
        return;
    }
    if (search.complete || (!stopped && search.steps.size() < search.path.size())) {
        return;
    }
    // A wrong signature says more than a missing issuer that is found later.
    if (search.steps.size() > search.path.size() || stopped) {
        search.verdict.problems.clear();
    }
    search.path.clear();
    for (const Step& step : search.steps) {
        search.path.push_back(step.candidate);
    }
    const auto isSame = [&problem](const PathProblem& known) {
        return known.fault == problem.fault && known.certificate == problem.certificate;
    };
    PathProblems& problems = search.verdict.problems;
    if (std::none_of(problems.begin(), problems.end(), isSame)) {
        problems.push_back(std::move(problem));
    }
}

void PathFinder::noteDeadEnd(const Candidate& candidate, Search& search) {
    PathProblem problem;
    problem.certificate = candidate.facts.certificate;
    problem.text = "no certificate of its issuer leads to an anchor";
    keepLongest(search, std::move(problem));
}

// The steps and `anchor`, or the target alone, are a whole path. The steps themselves stay, for the
// search to go on above an anchor that failed as an end.
void PathFinder::finish(const Candidate* anchor, Search& search) {
    CandidatePath path;
    for (const Step& step : search.steps) {
        path.push_back(step.candidate);
    }
    if (anchor != nullptr) {
        path.push_back(anchor);
    }
    // The whole path is validated from its anchor down, in the order of the standard. The first
    // that is complete stays the one to be reported unless one holds.
    const PathMeans means = {m_query,     m_signatures, m_crls,
                             m_responses, m_nameChecks, m_signersLimited};
    // Validated anew although much was checked on the way: the state of RFC 5280 6.1.2 runs from
    // the anchor down, and the search goes up.
    PathVerdict verdict = validatePath(path, *search.rules, means);
    search.holds = verdict.problems.empty();
    if (search.holds || !search.complete) {
        search.path = std::move(path);
        search.verdict = std::move(verdict);
    }
    search.complete = true;
}

bool PathFinder::maySignLists(const Candidate& signer, const Candidate& anchor, bool& conditional) {
    // A list may cover the certificate of its own signer; that question is open already.
    const auto place = std::find(m_signersInQuestion.begin(), m_signersInQuestion.end(), &signer);
    // Yes for one whose question is open already: the outer search decides on him in any case. No
    // for one too many.
    if (place != m_signersInQuestion.end() || m_signersInQuestion.size() == kMaxSignersInQuestion) {
        conditional = true;
        m_signersLimited = m_signersLimited || place == m_signersInQuestion.end();
        return place != m_signersInQuestion.end();
    }
    // His path is judged like any other, his own revocation included, but ends at the same anchor
    // as the certificate's, and asks for nothing but the right to sign lists.
    m_signersInQuestion.push_back(&signer);
    PathRules rules;
    rules.keyUsage = kUsageCrlSign;
    Search nested;
    nested.rules = &rules;
    nested.anchor = &anchor;
    search(signer, nested);
    m_signersInQuestion.pop_back();
    m_signersLimited = m_signersLimited || nested.limited;
    // Whoever asks must not remember an answer that was given inside of another question.
    conditional = conditional || !m_signersInQuestion.empty();
    return nested.holds;
}

PathResult findPath(const PathQuery& query) { return PathFinder(query).run(); }

} // namespace vantrel::x509
