// SPDX-License-Identifier: MIT
#ifndef API_OPTION_READERS_H
#define API_OPTION_READERS_H

#include "api/verify_options.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// The options that JSON may hold, as data: their names, what each takes, and what becomes of it.
// How the JSON is gone through is options_json.cpp's affair. To add an option: a row here, its line
// in the tool's table and in docs/api.md; a test holds the three together.
namespace vantrel::api {

// The secret comes with its encoding, in whichever order; "no references" is the opposite of what
// options hold.
struct OptionReading {
    VerifyOptions options;
    bool noReferences = false;
    std::string secret;
    std::string secretEncoding;
    std::string secretFile;
};

// One value: a number as it is written, what a text stands for, or the name of a file.
struct OptionValue {
    std::string text;
    bool isFile = false;
    std::string name; // of a named source
};

// What stands for a value. A file is {"file": "NAME"}; a source that, or its contents. A named
// source is {"name": "NAME", "key": SOURCE}, or "NAME=FILE" as on the command line.
enum class OptionKind : std::uint8_t { Number, Text, Source, NamedSource, File };

// A switch, by the member that it sets.
struct FlagReader {
    std::string_view name;
    bool& (*flag)(OptionReading&);
};

// Any other option. `clear` makes it one that was not given. `add` takes one value; what it returns
// goes on where "the option NAME" ends, and is empty where the value is taken.
struct ValueReader {
    std::string_view name;
    OptionKind kind;
    bool isRepeatable;
    void (*clear)(OptionReading&);
    std::string (*add)(const OptionValue&, OptionReading&);
};

[[nodiscard]] std::span<const FlagReader> flagReaders() noexcept;
[[nodiscard]] std::span<const ValueReader> valueReaders() noexcept;

// How the text goes on that says what an option takes.
[[nodiscard]] std::string wrongValue(std::string_view wanted);
// How it goes on that says what is wrong with a value of the right kind.
[[nodiscard]] std::string wrongContent(std::string_view what);

} // namespace vantrel::api

#endif
