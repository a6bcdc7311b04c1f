// SPDX-License-Identifier: MIT
#ifndef CLI_TERMINAL_H
#define CLI_TERMINAL_H

#include <string>
#include <string_view>

namespace vantrel::cli {

// The only way to the terminal for what may hold a document's text.

// A complaint is a text of one line, or of two: what is wrong and, behind it, "try: " with the
// option, file or command that would mend it. The second is for failures that a person can mend.
// Both parts are made printable; whoever puts a name in front of a complaint does that for the
// name.
[[nodiscard]] std::string withRemedy(std::string_view what, std::string_view remedy);
[[nodiscard]] bool hasRemedy(std::string_view complaint) noexcept;
// What is wrong alone, as JSON reports have it; a view into the complaint.
[[nodiscard]] std::string_view withoutRemedy(std::string_view complaint) noexcept;

// The lines of a complaint as they are shown: "xmldsig: " and what is wrong, then the remedy, both
// made printable; a line end within either cannot begin a line of its own.
[[nodiscard]] std::string complaintLines(std::string_view complaint);
// Writes them to standard error. What stands in the buffer of standard output goes out first, so
// that both keep their order on a terminal.
void complain(std::string_view complaint);

// Writes to standard output, byte for byte, and remembers a failure; canonical octets and PEM pass
// here unchanged, so whatever is a text for people was made printable before.
void writeOutput(std::string_view bytes);
// Flushes; false, with a complaint, when anything of the output could not be written, now or
// before. A full disk must not end in exit code 0.
[[nodiscard]] bool finishOutput();

// What stands in a document is not trusted: control characters, which could steer a terminal, bytes
// that are no UTF-8, and the characters that turn the direction of writing appear as \xHH, each
// byte by itself. Line ends are control characters, too. A text that is printable stays as it is.
[[nodiscard]] std::string printable(std::string_view text);

// A log whose values stand on one line each (_vlLogger::setOneLineValues), made printable line by
// line: its line ends stay, so that nobody's text can pass for a line of the log.
[[nodiscard]] std::string printableLines(std::string_view text);

// A name as a POSIX shell takes it for one word: in single quotes where it needs them. For the
// commands that complaints propose, so that they can be copied. Standard input stays "-".
[[nodiscard]] std::string shellWord(std::string_view name);

// Plain is no colour at all; the others say how an outcome is meant.
enum class Colour { Plain, Good, Bad, Note };

// The text in a colour where standard output is a terminal that wants it (NO_COLOR, TERM=dumb). The
// text must be printable already: the escape sequences are added around it.
[[nodiscard]] std::string coloured(std::string_view text, Colour colour);

// Whether these streams end at a terminal, not in a file or a pipe.
[[nodiscard]] bool outputIsTerminal() noexcept;
[[nodiscard]] bool errorsAreTerminal() noexcept;

} // namespace vantrel::cli

#endif
