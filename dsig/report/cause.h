// SPDX-License-Identifier: MIT
#ifndef DSIG_REPORT_CAUSE_H
#define DSIG_REPORT_CAUSE_H

#include <string>
#include <string_view>
#include <vector>

namespace vantrel::dsig {

// Why a reference does not match or a signature is not valid, in words that a person can act on.
// A value; empty for what needs no reason.
struct Cause {
    std::string_view code; // one of the fixed words; of static storage
    std::string text;      // one sentence
    std::vector<std::string>
        tries;            // what may mend it, an option, file or command each; may be empty
    std::string evidence; // what a search changed, where, at how many places; else empty

    [[nodiscard]] bool empty() const noexcept { return code.empty(); }
};

} // namespace vantrel::dsig

#endif
