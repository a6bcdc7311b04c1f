// SPDX-License-Identifier: MIT
#include "dsig/document/work_account.h"

#include "foundation/text/LogBase.h"

#include <algorithm>
#include <string>

namespace vantrel::dsig {

namespace {

// Large documents may ask for more: a multiple of their size up to a bound, and a smaller multiple
// whatever their size.
constexpr std::uint64_t kLargeDocumentFactor = 64;
constexpr std::uint64_t kLargeDocumentMost = 4ULL * 1024 * 1024 * 1024;
constexpr std::uint64_t kAnyDocumentFactor = 16;
// Steps of work on nodes that every document may ask for, by its octets.
constexpr std::uint64_t kStepsFactor = 32;

// Nearly every reference has these, so they say nothing about a document but its number of
// references, and that is bounded by its size.
constexpr std::uint64_t kUsualTransforms = 2;

} // namespace

bool WorkAccount::refuse(std::string_view limit, std::uint64_t most, LogBase& log) {
    m_passed = limit;
    log.LogError(("The document passes the limit " + std::string(limit) + " of " +
                  std::to_string(most) + ".")
                     .c_str());
    return false;
}

bool WorkAccount::refuseForTime(LogBase& log) {
    m_passed = "deadline";
    log.LogError("The time for the document is up.");
    return false;
}

std::uint64_t WorkAccount::mostOctets() const noexcept {
    // A limit that the caller set holds as it is, below the default too.
    if (m_limits.workOctets != Limits().workOctets) {
        return m_limits.workOctets;
    }
    // No product wraps: a document has less than 2 GiB.
    return std::max({m_limits.workOctets,
                     std::min(kLargeDocumentMost, kLargeDocumentFactor * m_documentOctets),
                     kAnyDocumentFactor * m_documentOctets});
}

bool WorkAccount::takeOctets(std::uint64_t octets, LogBase& log) {
    if (m_limits.timeIsUp()) {
        return refuseForTime(log);
    }
    const std::uint64_t most = mostOctets();
    // Compared without a sum, which could wrap.
    const std::uint64_t spent = m_spent.sum().octets;
    if (spent > most || octets > most - spent) {
        return refuse("workOctets", most, log);
    }
    m_spent.add({.octets = octets});
    return true;
}

bool WorkAccount::takeTransforms(std::uint64_t count, LogBase& log) {
    if (m_limits.timeIsUp()) {
        return refuseForTime(log);
    }
    if (count > m_limits.transformsPerReference) {
        return refuse("transformsPerReference", m_limits.transformsPerReference, log);
    }
    const std::uint64_t counted = count - std::min(count, kUsualTransforms);
    if (counted > 0 && m_spent.sum().transforms + counted > m_limits.transforms) {
        return refuse("transforms", m_limits.transforms, log);
    }
    m_spent.add({.transforms = counted});
    return true;
}

bool WorkAccount::takeDone(std::uint64_t transforms, std::uint64_t octets) {
    const std::uint64_t spent = m_spent.sum().octets;
    const std::uint64_t most = mostOctets();
    if (m_limits.timeIsUp() || transforms > kUsualTransforms ||
        transforms > m_limits.transformsPerReference || spent > most || octets > most - spent) {
        return false;
    }
    m_spent.add({.octets = octets});
    return true;
}

std::uint64_t WorkAccount::mostSteps() const noexcept {
    if (m_limits.xpathSteps != Limits().xpathSteps) {
        return m_limits.xpathSteps;
    }
    return std::max(m_limits.xpathSteps, kStepsFactor * m_documentOctets);
}

std::uint64_t WorkAccount::stepsLeft() const noexcept {
    const std::uint64_t most = mostSteps();
    return most - std::min(most, m_spent.sum().steps);
}

bool WorkAccount::takeSteps(std::uint64_t steps, bool wereEnough, LogBase& log) {
    m_spent.add({.steps = steps});
    return wereEnough || refuse("xpathSteps", mostSteps(), log);
}

bool WorkAccount::takeRetry(LogBase& log) {
    return m_spent.sum().failedReferences < m_limits.failuresRetried ||
           refuse("failuresRetried", m_limits.failuresRetried, log);
}

} // namespace vantrel::dsig
