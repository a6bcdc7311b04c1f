// SPDX-License-Identifier: MIT
#ifndef DSIG_HTML_SIGNATURE_CARD_H
#define DSIG_HTML_SIGNATURE_CARD_H

#include "dsig/html/places.h"
#include "foundation/json/json_value.h"

#include <string>

namespace vantrel::dsig::html {

// The ids of places, which cards link to and the text has. Made of numbers only, so that they need
// no escaping.
[[nodiscard]] std::string idOfSignature(std::size_t signature);
[[nodiscard]] std::string idOfTarget(std::size_t signature, std::size_t reference);
[[nodiscard]] std::string idOfExclusion(std::size_t signature, std::size_t reference,
                                        std::size_t exclusion);
// Of the first text that nothing covers. Short, since it is written into many links.
inline constexpr const char* kUncoveredId = "u";

// References of a signature, and exclusions of a reference, that a page lists and marks; of more it
// says how many. Both sides use it, or links would lead nowhere.
inline constexpr std::size_t kListed = 20;

// What is told of one signature beside the text: a part of the page for itself. `number`: its place
// among those of the page, which gives it its colour. `hasUncovered`: the text has kUncoveredId.
// The report is a parsed one, of the same signature as the places. Missing members are left out of
// the card.
void appendCard(const json::JsonValue& report, const SignaturePlaces& places, std::size_t number,
                bool hasUncovered, std::string& out);

} // namespace vantrel::dsig::html

#endif
