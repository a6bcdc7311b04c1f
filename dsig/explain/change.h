// SPDX-License-Identifier: MIT
#ifndef DSIG_EXPLAIN_CHANGE_H
#define DSIG_EXPLAIN_CHANGE_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace vantrel::dsig::explain {

// One hypothesis carried out: the octets as they would have been if its cause were the true one.
// A value: it owns its octets, so that it may outlive the form that it was made of. Changes are
// made one at a time and offered before the next is made, which bounds the memory by one copy of
// the form. Those without a text in `code` are the form as it stands.
struct Change {
    std::string_view code; // one of codes.h
    std::string evidence;  // what was changed, without the places
    std::string octets;
    std::size_t places = 0; // number of them; 0: not a matter of places
    std::size_t first = 0;  // offset of the first in the text that was changed
};

// Takes a change, whose octets are empty where none could be made, and returns true when the search
// is over: the change explains the failure, or the budget is used up. Whoever makes changes stops
// at once then and returns true as well. A change is borrowed for the call; whoever keeps it copies
// it.
using ChangeVisit = std::function<bool(const Change&)>;

// The evidence with the number of places and the line of the first, in the text that was changed.
// Only for a change that is going to be shown: counting lines is a pass over the form.
[[nodiscard]] std::string withPlaces(const Change& change, std::string_view before);

// Counts a place of the text that is being changed, at this offset. Places are noted from the first
// on, so that the first one is kept.
void notePlace(std::size_t at, Change& change) noexcept;
// Replaces every `from` by `to`, and counts. What stood in the change's octets and places before is
// dropped.
void replaceAll(std::string_view text, std::string_view from, std::string_view to, Change& change);
// `text` as part of a sentence: cut where it is long, with line ends and octets that are no
// printable ASCII written out. Always in double quotes.
[[nodiscard]] std::string quoted(std::string_view text);
// "N thing" or "N things".
[[nodiscard]] std::string counted(std::size_t count, std::string_view thing);

} // namespace vantrel::dsig::explain

#endif
