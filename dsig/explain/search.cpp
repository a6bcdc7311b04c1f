// SPDX-License-Identifier: MIT
#include "dsig/explain/search.h"

#include "dsig/explain/codes.h"
#include "dsig/explain/processings.h"
#include "dsig/explain/single_change.h"
#include "dsig/explain/text_changes.h"

#include <algorithm>
#include <functional>

namespace vantrel::dsig::explain {

namespace {

// Forms that are kept for pairs. Pairs multiply: with a hundred forms and a hundred changes there
// are ten thousand candidates.
constexpr std::size_t kMostKept = 400;

// Evidence of two steps; either may be empty.
std::string joined(std::string first, const std::string& second) {
    if (first.empty() || second.empty()) {
        return first + second;
    }
    return std::move(first) + "; and " + second;
}

} // namespace

Search::Search(std::string form, const Target* target, Goal& goal, Budget& budget,
               std::size_t mostKept)
    : m_form(std::move(form)), m_target(target), m_goal(goal), m_budget(budget),
      m_octetsToKeep(mostKept) {
    // The form itself is known: a processing that gives it again is no new hypothesis.
    m_seen.insert(std::hash<std::string_view>{}(m_form));
}

// A collision would lose one form of many. That one would go untried, which is too unlikely to hold
// the forms themselves for.
bool Search::isNew(std::string_view form) {
    return m_seen.insert(std::hash<std::string_view>{}(form)).second;
}

bool Search::offer(const Change& change, std::string_view before, const Kept* first, Depth depth) {
    // A change that could not be made costs time all the same.
    if (change.octets.empty()) {
        return m_budget.timeIsUp();
    }
    // Twice: once for making the octets, once for hashing them.
    if (!m_budget.takeOctets(2 * m_goal.cost(change.octets.size(), depth))) {
        return true;
    }
    Deviation deviation;
    if (!m_goal.isReachedBy(asBytes(change.octets), depth, deviation)) {
        // A goal takes key operations of its own, and may have been refused one.
        return m_budget.stoppedEarly();
    }
    // The earliest step names the cause: a processing, a change, then how the digest was made.
    // Whoever mends the first of two mistakes sees the second by itself.
    Finding found{change.code, withPlaces(change, before)};
    if (first != nullptr) {
        found.code = first->code;
        found.evidence = joined(first->evidence, found.evidence);
    }
    found.code = found.code.empty() ? deviation.code : found.code;
    found.evidence = joined(std::move(found.evidence), deviation.evidence);
    m_finding = std::move(found);
    return true;
}

// `first`: what has been done to the form already. The first step's own evidence goes ahead of the
// text's.
bool Search::tryTexts(std::string_view form, const Kept* first, std::size_t fromFamily,
                      Depth depth) {
    const auto families = textFamilies();
    for (std::size_t i = fromFamily; i < families.size(); ++i) {
        if (families[i](form,
                        [&](const Change& change) { return offer(change, form, first, depth); })) {
            return true;
        }
    }
    return false;
}

bool Search::tryProcessings() {
    if (m_target == nullptr) {
        return false;
    }
    const ChangeVisit visit = [&](const Change& change) {
        if (change.octets.empty() || !isNew(change.octets)) {
            return m_budget.timeIsUp();
        }
        // Kept before it is tried: a form that does not reach the goal is the beginning of a pair.
        if (m_kept.size() < kMostKept && change.octets.size() <= m_octetsToKeep) {
            m_octetsToKeep -= change.octets.size();
            m_kept.push_back({change.code, change.evidence, change.octets});
        }
        return offer(change, m_form, nullptr, Depth::Thorough);
    };
    for (const Processing processing : processings()) {
        if (processing(*m_target, visit)) {
            return true;
        }
    }
    return false;
}

// A processing and a change of its octets; then two changes, in the order in which they go
// together. Both steps at the plain depth: with other hashes as well the product would have three
// factors.
bool Search::tryPairs() {
    for (const Kept& kept : m_kept) {
        if (tryTexts(kept.octets, &kept, 0, Depth::Plain)) {
            return true;
        }
    }
    const auto families = textFamilies();
    for (std::size_t i = 0; i + 1 < families.size(); ++i) {
        // The families behind the first one only, since the order of families is that of the steps
        // of a signer.
        if (families[i](m_form, [&](const Change& change) {
                if (!isNew(change.octets)) {
                    return m_budget.timeIsUp();
                }
                const Kept first{change.code, withPlaces(change, m_form), change.octets};
                return tryTexts(first.octets, &first, i + 1, Depth::Plain);
            })) {
            return true;
        }
    }
    return false;
}

// The order is that of cost, and where two hypotheses give the same octets, of likelihood.
void Search::runQuick() {
    if (m_form.size() > kMostFormOctets) {
        return;
    }
    // The form itself comes first: another hash or encoding of the digest needs no other octets.
    // All hashes and encodings in all combinations are tried for this one form; for others that
    // would cost too much.
    const Change plain{{}, {}, m_form};
    const ChangeVisit alone = [&](const Change& change) {
        return offer(change, m_form, nullptr, Depth::Plain);
    };
    const ChangeVisit element = [&](const Change& change) {
        return !isNew(change.octets) ? m_budget.timeIsUp() : alone(change);
    };
    // One expression, since the first that succeeds or runs out of budget ends it.
    static_cast<void>(offer(plain, m_form, nullptr, Depth::Exhaustive) ||
                      (m_target != nullptr && spaceAroundSignature(*m_target, alone)) ||
                      tryTexts(m_form, nullptr, 0, Depth::Thorough) || tryProcessings() ||
                      markupChanges(m_form, alone) ||
                      (m_target != nullptr && otherElements(*m_target, element)) ||
                      (!m_goal.isDear() && tryPairs()) ||
                      (!m_goal.isDear() && restoredTrailingSpace(m_form, alone)) ||
                      (!m_goal.isDear() && restoredCharacters(m_form, alone)));
}

// A digest recovered from an RSA value serves as well as one that stands in a reference.
void Search::runThorough(std::string& remark) {
    // Without a digest to compare with, every candidate would cost a key operation.
    const int hashId = m_goal.knownHash();
    if (hashId == 0) {
        return;
    }
    std::string evidence;
    switch (findSingleChange(m_form, hashId, m_goal.knownDigest(), m_budget, evidence)) {
    case SingleChangeOutcome::Found:
        m_finding = Finding{cause::kChangedText, std::move(evidence)};
        break;
    case SingleChangeOutcome::NotFound:
        remark = "no single octet that was replaced, added, removed or exchanged explains it";
        break;
    case SingleChangeOutcome::TooLarge:
        remark = "with " + counted(m_form.size(), "octet") +
                 " the form is too large for trying every single change";
        break;
    case SingleChangeOutcome::Partly:
        remark =
            "not every single change of " + counted(m_form.size(), "octet") + " could be tried";
        break;
    }
}

} // namespace vantrel::dsig::explain
