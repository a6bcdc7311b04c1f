#include "api/options_json.h"

#include "api/read_file.h"
#include "foundation/json/json_value.h"
#include "foundation/keyfile/key_file.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <string>

// One reader an option, in a table. Whoever writes the options is the caller, not the document: the
// files that they name are read.
namespace vantrel {

using json::JsonValue;

namespace {

// Highest index of a reference for which the verifier takes data.
constexpr int kLastReferenceWithData = 100;
// Some two hours.
constexpr int kMostEffort = 3600;

// The secret comes with its encoding, in whichever order.
struct Reading {
    VerifyOptions options;
    std::string secret;
    std::string secretEncoding = "hex";
    std::string secretFile;
};

bool readNumber(const JsonValue& value, int least, int most, int& out, std::string& error) {
    std::int64_t number = 0;
    if (!value.integer(number) || number < least || number > most) {
        error = "a number from " + std::to_string(least) + " to " + std::to_string(most);
        return false;
    }
    out = static_cast<int>(number);
    return true;
}

bool readIndex(const JsonValue& value, std::optional<int>& out, std::string& error) {
    int index = 0;
    if (!readNumber(value, 0, std::numeric_limits<int>::max() - 1, index, error)) {
        return false;
    }
    out = index;
    return true;
}

bool readFlag(const JsonValue& value, bool& out, std::string& error) {
    const bool isTrue = value.kind() == JsonValue::Kind::True;
    if (!isTrue && value.kind() != JsonValue::Kind::False) {
        error = "true or false";
        return false;
    }
    out = isTrue;
    return true;
}

bool readText(const JsonValue& value, std::string& out, std::string& error) {
    if (value.kind() != JsonValue::Kind::String || value.text().empty()) {
        error = "a text";
        return false;
    }
    out = value.text();
    return true;
}

// Calls read(element) for each of a list, or for the one value that stands in its place.
template <class Read> bool readEach(const JsonValue& value, const Read& read) {
    if (!value.isArray()) {
        return read(value);
    }
    const std::vector<JsonValue>& elements = value.elements();
    return std::all_of(elements.begin(), elements.end(), read);
}

bool readTexts(const JsonValue& value, std::vector<std::string>& out, std::string& error) {
    return readEach(value, [&](const JsonValue& each) {
        std::string text;
        if (!readText(each, text, error)) {
            return false;
        }
        out.push_back(std::move(text));
        return true;
    });
}

// {"file": "NAME"}; empty for another value.
std::string fileOf(const JsonValue& value) {
    const JsonValue* const file = value.find("file");
    return file != nullptr ? std::string(file->text()) : std::string();
}

bool readKeys(const JsonValue& value, Reading& reading, std::string& error) {
    return readEach(value, [&](const JsonValue& each) {
        const std::string file = fileOf(each);
        const Result<Key> key = file.empty() ? Key::fromBytes(each.text()) : Key::fromFile(file);
        if (!key) {
            error = "keys: " + key.error().what;
            return false;
        }
        reading.options.keys.push_back(*key);
        return true;
    });
}

bool readCertificates(const JsonValue& value, Reading& reading, std::string& error) {
    return readEach(value, [&](const JsonValue& each) {
        const std::string file = fileOf(each);
        CertificateStore& store = reading.options.certificates;
        std::string fault;
        if (file.empty() ? store.addBytes(each.text(), fault) : store.addFile(file, fault)) {
            return true;
        }
        error = "certificates: " + fault;
        return false;
    });
}

// "N=FILE", as on a command line.
bool readReferenceData(const JsonValue& value, Reading& reading, std::string& error) {
    return readEach(value, [&](const JsonValue& each) {
        const std::string_view text = each.text();
        const std::size_t equals = std::min(text.find('='), text.size());
        std::uint64_t index = 0;
        const bool ok = each.kind() == JsonValue::Kind::String && equals + 1 < text.size() &&
                        dsig::parseLimit(text.substr(0, equals), index) &&
                        index <= kLastReferenceWithData;
        if (!ok) {
            error = "N=FILE with N from 0 to " + std::to_string(kLastReferenceWithData);
            return false;
        }
        reading.options.referenceData.push_back(
            {static_cast<int>(index), std::string(text.substr(equals + 1)), {}});
        return true;
    });
}

bool readFolders(const JsonValue& value, Reading& reading, std::string& error) {
    std::vector<std::string>& folders = reading.options.referenceFolders;
    if (!readTexts(value, folders, error)) {
        return false;
    }
    // The verifier takes the folders as one text with this separator.
    error = "names of folders without a semicolon";
    return std::none_of(folders.begin(), folders.end(), [](const std::string& folder) {
        return folder.find(';') != std::string::npos;
    });
}

bool readLimits(const JsonValue& value, Reading& reading, std::string& error) {
    return readEach(value, [&](const JsonValue& each) {
        const std::string_view text = each.text();
        const std::size_t equals = std::min(text.find('='), text.size());
        std::uint64_t number = 0;
        error = "NAME=VALUE with a decimal number and a name of a limit";
        return equals < text.size() && dsig::parseLimit(text.substr(equals + 1), number) &&
               dsig::setLimit(reading.options.limits, text.substr(0, equals), number);
    });
}

// On failure the error says what the option takes.
struct OptionReader {
    std::string_view name;
    bool (*read)(const JsonValue&, Reading&, std::string& error);
};

constexpr auto kReaders = std::to_array<OptionReader>({
    {"signature",
     [](const JsonValue& value, Reading& into, std::string& error) {
         return readIndex(value, into.options.signature, error);
     }},
    {"id", [](const JsonValue& value, Reading& into,
              std::string& error) { return readText(value, into.options.id.emplace(), error); }},
    {"noReferences",
     [](const JsonValue& value, Reading& into, std::string& error) {
         bool without = false;
         const bool ok = readFlag(value, without, error);
         into.options.checkReferences = !without;
         return ok;
     }},
    {"reference",
     [](const JsonValue& value, Reading& into, std::string& error) {
         return readIndex(value, into.options.reference, error);
     }},
    {"key", readKeys},
    {"hmacKey", [](const JsonValue& value, Reading& into,
                   std::string& error) { return readText(value, into.secret, error); }},
    {"hmacEncoding",
     [](const JsonValue& value, Reading& into, std::string& error) {
         return readText(value, into.secretEncoding, error);
     }},
    {"hmacKeyFile", [](const JsonValue& value, Reading& into,
                       std::string& error) { return readText(value, into.secretFile, error); }},
    {"cert", readCertificates},
    {"refData", readReferenceData},
    {"refDir", readFolders},
    {"ignoreExternal",
     [](const JsonValue& value, Reading& into, std::string& error) {
         return readFlag(value, into.options.ignoreExternal, error);
     }},
    {"timestamps",
     [](const JsonValue& value, Reading& into,
        std::string& error) { return readFlag(value, into.options.timestamps, error); }},
    {"option", [](const JsonValue& value, Reading& into,
                  std::string& error) { return readTexts(value, into.options.words, error); }},
    {"limit", readLimits},
    {"explain", [](const JsonValue& value, Reading& into,
                   std::string& error) { return readFlag(value, into.options.explain, error); }},
    {"effort",
     [](const JsonValue& value, Reading& into,
        std::string&
            error) { return readNumber(value, 1, kMostEffort, into.options.effort, error); }},
    {"log", [](const JsonValue& value, Reading& into,
               std::string& error) { return readFlag(value, into.options.log, error); }},
    {"verbose", [](const JsonValue& value, Reading& into,
                   std::string& error) { return readFlag(value, into.options.verboseLog, error); }},
});

bool readMember(std::string_view name, const JsonValue& value, Reading& reading,
                std::string& error) {
    const auto found = std::find_if(kReaders.begin(), kReaders.end(),
                                    [name](const OptionReader& each) { return each.name == name; });
    if (found == kReaders.end()) {
        error = "there is no option \"" + std::string(name) + "\"";
        return false;
    }
    std::string takes;
    if (!found->read(value, reading, takes)) {
        error = "the option \"" + std::string(name) + "\" takes " + takes;
        return false;
    }
    return true;
}

// A secret as text, or the bytes of a file. An empty one would let everybody sign.
bool takeSecret(Reading& reading, std::string& error) {
    if (!reading.secretFile.empty()) {
        const Result<std::string> bytes = api::readFile(reading.secretFile, keyfile::kMaxKeyFile);
        error = bytes.error().what;
        if (bytes && bytes->empty()) {
            error = reading.secretFile + " is empty";
        }
        reading.options.hmacSecret = bytes ? *bytes : std::string();
        return error.empty();
    }
    error = "hmacKey is not valid in the encoding " + reading.secretEncoding;
    return reading.secret.empty() ||
           decodeSecret(reading.secret, reading.secretEncoding, reading.options.hmacSecret);
}

// Which of two that contradict each other would win is nothing to guess.
bool contradict(const Reading& reading, std::string& error) {
    if (reading.options.signature && reading.options.id) {
        error = "signature and id exclude each other";
    } else if (reading.options.reference && !reading.options.checkReferences) {
        error = "reference and noReferences exclude each other";
    } else if (!reading.secret.empty() && !reading.secretFile.empty()) {
        error = "hmacKey and hmacKeyFile exclude each other";
    }
    return !error.empty();
}

} // namespace

Result<VerifyOptions> optionsFromJson(std::string_view json) {
    Reading reading;
    if (json.empty()) {
        return reading.options;
    }
    JsonValue object;
    std::size_t faultAt = 0;
    if (!json::parseJson(json, object, faultAt)) {
        return Error{"the options are no JSON from byte " + std::to_string(faultAt) + " on", {}};
    }
    if (!object.isObject()) {
        return Error{"the options are no JSON object", {}};
    }
    Error error;
    for (const json::JsonMember& member : object.members()) {
        if (!readMember(member.name.view(), member.value, reading, error.what)) {
            return error;
        }
    }
    if (contradict(reading, error.what) || !takeSecret(reading, error.what)) {
        return error;
    }
    return reading.options;
}

} // namespace vantrel
