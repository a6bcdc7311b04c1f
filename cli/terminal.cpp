// SPDX-License-Identifier: MIT
#include "cli/terminal.h"

#include <vantrel/utf8.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

// Two dangers of a document's text on a terminal: control sequences, which move the cursor,
// overwrite what was said or drive the terminal's own functions; and marks of direction, which make
// a line read other than it is. Both are shown as the bytes they are, which no terminal acts upon.
namespace vantrel::cli {

namespace {

// What divides the two parts of a complaint.
constexpr std::string_view kBeforeRemedy = "\ntry: ";

// Set by whatever is printed and asked for once, at the end. Only the main thread prints.
bool g_outputFailed = false;

// Decided once; https://no-color.org: any value but an empty one means no.
bool wantsColour() {
    static const bool wanted = [] {
        const char* const noColour = std::getenv("NO_COLOR");
        const char* const terminal = std::getenv("TERM");
        return outputIsTerminal() && (noColour == nullptr || noColour[0] == '\0') &&
               (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
    }();
    return wanted;
}

// C0, DEL and C1 begin the control sequences of terminals (ECMA-48), CSI among them in one
// character; the others are the marks, embeddings, overrides and isolates of the Unicode
// Bidirectional Algorithm, and the line and paragraph separators beside them.
bool isHarmless(char32_t character) {
    const bool control = character < 0x20 || (character >= 0x7F && character < 0xA0);
    const bool direction = character == 0x061C || character == 0x200E || character == 0x200F ||
                           (character >= 0x2028 && character <= 0x202E) ||
                           (character >= 0x2066 && character <= 0x2069);
    return !control && !direction;
}

// Number of letters at the front that are printable ASCII, which is nearly everything.
std::size_t plainFront(std::string_view text) {
    const auto end =
        std::find_if(text.begin(), text.end(), [](char c) { return c < 0x20 || c >= 0x7F; });
    return static_cast<std::size_t>(end - text.begin());
}

} // namespace

// The two parts stay one text, so that a complaint passes through functions as one value until it
// is shown, on the terminal or in a report.
std::string withRemedy(std::string_view what, std::string_view remedy) {
    // Made printable here, so that no name within them, of a file for instance, can pass for a
    // remedy.
    return printable(what) + std::string(kBeforeRemedy) + printable(remedy);
}

bool hasRemedy(std::string_view complaint) noexcept {
    return complaint.find(kBeforeRemedy) != std::string_view::npos;
}

std::string_view withoutRemedy(std::string_view complaint) noexcept {
    // The last one: what stands before it may be a name that somebody chose.
    return complaint.substr(0, complaint.rfind(kBeforeRemedy));
}

std::string complaintLines(std::string_view complaint) {
    const std::string_view wrong = withoutRemedy(complaint);
    std::string lines = "xmldsig: " + printable(wrong) + "\n";
    if (wrong.size() < complaint.size()) {
        lines += printable(complaint.substr(wrong.size() + 1)) + "\n";
    }
    return lines;
}

void complain(std::string_view complaint) {
    const std::string lines = complaintLines(complaint);
    // One call, so that lines of several processes do not mix.
    std::fflush(stdout);
    std::fwrite(lines.data(), 1, lines.size(), stderr);
}

void writeOutput(std::string_view bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) {
        g_outputFailed = true;
    }
}

bool finishOutput() {
    if (std::fflush(stdout) != 0) {
        g_outputFailed = true;
    }
    if (g_outputFailed) {
        complain("cannot write the output: " + std::string(std::strerror(errno)));
    }
    return !g_outputFailed;
}

std::string printable(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const std::size_t plain = plainFront(text);
        out += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty()) {
            break;
        }
        char32_t character = 0;
        const std::size_t length = text::decodeUtf8(text, character);
        if (length > 0 && isHarmless(character)) {
            out += text.substr(0, length);
            text.remove_prefix(length);
            continue;
        }
        // A character that is not shown, or one byte that begins none.
        for (std::size_t i = 0; i < (length > 0 ? length : 1); ++i) {
            const auto byte = static_cast<unsigned char>(text[i]);
            out += "\\x";
            out += digits[byte >> 4];
            out += digits[byte & 15];
        }
        text.remove_prefix(length > 0 ? length : 1);
    }
    return out;
}

std::string printableLines(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 1);
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        out += printable(text.substr(0, end));
        out += '\n';
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return out;
}

// The characters that no shell gives a meaning to within a word; anything else is quoted.
std::string shellWord(std::string_view name) {
    constexpr std::string_view kPlain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-/+,:@%=";
    if (!name.empty() && name.find_first_not_of(kPlain) == std::string_view::npos) {
        return std::string(name);
    }
    std::string out = "'";
    for (const char c : name) {
        out += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return out + "'";
}

std::string coloured(std::string_view text, Colour colour) {
    if (colour == Colour::Plain || !wantsColour()) {
        return std::string(text);
    }
    // Green, bold red, yellow; then back to normal.
    const char* const code = colour == Colour::Good  ? "\033[32m"
                             : colour == Colour::Bad ? "\033[1;31m"
                                                     : "\033[33m";
    return code + std::string(text) + "\033[0m";
}

bool outputIsTerminal() noexcept { return isatty(STDOUT_FILENO) != 0; }

bool errorsAreTerminal() noexcept { return isatty(STDERR_FILENO) != 0; }

} // namespace vantrel::cli
