// SPDX-License-Identifier: MIT
#ifndef DSIG_EXPLAIN_SINGLE_CHANGE_H
#define DSIG_EXPLAIN_SINGLE_CHANGE_H

#include "dsig/explain/budget.h"
#include "foundation/text/byte_view.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel::dsig::explain {

// How the search for a single changed octet ended, which tries the likeliest changes first and then
// all of them. Typing errors, a digit that was corrected after
// signing, and a forged amount all end here.
enum class SingleChangeOutcome : std::uint8_t {
    Found,
    NotFound, // no single change of those tried gives the digest
    TooLarge, // not even the likeliest were tried
    Partly    // only the likeliest were tried, or the time was up
};

// Looks for one octet of the form that was replaced, added or removed since, or for two neighbours
// that changed places, by trying them all: from which form does the digest come? `digest` is of the
// hash `hashId`. The octets that are tried keep a text well-formed UTF-8. The work grows with the
// square of the form: a form of 4 KB takes about a second of one processor, and the processors that
// are free share it. Where the budget allows for no more, only removals, exchanges and what people
// change most (digits, letter case, blanks) are tried. On success `evidence` says where, what
// stands there and what was signed. Blocking; the threads that it starts have ended when it
// returns. The budget pays for the octets hashed before any is.
[[nodiscard]] SingleChangeOutcome findSingleChange(std::string_view form, int hashId,
                                                   ByteView digest, Budget& budget,
                                                   std::string& evidence);

} // namespace vantrel::dsig::explain

#endif
