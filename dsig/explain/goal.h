// SPDX-License-Identifier: MIT
#ifndef DSIG_EXPLAIN_GOAL_H
#define DSIG_EXPLAIN_GOAL_H

#include "foundation/text/byte_view.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel::dsig::explain {

// In what other than the octets the signer differed; both empty where in nothing. The code is one
// of codes.h.
struct Deviation {
    std::string_view code;
    std::string evidence;
};

// How far a candidate is tried. Each level tries all that the one before it tries.
enum class Depth : std::uint8_t {
    Plain,     // as the document says
    Thorough,  // with other hashes and encodings as well, where they cost little
    Exhaustive // with all of them together
};

// What candidates for the signed octets are held against: a stored digest or a signature value.
// A goal judges octets and knows nothing of how they came about; hypotheses make octets and know
// nothing of the goal. So each new one of either kind works with all of the other.
class Goal {
public:
    Goal() = default;
    // Not copyable: searches hold references.
    Goal(const Goal&) = delete;
    Goal& operator=(const Goal&) = delete;
    virtual ~Goal() = default;

    // Whether these are the signed octets, and how else the signer differed. A true is a proof, up
    // to collisions of the hash.
    [[nodiscard]] virtual bool isReachedBy(ByteView octets, Depth depth, Deviation& deviation) = 0;
    // The hash whose digest of the signed octets is known, and that digest; 0 when none is known.
    // Then every candidate costs a hash and nothing else. What it says stays the same as long as
    // the goal lives.
    [[nodiscard]] virtual int knownHash() const = 0;
    [[nodiscard]] virtual ByteView knownDigest() const = 0;
    // Whether a candidate costs so much that only the likeliest are tried. An operation with a
    // curve costs far more than the hash of a small form.
    [[nodiscard]] virtual bool isDear() const { return false; }
    // Work that one candidate of this size costs, in octets. For the budget, so it must not be less
    // than what is done.
    [[nodiscard]] virtual std::uint64_t cost(std::size_t octets, Depth depth) const = 0;
};

} // namespace vantrel::dsig::explain

#endif
