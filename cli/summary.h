// SPDX-License-Identifier: MIT
#ifndef CLI_SUMMARY_H
#define CLI_SUMMARY_H

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace vantrel::cli {

// How many files had which outcome, for the last line of a run over many.
class Summary final {
public:
    // One more file; `status` is that of its report. A status that is not known counts as an error:
    // nothing passes for valid that is not called so. `refused`: a policy did not accept it.
    void add(std::string_view status, bool refused) noexcept;
    // All that were added, whatever their outcome.
    [[nodiscard]] std::size_t files() const noexcept;
    // "3 files: 1 valid, 2 invalid" and a line end; outcomes that no file had are left out. With
    // files that were refused "..., 2 not accepted" follows, whatever else they are.
    [[nodiscard]] std::string line() const;

private:
    std::array<std::size_t, 4> m_counts{}; // as kOutcomes in the source
    std::size_t m_refused = 0;
};

} // namespace vantrel::cli

#endif
