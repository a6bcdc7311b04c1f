#include "api/options_json.h"

#include "api/make_policy.h"
#include "api/option_values.h"
#include "api/read_file.h"
#include "foundation/json/json_parts.h"
#include "foundation/keyfile/key_file.h"
#include "foundation/text/strings.h"
#include "foundation/text/word_lists.h"
#include "foundation/x509/path/path_words.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <system_error>

// Options are gone through as text (json_parts.h): those of a request come from a program that may
// pass on what others sent it, and values of all their parts would take many times their memory.
// Whatever could be read in two ways is refused. The files that options name are read: whoever
// writes the options is the caller, not the document.
namespace vantrel {

namespace {

// The secret comes with its encoding, in whichever order; "no references" is the opposite of what
// options hold.
struct Reading {
    VerifyOptions options;
    bool noReferences = false;
    std::string secret;
    std::string secretEncoding;
    std::string secretFile;
};

// One value: a number as it is written, what a text stands for, or the name of a file.
struct Value {
    std::string text;
    bool isFile = false;
};

// What stands for a value. A file is {"file": "NAME"}; a source that, or its contents.
enum class Kind : std::uint8_t { Number, Text, Source, File };

std::string_view wantedOf(Kind kind) {
    switch (kind) {
    case Kind::Number: return "a number";
    case Kind::Text: return "a text";
    case Kind::Source: return "PEM text, base64 of DER or {\"file\": NAME}";
    case Kind::File: break;
    }
    return "{\"file\": NAME}; hmacKey takes the secret itself";
}

// A switch, by the member that it sets.
struct FlagReader {
    std::string_view name;
    bool& (*flag)(Reading&);
};

constexpr auto kFlags = std::to_array<FlagReader>({
    {"noReferences", [](Reading& into) -> bool& { return into.noReferences; }},
    {"onlyKey", [](Reading& into) -> bool& { return into.options.policy.onlyKey; }},
    {"ignoreExternal", [](Reading& into) -> bool& { return into.options.ignoreExternal; }},
    {"timestamps", [](Reading& into) -> bool& { return into.options.timestamps; }},
    {"strict", [](Reading& into) -> bool& { return into.options.policy.strict; }},
    {"checkRevocation", [](Reading& into) -> bool& { return into.options.policy.checkRevocation; }},
    {"explain", [](Reading& into) -> bool& { return into.options.explain; }},
    {"log", [](Reading& into) -> bool& { return into.options.log; }},
    {"verbose", [](Reading& into) -> bool& { return into.options.verboseLog; }},
});

// Any other option. `clear` makes it one that was not given. `add` takes one value; what it returns
// goes on where "the option NAME" ends, and is empty where the value is taken.
struct ValueReader {
    std::string_view name;
    Kind kind;
    bool isRepeatable;
    void (*clear)(Reading&);
    std::string (*add)(const Value&, Reading&);
};

std::string wrongValue(std::string_view wanted) { return " takes " + std::string(wanted); }

std::string fault(std::string_view what) { return ": " + std::string(what); }

std::string systemFault(const std::string& name, int systemError, std::string_view otherwise) {
    return fault(
        name + ": " +
        (systemError != 0 ? std::generic_category().message(systemError) : std::string(otherwise)));
}

// Nothing when the number is taken.
std::string readNumber(const Value& value, int least, int most, std::optional<int>& out) {
    std::uint64_t number = 0;
    if (!dsig::parseLimit(value.text, number) || number < static_cast<std::uint64_t>(least) ||
        number > static_cast<std::uint64_t>(most)) {
        return wrongValue("a number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    out = static_cast<int>(number);
    return {};
}

std::string addSignature(const Value& value, Reading& into) {
    return readNumber(value, 0, api::kHighestIndex, into.options.signature);
}

std::string addReference(const Value& value, Reading& into) {
    return readNumber(value, 0, api::kHighestIndex, into.options.reference);
}

std::string addEffort(const Value& value, Reading& into) {
    std::optional<int> effort;
    const std::string wrong = readNumber(value, 1, api::kMostEffort, effort);
    into.options.effort = effort.value_or(1);
    return wrong;
}

// Of Key, TrustAnchors or RevocationLists.
template <class Source> std::string addSource(const Value& value, std::vector<Source>& sources) {
    const Result<Source> source =
        value.isFile ? Source::fromFile(value.text) : Source::fromBytes(value.text);
    if (!source) {
        return fault(source.error().what);
    }
    sources.push_back(*source);
    return {};
}

std::string addKey(const Value& value, Reading& into) {
    return addSource(value, into.options.keys);
}

// Where the machine's anchors are meant, that may stand as a text or as a name.
std::string addAnchor(const Value& value, Reading& into) {
    std::vector<TrustAnchors>& anchors = into.options.policy.anchors;
    if (value.text != api::kSystemAnchors) {
        return addSource(value, anchors);
    }
    const Result<TrustAnchors> system = api::anchorsNamed(value.text);
    if (!system) {
        return fault(system.error().what);
    }
    anchors.push_back(*system);
    return {};
}

std::string addCrl(const Value& value, Reading& into) {
    return addSource(value, into.options.policy.crls);
}

// The store is made anew where a request has certificates: copies of a store mean the same one.
std::string addCertificate(const Value& value, Reading& into) {
    CertificateStore& store = into.options.certificates;
    std::string error;
    const bool added =
        value.isFile ? store.addFile(value.text, error) : store.addBytes(value.text, error);
    return added ? std::string() : fault(value.isFile ? value.text + ": " + error : error);
}

std::string addHmacEncoding(const Value& value, Reading& into) {
    if (!api::isWordOf(api::kHmacEncodings, value.text, false)) {
        return wrongValue("one of " + api::listOf(api::kHmacEncodings));
    }
    into.secretEncoding = value.text;
    return {};
}

std::string addReferenceData(const Value& value, Reading& into) {
    ReferenceData data;
    int systemError = 0;
    std::string otherwise;
    if (!api::parseReferenceData(value.text, data.index, data.file)) {
        return wrongValue("N=FILE with N from 0 to " + std::to_string(api::kLastReferenceWithData));
    }
    if (!api::canOpen(data.file, systemError, otherwise)) {
        return systemFault(data.file, systemError, otherwise);
    }
    into.options.referenceData.push_back(std::move(data));
    return {};
}

std::string addFolder(const Value& value, Reading& into) {
    int systemError = 0;
    // The verifier takes the folders as one text with this separator.
    if (value.text.find(';') != std::string::npos) {
        return wrongValue("names of folders without a semicolon");
    }
    if (!api::canList(value.text, systemError)) {
        return systemFault(value.text, systemError, {});
    }
    into.options.referenceFolders.push_back(value.text);
    return {};
}

// Words with commas between them; `take` is asked about each.
template <class Take>
std::string readWords(const Value& value, std::string_view known, const Take& take) {
    const std::vector<std::string_view> given = text::splitWords(value.text, ',');
    if (given.empty() || !std::all_of(given.begin(), given.end(), take)) {
        return wrongValue("one of " + api::listOf(known));
    }
    return {};
}

std::string addWord(const Value& value, Reading& into) {
    const std::string wrong = readWords(value, api::kOptionWords, [](std::string_view word) {
        return api::isWordOf(api::kOptionWords, word, true);
    });
    into.options.words.push_back(value.text); // in its letter case, which the verifier may look at
    return wrong;
}

std::string addDemands(const Value& value, Reading& into) {
    return readWords(value, api::kRequireWords, [&into](std::string_view word) {
        const std::optional<Demand> demand = dsig::demandOf(word);
        if (demand) {
            into.options.policy.demands.insert(*demand);
        }
        return demand.has_value();
    });
}

std::string addLimit(const Value& value, Reading& into) {
    const std::string_view text = value.text;
    const std::size_t equals = std::min(text.find('='), text.size());
    std::uint64_t number = 0;
    const bool taken = equals < text.size() && dsig::parseLimit(text.substr(equals + 1), number) &&
                       dsig::setLimit(into.options.limits, text.substr(0, equals), number);
    return taken ? std::string()
                 : wrongValue("NAME=VALUE with a decimal number and a name of a limit");
}

std::string addAccept(const Value& value, Reading& into) {
    if (!api::isWordOf(api::kAcceptWords, value.text, false)) {
        return wrongValue("one of " + api::listOf(api::kAcceptWords));
    }
    into.options.policy.accept = value.text == "any" ? Accept::Any : Accept::All;
    return {};
}

std::string addTime(const Value& value, Reading& into) {
    std::int64_t seconds = 0;
    if (!x509::parseMoment(value.text, seconds)) {
        return wrongValue("a time as RFC 3339 writes it");
    }
    into.options.policy.at = std::chrono::sys_seconds(std::chrono::seconds(seconds));
    return {};
}

constexpr auto kValues = std::to_array<ValueReader>({
    {"signature", Kind::Number, false, [](Reading& into) { into.options.signature.reset(); },
     addSignature},
    {"id", Kind::Text, false, [](Reading& into) { into.options.id.reset(); },
     [](const Value& value, Reading& into) {
         into.options.id = value.text;
         return std::string();
     }},
    {"reference", Kind::Number, false, [](Reading& into) { into.options.reference.reset(); },
     addReference},
    {"key", Kind::Source, true, [](Reading& into) { into.options.keys.clear(); }, addKey},
    {"hmacKey", Kind::Text, false, [](Reading& into) { into.options.hmacSecret.clear(); },
     [](const Value& value, Reading& into) {
         into.secret = value.text;
         return std::string();
     }},
    {"hmacEncoding", Kind::Text, false, [](Reading& into) { into.secretEncoding.clear(); },
     addHmacEncoding},
    {"hmacKeyFile", Kind::File, false, [](Reading& into) { into.options.hmacSecret.clear(); },
     [](const Value& value, Reading& into) {
         into.secretFile = value.text;
         return std::string();
     }},
    {"cert", Kind::Source, true,
     [](Reading& into) { into.options.certificates = CertificateStore(); }, addCertificate},
    {"anchor", Kind::Source, true, [](Reading& into) { into.options.policy.anchors.clear(); },
     addAnchor},
    {"crl", Kind::Source, true, [](Reading& into) { into.options.policy.crls.clear(); }, addCrl},
    {"refData", Kind::Text, true, [](Reading& into) { into.options.referenceData.clear(); },
     addReferenceData},
    {"refDir", Kind::Text, true, [](Reading& into) { into.options.referenceFolders.clear(); },
     addFolder},
    {"option", Kind::Text, true, [](Reading& into) { into.options.words.clear(); }, addWord},
    {"limit", Kind::Text, true, [](Reading& into) { into.options.limits = dsig::Limits(); },
     addLimit},
    {"pin", Kind::Text, true, [](Reading& into) { into.options.policy.pins.clear(); },
     [](const Value& value, Reading& into) {
         into.options.policy.pins.push_back(value.text);
         return std::string();
     }},
    {"require", Kind::Text, true, [](Reading& into) { into.options.policy.demands.clear(); },
     addDemands},
    {"mustCover", Kind::Text, true, [](Reading& into) { into.options.policy.mustCover.clear(); },
     [](const Value& value, Reading& into) {
         into.options.policy.mustCover.push_back(value.text);
         return std::string();
     }},
    {"accept", Kind::Text, false, [](Reading& into) { into.options.policy.accept.reset(); },
     addAccept},
    {"at", Kind::Text, false, [](Reading& into) { into.options.policy.at.reset(); }, addTime},
    {"purpose", Kind::Text, true, [](Reading& into) { into.options.policy.purposes.clear(); },
     [](const Value& value, Reading& into) {
         into.options.policy.purposes.push_back(value.text);
         return std::string();
     }},
    {"effort", Kind::Number, false, [](Reading& into) { into.options.effort = 1; }, addEffort},
});

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

bool readValue(Kind kind, std::string_view json, Value& value) {
    const char first = json.front();
    switch (kind) {
    case Kind::Number:
        // Its range is the option's affair.
        value.text = json;
        return first == '-' || text::isDigitAscii(first);
    case Kind::Text: return readPlainText(json, value.text);
    case Kind::File: value.isFile = true; return readFileName(json, value.text);
    case Kind::Source: break;
    }
    value.isFile = first == '{';
    if (value.isFile) {
        return readFileName(json, value.text);
    }
    StringBuffer text;
    const bool isText = readText(json, text);
    value.text = text.view();
    return isText;
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
        for (const FlagReader& option : kFlags) {
            if (option.name == name) {
                return isFirst(option.name) && takeFlag(option, json);
            }
        }
        for (const ValueReader& option : kValues) {
            if (option.name == name) {
                return isFirst(option.name) && takeValues(option, json);
            }
        }
        m_error = "there is no option " + std::string(name.substr(0, kMostShown)) + guessAt(name);
        return false;
    }

    // What takes all options to be seen.
    bool finish(VerifyOptions& options) {
        VerifyOptions& read = m_reading.options;
        read.checkReferences = !m_reading.noReferences;
        if (contradicts() || !takeSecret()) {
            return false;
        }
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

    bool refuse(std::string_view option, std::string_view goesOn) {
        m_error = "the option " + std::string(option) + std::string(goesOn);
        return false;
    }

    // Two readers of such an object may take different ones.
    bool isFirst(std::string_view option) {
        return m_seen.insert(option).second || refuse(option, " stands twice");
    }

    static std::string guessAt(std::string_view name) {
        std::vector<std::string_view> names;
        for (const FlagReader& option : kFlags) {
            names.push_back(option.name);
        }
        for (const ValueReader& option : kValues) {
            names.push_back(option.name);
        }
        const std::string_view guess = text::nearest(name.substr(0, kMostShown), names);
        return guess.empty() ? std::string() : "; " + std::string(guess) + " is one";
    }

    bool takeFlag(const FlagReader& option, std::string_view json) {
        option.flag(m_reading) = json == "true";
        return json == "true" || json == "false" || json == "null" ||
               refuse(option.name, " takes true or false");
    }

    bool takeValues(const ValueReader& option, std::string_view json) {
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

    bool takeOne(const ValueReader& option, std::string_view json) {
        Value value;
        // What the option takes, not what it was given: that may be a key.
        if (!readValue(option.kind, json, value)) {
            return refuse(option.name, wrongValue(wantedOf(option.kind)));
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
        if (!m_reading.secretFile.empty()) {
            const Result<std::string> bytes =
                api::readFile(m_reading.secretFile, keyfile::kMaxKeyFile);
            if (!bytes || bytes->empty()) {
                return refuse("hmacKeyFile", fault(bytes ? m_reading.secretFile + " is empty"
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

    Reading m_reading;
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
