// SPDX-License-Identifier: MIT
#include "api/options_json.h"

#include "api/make_policy.h"
#include "api/option_readers.h"
#include "api/option_values.h"
#include "api/read_file.h"
#include "foundation/json/json_parts.h"
#include "foundation/keyfile/key_file.h"
#include "foundation/text/strings.h"
#include "foundation/text/utf8.h"
#include "foundation/text/word_lists.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>

// Options are gone through as text (json_parts.h): those of a request come from a program that may
// pass on what others sent it, and values of all their parts would take many times their memory.
// Whatever could be read in two ways is refused.
namespace vantrel {

namespace {

// What stands for a value, for people.
std::string_view wantedOf(api::OptionKind kind) {
    switch (kind) {
    case api::OptionKind::Number: return "a number";
    case api::OptionKind::Text: return "a text";
    case api::OptionKind::Source: return "PEM text, base64 of DER or {\"file\": NAME}";
    case api::OptionKind::NamedSource: return "NAME=FILE or {\"name\": NAME, \"key\": KEY}";
    case api::OptionKind::File: break;
    }
    return "{\"file\": NAME}; hmacKey takes the secret itself";
}

// What a JSON string stands for; false for another value, and for a text that is empty.
bool readText(std::string_view json, StringBuffer& out) {
    json::JsonTokens tokens(json);
    return tokens.readString(&out) && tokens.atEnd() && !out.isEmpty();
}

// A name or a word: the system would take a text to end at a NUL.
bool readPlainText(std::string_view json, std::string& out) {
    StringBuffer text;
    if (!readText(json, text) || text.view().find('\0') != std::string_view::npos) {
        return false;
    }
    out = text.view();
    return true;
}

// An object with the file's name and nothing else. "-" stands for standard input elsewhere, and
// would mislead here.
bool readFileName(std::string_view json, std::string& out) {
    if (json.front() != '{') {
        return false;
    }
    json::JsonParts parts(json);
    StringBuffer name;
    std::string_view member;
    return parts.next(name, member) && name.view() == "file" && readPlainText(member, out) &&
           out != "-" && !parts.next(name, member);
}

// The contents of a source, or its name.
bool readSource(std::string_view json, api::OptionValue& value) {
    value.isFile = json.front() == '{';
    if (value.isFile) {
        return readFileName(json, value.text);
    }
    StringBuffer text;
    const bool isText = readText(json, text);
    value.text = text.view();
    return isText;
}

// A source with a name of its own, or both as on a command line.
bool readNamedSource(std::string_view json, api::OptionValue& value) {
    if (json.front() != '{') {
        std::string text;
        value.isFile = true;
        return readPlainText(json, text) && api::parseNamedKey(text, value.name, value.text);
    }
    json::JsonParts parts(json);
    StringBuffer member;
    std::string_view part;
    // Each once; which of two counts is nothing to guess.
    bool hasKey = false;
    while (parts.next(member, part)) {
        const bool taken =
            (member.view() == "name" && value.name.empty() && readPlainText(part, value.name)) ||
            (member.view() == "key" && !hasKey && readSource(part, value));
        hasKey = hasKey || member.view() == "key";
        if (!taken) {
            return false;
        }
    }
    return !parts.failed() && hasKey && !value.name.empty();
}

// Whether the value is of the option's kind. Contents and names are told apart by their form alone:
// a text is never taken for the name of a file, which whoever wrote it may not know to exist.
bool readValue(api::OptionKind kind, std::string_view json, api::OptionValue& value) {
    const char first = json.front();
    switch (kind) {
    case api::OptionKind::Number:
        // Its range is the option's affair.
        value.text = json;
        return first == '-' || text::isDigitAscii(first);
    case api::OptionKind::Text: return readPlainText(json, value.text);
    case api::OptionKind::File: value.isFile = true; return readFileName(json, value.text);
    case api::OptionKind::NamedSource: return readNamedSource(json, value);
    case api::OptionKind::Source: break;
    }
    return readSource(json, value);
}

// A walk over the members. The first fault ends it: what stands behind it would be verified with
// half of the options.
class OptionsReader {
public:
    OptionsReader(const VerifyOptions& defaults, std::string& error) : m_error(error) {
        m_reading.options = defaults;
        m_reading.noReferences = !defaults.checkReferences;
    }

    // False ends the walk: an option that is not known may have been the one that mattered.
    bool take(std::string_view name, std::string_view json) {
        for (const api::FlagReader& option : api::flagReaders()) {
            if (option.name == name) {
                return isFirst(option.name) && takeFlag(option, json);
            }
        }
        for (const api::ValueReader& option : api::valueReaders()) {
            if (option.name == name) {
                return isFirst(option.name) && takeValues(option, json);
            }
        }
        // Cut between characters, since the error may become JSON again.
        const std::string_view shown = name.substr(0, kMostShown);
        m_error = "there is no option " +
                  std::string(shown.substr(0, text::validUtf8Prefix(shown))) + guessAt(shown);
        return false;
    }

    // What takes all options to be seen.
    bool finish(VerifyOptions& options) {
        VerifyOptions& read = m_reading.options;
        read.checkReferences = !m_reading.noReferences;
        if (contradicts() || !takeSecret()) {
            return false;
        }
        // Made to be checked, and made again by each verification, which shares what is large.
        std::shared_ptr<const dsig::Policy> ignored;
        api::OptionFault wrong;
        if (!api::makePolicy(read.policy, ignored, wrong)) {
            m_error = api::faultText(wrong);
            return false;
        }
        options = std::move(read);
        return true;
    }

private:
    // Names of options are shorter; what is longer is no slip of one.
    static constexpr std::size_t kMostShown = 60;

    // Errors are one line, in reports as well as in exceptions of other languages.
    bool refuse(std::string_view option, std::string_view goesOn) {
        m_error = "the option " + std::string(option) + std::string(goesOn);
        return false;
    }

    // Two readers of such an object may take different ones.
    bool isFirst(std::string_view option) {
        return m_seen.insert(option).second || refuse(option, " stands twice");
    }

    // A slip is the likeliest reason; the caller gets the name that he probably meant.
    static std::string guessAt(std::string_view name) {
        std::vector<std::string_view> names;
        for (const api::FlagReader& option : api::flagReaders()) {
            names.push_back(option.name);
        }
        for (const api::ValueReader& option : api::valueReaders()) {
            names.push_back(option.name);
        }
        const std::string_view guess = text::nearest(name, names);
        return guess.empty() ? std::string() : "; " + std::string(guess) + " is one";
    }

    // Numbers and texts that other readers take for true or false are none here.
    bool takeFlag(const api::FlagReader& option, std::string_view json) {
        option.flag(m_reading) = json == "true";
        return json == "true" || json == "false" || json == "null" ||
               refuse(option.name, " takes true or false");
    }

    // The list in `defaults` goes as a whole: one that was added to could hold keys that nobody of
    // this request knows of.
    bool takeValues(const api::ValueReader& option, std::string_view json) {
        option.clear(m_reading);
        if (json == "null") {
            return true;
        }
        if (json.front() != '[') {
            return takeOne(option, json);
        }
        json::JsonParts parts(json);
        StringBuffer none;
        std::string_view value;
        std::size_t count = 0;
        while (parts.next(none, value)) {
            // The last one would win, and nobody be told.
            if (++count > 1 && !option.isRepeatable) {
                return refuse(option.name, " takes one value");
            }
            if (!takeOne(option, value)) {
                return false;
            }
        }
        return true;
    }

    bool takeOne(const api::ValueReader& option, std::string_view json) {
        api::OptionValue value;
        // What the option takes, not what it was given: that may be a key.
        if (!readValue(option.kind, json, value)) {
            return refuse(option.name, api::wrongValue(wantedOf(option.kind)));
        }
        const std::string wrong = option.add(value, m_reading);
        return wrong.empty() || refuse(option.name, wrong);
    }

    // Which of two that contradict each other would win is nothing to guess.
    bool contradicts() {
        const VerifyOptions& read = m_reading.options;
        if (read.signature && read.id) {
            m_error = "signature and id exclude each other";
        } else if (read.reference && !read.checkReferences) {
            m_error = "reference and noReferences exclude each other";
        } else if (!m_reading.secret.empty() && !m_reading.secretFile.empty()) {
            m_error = "hmacKey and hmacKeyFile exclude each other";
        }
        return !m_error.empty();
    }

    // A secret as text, or the bytes of a file. An empty one would let everybody sign.
    bool takeSecret() {
        std::string& secret = m_reading.options.hmacSecret;
        // The file as it is: a line end at its end belongs to the secret.
        if (!m_reading.secretFile.empty()) {
            const Result<std::string> bytes =
                api::readFile(m_reading.secretFile, keyfile::kMaxKeyFile);
            if (!bytes || bytes->empty()) {
                return refuse("hmacKeyFile",
                              api::wrongContent(bytes ? m_reading.secretFile + " is empty"
                                                      : bytes.error().what));
            }
            secret = *bytes;
            return true;
        }
        const std::string encoding =
            m_reading.secretEncoding.empty() ? "hex" : m_reading.secretEncoding;
        if (!m_reading.secret.empty()) {
            return decodeSecret(m_reading.secret, encoding, secret) ||
                   refuse("hmacKey", " is not valid in the encoding " + encoding);
        }
        return m_reading.secretEncoding.empty() ||
               refuse("hmacEncoding", " is about hmacKey, and none is given");
    }

    api::OptionReading m_reading;
    std::set<std::string_view> m_seen;
    std::string& m_error;
};

} // namespace

Result<VerifyOptions> optionsFromJson(std::string_view json, const VerifyOptions& defaults) {
    if (json.empty()) {
        return defaults;
    }
    Error error;
    json::JsonTokens first(json);
    first.skipSpace();
    // A list has parts as well, without names; none of them is an option.
    if (first.peek() != '{') {
        return Error{"the options are no JSON object", {}};
    }
    json::JsonParts parts(json);
    OptionsReader reader(defaults, error.what);
    StringBuffer name;
    std::string_view value;
    while (parts.next(name, value)) {
        if (!reader.take(name.view(), value)) {
            return error;
        }
    }
    if (parts.failed()) {
        error.what = "the options are no JSON from byte " + std::to_string(parts.faultAt()) + " on";
        return error;
    }
    VerifyOptions options;
    return reader.finish(options) ? Result<VerifyOptions>(std::move(options))
                                  : Result<VerifyOptions>(error);
}

} // namespace vantrel
