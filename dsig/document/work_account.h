// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_WORK_ACCOUNT_H
#define DSIG_DOCUMENT_WORK_ACCOUNT_H

#include "dsig/document/limits.h"
#include "dsig/document/signature_account.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace vantrel {
class LogBase;
}

namespace vantrel::dsig {

// The work that the references of one document's signatures have asked for. It is counted, not
// timed, unless the limits have a deadline: then every piece is refused once that has passed.
// What it prevents: thousands of references to the same large element, or a chain of transforms
// that each read it again. The document stays small, the work would be its square.
class WorkAccount final {
public:
    // `documentOctets`: size of the loaded text.
    WorkAccount(std::uint64_t documentOctets, const Limits& limits)
        : m_documentOctets(documentOctets), m_limits(limits) {}

    // The signature whose references follow.
    void begin(int signature) { m_spent.begin(signature); }

    // Each takes a piece of work, or returns false after an error line that names the limit.
    // Octets that are parsed, canonicalized or hashed:
    [[nodiscard]] bool takeOctets(std::uint64_t octets, LogBase& log);
    // The transforms of one reference. The first two (an enveloped signature and a
    // canonicalization, say) count for the reference only, not for the document.
    [[nodiscard]] bool takeTransforms(std::uint64_t count, LogBase& log);
    [[nodiscard]] std::uint64_t mostTransforms() const noexcept {
        return m_limits.transformsPerReference;
    }
    // Both for a reference whose check is done already; false, and nothing is taken or logged,
    // where one of them would be refused, or the transforms count for the document.
    [[nodiscard]] bool takeDone(std::uint64_t transforms, std::uint64_t octets);
    // Steps of work on nodes. It is done within stepsLeft(), and taken afterwards; false, as for
    // the others, where that was not enough.
    [[nodiscard]] std::uint64_t stepsLeft() const noexcept;
    [[nodiscard]] bool takeSteps(std::uint64_t steps, bool wereEnough, LogBase& log);
    // A digest that is to be computed again, differently, since it did not match.
    [[nodiscard]] bool takeRetry(LogBase& log);

    // The limit that the last refusal was about, "deadline" for the time; empty since
    // noLimitPassed().
    [[nodiscard]] std::string_view passedLimit() const noexcept { return m_passed; }
    void noLimitPassed() noexcept { m_passed = {}; }

    // Failures decide about retries only: a document whose digests all mismatch is not
    // canonicalized twice throughout.
    void noteFailedReference() noexcept { m_spent.add({.failedReferences = 1}); }
    [[nodiscard]] std::uint64_t octets() const noexcept { return m_spent.sum().octets; }

private:
    struct Spent {
        std::uint64_t octets = 0;
        std::uint64_t transforms = 0;
        std::uint64_t failedReferences = 0;
        std::uint64_t steps = 0;

        void operator+=(const Spent& more) noexcept {
            octets += more.octets;
            transforms += more.transforms;
            failedReferences += more.failedReferences;
            steps += more.steps;
        }
        void operator-=(const Spent& less) noexcept {
            octets -= less.octets;
            transforms -= less.transforms;
            failedReferences -= less.failedReferences;
            steps -= less.steps;
        }
    };

    // Notes and logs a refusal; always false, for the caller to return.
    bool refuse(std::string_view limit, std::uint64_t most, LogBase& log);
    bool refuseForTime(LogBase& log);
    [[nodiscard]] std::uint64_t mostOctets() const noexcept;
    [[nodiscard]] std::uint64_t mostSteps() const noexcept;

    std::uint64_t m_documentOctets;
    // Those of the verifier, which outlive the document.
    const Limits& m_limits;
    SignatureAccount<Spent> m_spent;
    std::string_view m_passed; // of static storage
};

} // namespace vantrel::dsig

#endif
