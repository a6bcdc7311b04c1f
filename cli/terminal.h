#ifndef CLI_TERMINAL_H
#define CLI_TERMINAL_H

#include <string>
#include <string_view>

namespace vantrel::cli {

// One line on standard error: "xmldsig: " and the text, made printable.
void complain(std::string_view text);

// Writes to standard output, byte for byte, and remembers a failure.
void writeOutput(std::string_view bytes);
// Flushes; false, with a complaint, when anything of the output could not be written.
[[nodiscard]] bool finishOutput();

// What stands in a document is not trusted: control characters, which could steer a terminal, bytes
// that are no UTF-8, and the characters that turn the direction of writing appear as \xHH.
[[nodiscard]] std::string printable(std::string_view text);

// A log whose values stand on one line each (_vlLogger::setOneLineValues), made printable line by
// line: its line ends stay, so that nobody's text can pass for a line of the log.
[[nodiscard]] std::string printableLines(std::string_view text);

enum class Colour { Plain, Good, Bad, Note };

// The text in a colour where standard output is a terminal that wants it (NO_COLOR, TERM=dumb).
[[nodiscard]] std::string coloured(std::string_view text, Colour colour);

[[nodiscard]] bool outputIsTerminal() noexcept;
[[nodiscard]] bool errorsAreTerminal() noexcept;

} // namespace vantrel::cli

#endif
