// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_LIMITS_H
#define DSIG_DOCUMENT_LIMITS_H

#include "foundation/io/deadline.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace vantrel::dsig {

// Budgets of the work on one document, which a caller may set by name. They count work, never time,
// so that a document passes or fails alike on every machine. docs/limits.md lists them.
struct Limits {
    // Numbers of operations, octets (bytes) and counts, as the names say. There is no value for
    // "unlimited": the largest number serves.
    std::uint64_t keyOperations = 10'000;
    std::uint64_t workOctets = 1024ULL * 1024 * 1024;
    std::uint64_t transformsPerReference = 100;
    std::uint64_t transforms = 10'000;
    std::uint64_t failuresRetried = 100;
    std::uint64_t xpathSteps = 128ULL * 1024 * 1024;
    std::uint64_t logOctets = 64ULL * 1024 * 1024;
    std::uint64_t reportOctets = 64ULL * 1024 * 1024;
    // Of packages (dsig/package), before anything in them is read.
    std::uint64_t packageMembers = 65'536;
    std::uint64_t packageMemberOctets = 4ULL * 1024 * 1024 * 1024;
    std::uint64_t packageOctets = 8ULL * 1024 * 1024 * 1024;
    std::uint64_t packageRatio = 250;
    std::uint64_t packageXmlOctets = 256ULL * 1024 * 1024;

    // When somebody who waits for the verdict stops waiting. The one bound that is timed, hence in
    // no table and absent unless a caller sets it; what it ends has no verdict.
    std::optional<io::Deadline> deadline;

    [[nodiscard]] bool timeIsUp() const noexcept { return deadline && deadline->passed(); }
};

// A limit as callers and the tool's help see it: its name, where its value stands, and what it
// counts.
struct LimitEntry {
    std::string_view name;
    std::uint64_t Limits::*value;
    std::string_view description; // one sentence

    [[nodiscard]] std::uint64_t defaultValue() const noexcept { return Limits().*value; }
};

// All limits, in the order in which they are listed; the names are distinct and case-sensitive.
[[nodiscard]] std::span<const LimitEntry> limitTable() noexcept;

// False, with `limits` unchanged, when there is no limit of this name.
[[nodiscard]] bool setLimit(Limits& limits, std::string_view name, std::uint64_t value) noexcept;

// Reads all of `text` as a limit's value, a decimal number. False, with `value` unchanged, for
// anything else.
[[nodiscard]] bool parseLimit(std::string_view text, std::uint64_t& value) noexcept;

} // namespace vantrel::dsig

#endif
