#ifndef DSIG_HTML_SIGNATURE_CARD_H
#define DSIG_HTML_SIGNATURE_CARD_H

#include "dsig/html/places.h"
#include "foundation/json/json_value.h"

#include <string>

namespace vantrel::dsig::html {

// The ids of places, which cards link to and the text has.
[[nodiscard]] std::string idOfSignature(std::size_t signature);
[[nodiscard]] std::string idOfTarget(std::size_t signature, std::size_t reference);
[[nodiscard]] std::string idOfExclusion(std::size_t signature, std::size_t reference,
                                        std::size_t exclusion);
// Of the first text that nothing covers.
inline constexpr const char* kUncoveredId = "u";

// References of a signature, and exclusions of a reference, that a page lists and marks; of more it
// says how many.
inline constexpr std::size_t kListed = 20;

// What is told of one signature beside the text: a part of the page for itself. `number`: its place
// among those of the page, which gives it its colour. `hasUncovered`: the text has kUncoveredId.
void appendCard(const json::JsonValue& report, const SignaturePlaces& places, std::size_t number,
                bool hasUncovered, std::string& out);

} // namespace vantrel::dsig::html

#endif
