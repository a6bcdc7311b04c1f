// SPDX-License-Identifier: MIT
#ifndef DSIG_EXPLAIN_DIGEST_GOAL_H
#define DSIG_EXPLAIN_DIGEST_GOAL_H

#include "dsig/explain/goal.h"

#include <vector>

namespace vantrel::dsig::explain {

// The hashes there are, by their identifiers (hash_ids.h). In no order that matters.
[[nodiscard]] std::vector<int> allHashes();
// As standards write it; empty for none.
[[nodiscard]] std::string hashName(int hashId);

// The digest that a reference stores, in every way in which its text can be read: as XML Signature
// 1.1, 4.4.3.6 has it, and as signers write it that encode otherwise. Every reading that succeeds
// is kept: a text of hexadecimal digits is base64 as well. No key is involved, and nothing here is
// secret: comparisons take variable time.
class DigestGoal final : public Goal {
public:
    // `stored`: the text of DigestValue without white space. `hashId`: of the digest method; 0 for
    // one that is not known.
    DigestGoal(std::string_view stored, int hashId);

    [[nodiscard]] bool isReachedBy(ByteView octets, Depth depth, Deviation& deviation) override;
    [[nodiscard]] int knownHash() const override;
    [[nodiscard]] ByteView knownDigest() const override;
    [[nodiscard]] std::uint64_t cost(std::size_t octets, Depth depth) const override;

private:
    struct Reading {
        // Never empty.
        std::string octets;
        std::string_view evidence; // empty for the standard's
        bool isWhole = true;       // false: the front of a digest
    };

    // Readings that are too short or too long for a digest are left out.
    void addReading(std::string octets, std::string_view evidence);
    // Compares the digest by one hash with all readings.
    [[nodiscard]] bool matches(int hashId, ByteView octets, Deviation& deviation) const;
    // The reading that is a whole digest of the declared method; null without one.
    [[nodiscard]] const Reading* usualReading() const noexcept;
    [[nodiscard]] bool mayBeOf(const Reading& reading, int hashId) const noexcept;

    // The standard's first.
    std::vector<Reading> m_readings;
    std::vector<int> m_others; // hashes that a reading may be of, but for the declared one
    int m_hashId;
};

} // namespace vantrel::dsig::explain

#endif
