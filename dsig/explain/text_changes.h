// SPDX-License-Identifier: MIT
#ifndef DSIG_EXPLAIN_TEXT_CHANGES_H
#define DSIG_EXPLAIN_TEXT_CHANGES_H

#include "dsig/explain/change.h"

#include <span>
#include <string_view>

namespace vantrel::dsig::explain {

// Changes of the octets digested as a text: what gateways, editors and faulty signers make of one.
// Each family offers the visit all its changes of `form`, and returns true when the visit ended the
// search. They know nothing of XML beyond tokens, so that SignedInfo, an element and a file outside
// are all the same to them.
bool contentChanges(std::string_view form, const ChangeVisit& visit);
bool trailingSpaceChanges(std::string_view form, const ChangeVisit& visit);
bool indentationChanges(std::string_view form, const ChangeVisit& visit);
bool spaceChanges(std::string_view form, const ChangeVisit& visit);
bool markupChanges(std::string_view form, const ChangeVisit& visit);
bool endChanges(std::string_view form, const ChangeVisit& visit);
bool normalizationChanges(std::string_view form, const ChangeVisit& visit);
bool lineEndChanges(std::string_view form, const ChangeVisit& visit);
bool prologChanges(std::string_view form, const ChangeVisit& visit);
bool charsetChanges(std::string_view form, const ChangeVisit& visit);

// Plain functions, so that the list of them is constant.
using TextFamily = bool (*)(std::string_view form, const ChangeVisit& visit);
// All of them, in the order in which two go together: what is written last comes last. Of those
// that may give the same octets the more special comes first.
[[nodiscard]] std::span<const TextFamily> textFamilies() noexcept;

// What costs a candidate a place, and is tried alone and last: characters that were lost at one or
// two places, and trailing white space that was lost at one. Thousands of forms each: what is lost
// has to be guessed, where what was added can be seen.
bool restoredCharacters(std::string_view form, const ChangeVisit& visit);
bool restoredTrailingSpace(std::string_view form, const ChangeVisit& visit);

} // namespace vantrel::dsig::explain

#endif
