// SPDX-License-Identifier: MIT
#ifndef DSIG_HTML_ESCAPE_H
#define DSIG_HTML_ESCAPE_H

#include <string>
#include <string_view>

// Text of unknown origin on its way into a page. Everything that comes from a document, a
// certificate or a caller passes through here and stands between tags, never inside one: no
// attribute of a page is made of such text. So there is one place to look at when asking whether a
// page can be made to run or hide something. A signed document may be written by the very person
// whom the page is to convict.
namespace vantrel::dsig::html {

// Appends `text` (UTF-8) so that it stays text: the characters of markup as references, characters
// that are not seen or that turn the direction of others as their number in a box, bytes that are
// no UTF-8 likewise. Order-changing characters are the dangerous ones: with them an amount can be
// shown backwards (Unicode Technical Report 36).
void appendText(std::string_view text, std::string& out);
// The same where no element may stand, as in a title: such characters become "?". Nothing of it is
// markup, so it fits where only text is read.
void appendPlain(std::string_view text, std::string& out);
// appendText of a text that may be long: the middle of one with more than `most` bytes is left out,
// and the page says how much. `most` counts octets of the text, before escaping.
void appendShortened(std::string_view text, std::size_t most, std::string& out);

// 1234567 as "1 234 567", with spaces that do not break the line. HTML, not text.
[[nodiscard]] std::string withGroups(std::size_t number);
// "1 octet", "2 octets". The words are HTML and are taken as they stand.
[[nodiscard]] std::string counted(std::size_t number, std::string_view one, std::string_view many);

// The place itself or the next one below that begins a character. For cutting a text without
// cutting a character; in a text that is no UTF-8 any place will do after three steps.
[[nodiscard]] std::size_t characterStart(std::string_view text, std::size_t at) noexcept;

} // namespace vantrel::dsig::html

#endif
