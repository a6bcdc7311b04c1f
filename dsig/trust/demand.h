// SPDX-License-Identifier: MIT
#ifndef DSIG_TRUST_DEMAND_H
#define DSIG_TRUST_DEMAND_H

#include <cstdint>
#include <optional>
#include <string_view>

// Apart from policy.h, since the typed interface names demands and nothing of certificates.
namespace vantrel::dsig {

/// What a signature may be asked to show, by its word (docs/accept.md says what each means).
enum class Demand : std::uint8_t {
    Pinned,
    Trusted,
    Vouched,
    Strong,
    NoLeniency,
    AllChecked,
    Unambiguous,
    Covered,
    Timestamp,
};

/// The demand of a word ("pinned", in any letter case); nothing for another text.
[[nodiscard]] std::optional<Demand> demandOf(std::string_view word) noexcept;

} // namespace vantrel::dsig

#endif
