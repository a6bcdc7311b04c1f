// SPDX-License-Identifier: MIT
#include "api/option_readers.h"

#include "api/option_values.h"
#include "foundation/text/word_lists.h"
#include "foundation/x509/path/path_words.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

// The files that options name are read here: whoever writes the options is the caller, not the
// document. So what is not there is told before anything is verified.
namespace vantrel::api {

std::string wrongValue(std::string_view wanted) { return " takes " + std::string(wanted); }

std::string wrongContent(std::string_view what) { return ": " + std::string(what); }

namespace {

constexpr auto kFlags = std::to_array<FlagReader>({
    {"noReferences", [](OptionReading& into) -> bool& { return into.noReferences; }},
    {"onlyKey", [](OptionReading& into) -> bool& { return into.options.policy.onlyKey; }},
    {"ignoreExternal", [](OptionReading& into) -> bool& { return into.options.ignoreExternal; }},
    {"timestamps", [](OptionReading& into) -> bool& { return into.options.timestamps; }},
    {"strict", [](OptionReading& into) -> bool& { return into.options.policy.strict; }},
    {"checkRevocation",
     [](OptionReading& into) -> bool& { return into.options.policy.checkRevocation; }},
    {"explain", [](OptionReading& into) -> bool& { return into.options.explain; }},
    {"log", [](OptionReading& into) -> bool& { return into.options.log; }},
    {"verbose", [](OptionReading& into) -> bool& { return into.options.verboseLog; }},
});

// The system's reason says most; only where it had no part in the fault the library speaks.
std::string systemFault(const std::string& name, int systemError, std::string_view otherwise) {
    return wrongContent(
        name + ": " +
        (systemError != 0 ? std::generic_category().message(systemError) : std::string(otherwise)));
}

// Nothing when the number is taken.
std::string readNumber(const OptionValue& value, int least, int most, std::optional<int>& out) {
    std::uint64_t number = 0;
    if (!dsig::parseLimit(value.text, number) || number < static_cast<std::uint64_t>(least) ||
        number > static_cast<std::uint64_t>(most)) {
        return wrongValue("a number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    out = static_cast<int>(number);
    return {};
}

// Whether there is such a signature or reference shows when a document is at hand.
std::string addSignature(const OptionValue& value, OptionReading& into) {
    return readNumber(value, 0, kHighestIndex, into.options.signature);
}

std::string addReference(const OptionValue& value, OptionReading& into) {
    return readNumber(value, 0, kHighestIndex, into.options.reference);
}

// A search that is asked for with no effort at all would find nothing and say so.
std::string addEffort(const OptionValue& value, OptionReading& into) {
    std::optional<int> effort;
    const std::string wrong = readNumber(value, 1, kMostEffort, effort);
    into.options.effort = effort.value_or(1);
    return wrong;
}

std::string addThreads(const OptionValue& value, OptionReading& into) {
    std::optional<int> threads;
    const std::string wrong = readNumber(value, 1, kMostThreads, threads);
    into.options.threads = threads.value_or(1);
    return wrong;
}

// Of Key, TrustAnchors or RevocationLists.
template <class Source>
std::string addSource(const OptionValue& value, std::vector<Source>& sources) {
    const Result<Source> source =
        value.isFile ? Source::fromFile(value.text) : Source::fromBytes(value.text);
    if (!source) {
        return wrongContent(source.error().what);
    }
    sources.push_back(*source);
    return {};
}

// Read at once, so that a bad key is an error of the options and not of every document.
std::string addKey(const OptionValue& value, OptionReading& into) {
    return addSource(value, into.options.keys);
}

// A source of several keys has them all under the one name, tried in their order.
std::string addNamedKey(const OptionValue& value, OptionReading& into) {
    std::vector<Key> keys;
    std::string wrong = addSource(value, keys);
    if (wrong.empty()) {
        into.options.namedKeys.push_back({value.name, keys.front()});
    }
    return wrong;
}

// Where the machine's anchors are meant, that may stand as a text or as a name.
std::string addAnchor(const OptionValue& value, OptionReading& into) {
    std::vector<TrustAnchors>& anchors = into.options.policy.anchors;
    if (value.text != kSystemAnchors) {
        return addSource(value, anchors);
    }
    const Result<TrustAnchors> system = anchorsNamed(value.text);
    if (!system) {
        return wrongContent(system.error().what);
    }
    anchors.push_back(*system);
    return {};
}

// A list is checked to be one here; by whom it was signed shows on a path.
std::string addCrl(const OptionValue& value, OptionReading& into) {
    return addSource(value, into.options.policy.crls);
}

// The store is made anew where a request has certificates: copies of a store mean the same one.
std::string addCertificate(const OptionValue& value, OptionReading& into) {
    CertificateStore& store = into.options.certificates;
    std::string error;
    const bool added =
        value.isFile ? store.addFile(value.text, error) : store.addBytes(value.text, error);
    return added ? std::string() : wrongContent(value.isFile ? value.text + ": " + error : error);
}

// The library knows more encodings than are promised here.
std::string addHmacEncoding(const OptionValue& value, OptionReading& into) {
    if (!isWordOf(kHmacEncodings, value.text, false)) {
        return wrongValue("one of " + listOf(kHmacEncodings));
    }
    into.secretEncoding = value.text;
    return {};
}

// "N=FILE" as on a command line. The file may be large: it is opened to see that it can be, and
// read when its digest is due.
std::string addReferenceData(const OptionValue& value, OptionReading& into) {
    ReferenceData data;
    int systemError = 0;
    std::string otherwise;
    if (!parseReferenceData(value.text, data.index, data.file)) {
        return wrongValue("N=FILE with N from 0 to " + std::to_string(kLastReferenceWithData));
    }
    if (!canOpen(data.file, systemError, otherwise)) {
        return systemFault(data.file, systemError, otherwise);
    }
    into.options.referenceData.push_back(std::move(data));
    return {};
}

// What of a URI leads into the folder, and that nothing leads out of it, is the verifier's affair.
std::string addFolder(const OptionValue& value, OptionReading& into) {
    int systemError = 0;
    // The verifier takes the folders as one text with this separator.
    if (value.text.find(';') != std::string::npos) {
        return wrongValue("names of folders without a semicolon");
    }
    if (!canList(value.text, systemError)) {
        return systemFault(value.text, systemError, {});
    }
    into.options.referenceFolders.push_back(value.text);
    return {};
}

// Words with commas between them; `take` is asked about each.
template <class Take>
std::string readWords(const OptionValue& value, std::string_view known, const Take& take) {
    const std::vector<std::string_view> given = text::splitWords(value.text, ',');
    if (given.empty() || !std::all_of(given.begin(), given.end(), take)) {
        return wrongValue("one of " + listOf(known));
    }
    return {};
}

// The verifier looks for its words in one text and would pass over others without a sound.
std::string addWord(const OptionValue& value, OptionReading& into) {
    const std::string wrong = readWords(value, kOptionWords, [](std::string_view word) {
        return isWordOf(kOptionWords, word, true);
    });
    into.options.words.push_back(value.text); // in its letter case, which the verifier may look at
    return wrong;
}

// A demand with a slip in it must not pass for one that was not made.
std::string addDemands(const OptionValue& value, OptionReading& into) {
    return readWords(value, kRequireWords, [&into](std::string_view word) {
        const std::optional<Demand> demand = dsig::demandOf(word);
        if (demand) {
            into.options.policy.demands.insert(*demand);
        }
        return demand.has_value();
    });
}

// "NAME=VALUE"; of two values for one name the last counts.
std::string addLimit(const OptionValue& value, OptionReading& into) {
    const std::string_view text = value.text;
    const std::size_t equals = std::min(text.find('='), text.size());
    std::uint64_t number = 0;
    const bool taken = equals < text.size() && dsig::parseLimit(text.substr(equals + 1), number) &&
                       dsig::setLimit(into.options.limits, text.substr(0, equals), number);
    return taken ? std::string()
                 : wrongValue("NAME=VALUE with a decimal number and a name of a limit");
}

std::string addAccept(const OptionValue& value, OptionReading& into) {
    if (!isWordOf(kAcceptWords, value.text, false)) {
        return wrongValue("one of " + listOf(kAcceptWords));
    }
    into.options.policy.accept = value.text == "any" ? Accept::Any : Accept::All;
    return {};
}

// A time zone is never guessed: a certificate may expire in the hours between two.
std::string addTime(const OptionValue& value, OptionReading& into) {
    std::int64_t seconds = 0;
    if (!x509::parseMoment(value.text, seconds)) {
        return wrongValue("a time as RFC 3339 writes it");
    }
    into.options.policy.at = std::chrono::sys_seconds(std::chrono::seconds(seconds));
    return {};
}

// What is empty is no value anywhere (readValue), so `add` need not look for that.
constexpr auto kValues = std::to_array<ValueReader>({
    {"signature", OptionKind::Number, false,
     [](OptionReading& into) { into.options.signature.reset(); }, addSignature},
    {"id", OptionKind::Text, false, [](OptionReading& into) { into.options.id.reset(); },
     [](const OptionValue& value, OptionReading& into) {
         into.options.id = value.text;
         return std::string();
     }},
    {"part", OptionKind::Text, false, [](OptionReading& into) { into.options.part.clear(); },
     [](const OptionValue& value, OptionReading& into) {
         into.options.part = value.text;
         return std::string();
     }},
    {"reference", OptionKind::Number, false,
     [](OptionReading& into) { into.options.reference.reset(); }, addReference},
    {"key", OptionKind::Source, true, [](OptionReading& into) { into.options.keys.clear(); },
     addKey},
    {"namedKey", OptionKind::NamedSource, true,
     [](OptionReading& into) { into.options.namedKeys.clear(); }, addNamedKey},
    {"hmacKey", OptionKind::Text, false,
     [](OptionReading& into) { into.options.hmacSecret.clear(); },
     [](const OptionValue& value, OptionReading& into) {
         into.secret = value.text;
         return std::string();
     }},
    {"hmacEncoding", OptionKind::Text, false,
     [](OptionReading& into) { into.secretEncoding.clear(); }, addHmacEncoding},
    {"hmacKeyFile", OptionKind::File, false,
     [](OptionReading& into) { into.options.hmacSecret.clear(); },
     [](const OptionValue& value, OptionReading& into) {
         into.secretFile = value.text;
         return std::string();
     }},
    {"cert", OptionKind::Source, true,
     [](OptionReading& into) { into.options.certificates = CertificateStore(); }, addCertificate},
    {"anchor", OptionKind::Source, true,
     [](OptionReading& into) { into.options.policy.anchors.clear(); }, addAnchor},
    {"crl", OptionKind::Source, true, [](OptionReading& into) { into.options.policy.crls.clear(); },
     addCrl},
    {"refData", OptionKind::Text, true,
     [](OptionReading& into) { into.options.referenceData.clear(); }, addReferenceData},
    {"refDir", OptionKind::Text, true,
     [](OptionReading& into) { into.options.referenceFolders.clear(); }, addFolder},
    {"option", OptionKind::Text, true, [](OptionReading& into) { into.options.words.clear(); },
     addWord},
    {"limit", OptionKind::Text, true,
     [](OptionReading& into) { into.options.limits = dsig::Limits(); }, addLimit},
    {"pin", OptionKind::Text, true, [](OptionReading& into) { into.options.policy.pins.clear(); },
     [](const OptionValue& value, OptionReading& into) {
         into.options.policy.pins.push_back(value.text);
         return std::string();
     }},
    {"require", OptionKind::Text, true,
     [](OptionReading& into) { into.options.policy.demands.clear(); }, addDemands},
    {"mustCover", OptionKind::Text, true,
     [](OptionReading& into) { into.options.policy.mustCover.clear(); },
     [](const OptionValue& value, OptionReading& into) {
         into.options.policy.mustCover.push_back(value.text);
         return std::string();
     }},
    {"accept", OptionKind::Text, false,
     [](OptionReading& into) { into.options.policy.accept.reset(); }, addAccept},
    {"at", OptionKind::Text, false, [](OptionReading& into) { into.options.policy.at.reset(); },
     addTime},
    {"purpose", OptionKind::Text, true,
     [](OptionReading& into) { into.options.policy.purposes.clear(); },
     [](const OptionValue& value, OptionReading& into) {
         into.options.policy.purposes.push_back(value.text);
         return std::string();
     }},
    {"effort", OptionKind::Number, false, [](OptionReading& into) { into.options.effort = 1; },
     addEffort},
    {"threads", OptionKind::Number, false, [](OptionReading& into) { into.options.threads = 1; },
     addThreads},
});

} // namespace

std::span<const FlagReader> flagReaders() noexcept { return kFlags; }

std::span<const ValueReader> valueReaders() noexcept { return kValues; }

} // namespace vantrel::api
