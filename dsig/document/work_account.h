#ifndef DSIG_DOCUMENT_WORK_ACCOUNT_H
#define DSIG_DOCUMENT_WORK_ACCOUNT_H

#include "dsig/document/limits.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace vantrel {
class LogBase;
}

namespace vantrel::dsig {

// The work that the references of one document's signatures have asked for. It is counted, never
// timed. A signature that is verified again gives back what its verification before took: the
// account bounds what a document demands, not how often somebody asks.
// What it prevents: thousands of references to the same large element, or a chain of transforms
// that each read it again. The document stays small, the work would be its square.
class WorkAccount final {
public:
    // `documentOctets`: size of the loaded text.
    WorkAccount(std::uint64_t documentOctets, const Limits& limits)
        : m_documentOctets(documentOctets), m_limits(limits), m_bySignature(1) {}

    // The signature whose references follow.
    void begin(int signature);

    // Each takes a piece of work, or returns false after an error line that names the limit.
    // Octets that are parsed, canonicalized or hashed:
    [[nodiscard]] bool takeOctets(std::uint64_t octets, LogBase& log);
    // The transforms of one reference. The first two (an enveloped signature and a
    // canonicalization, say) count for the reference only, not for the document.
    [[nodiscard]] bool takeTransforms(std::uint64_t count, LogBase& log);
    // A digest that is to be computed again, differently, since it did not match.
    [[nodiscard]] bool takeRetry(LogBase& log);

    // The limit that the last refusal was about; empty since noLimitPassed().
    [[nodiscard]] std::string_view passedLimit() const noexcept { return m_passed; }
    void noLimitPassed() noexcept { m_passed = {}; }

    // Failures decide about retries only: a document whose digests all mismatch is not
    // canonicalized twice throughout.
    void noteFailedReference() noexcept {
        ++current().failedReferences;
        ++m_sum.failedReferences;
    }
    [[nodiscard]] std::uint64_t octets() const noexcept { return m_sum.octets; }

private:
    // What is charged to one signature at present.
    struct Spent {
        std::uint64_t octets = 0;
        std::uint64_t transforms = 0;
        std::uint64_t failedReferences = 0;
    };

    // Notes and logs a refusal; always false, for the caller to return.
    bool refuse(std::string_view limit, std::uint64_t most, LogBase& log);
    [[nodiscard]] std::uint64_t mostOctets() const noexcept;
    [[nodiscard]] Spent& current() noexcept { return m_bySignature[m_current]; }

    std::uint64_t m_documentOctets;
    // Those of the verifier, which outlive the document.
    const Limits& m_limits;
    std::vector<Spent> m_bySignature;
    std::size_t m_current = 0;
    Spent m_sum;
    std::string_view m_passed; // of static storage
};

} // namespace vantrel::dsig

#endif
