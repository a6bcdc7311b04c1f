// SPDX-License-Identifier: MIT
// Small texts: what callers write for options, the arguments of a command line (each up to a NUL),
// and the names that references and packages have. Nothing leads out of where it belongs, and what
// was brought into a form stays as it is.

#include "api/option_values.h"
#include "api/verify_options.h"
#include "cli/options.h"
#include "dsig/package/relationships.h"
#include "dsig/reference/external_name.h"
#include "foundation/zip/zip_names.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

using namespace vantrel;

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

void checkArguments(std::string_view text) {
    static constexpr cli::OptionSpec kTable[] = {
        {"--quiet", 'q', cli::ValueKind::None, "", "", "", 1},
        {"--verbose", 'v', cli::ValueKind::None, "", "", "", 1},
        {"--jobs", 'j', cli::ValueKind::Number, "N", "", "", 1},
        {"--key", '\0', cli::ValueKind::File, "FILE", "", "", 1},
        {"--accept", '\0', cli::ValueKind::Word, "all|any", "all any", "", 1},
        {"--require", '\0', cli::ValueKind::Words, "WORD", api::kRequireWords, "", 1},
        {"--other", 'o', cli::ValueKind::Text, "T", "", "", 2},
    };
    std::vector<std::string> texts;
    for (std::size_t at = 0; at <= text.size(); at += texts.back().size() + 1) {
        texts.emplace_back(text.substr(at, text.find('\0', at) - at));
    }
    std::vector<const char*> arguments;
    for (const std::string& one : texts) {
        arguments.push_back(one.c_str());
    }
    cli::Arguments parsed;
    std::string complaint;
    require(parsed.parse(kTable, 1, arguments, complaint) == complaint.empty());
    if (complaint.empty()) {
        std::optional<int> number;
        require(!parsed.has("--other") && parsed.operands().size() <= texts.size());
        require(parsed.number("--jobs", 1, 99, number, complaint) == complaint.empty());
        require(!number || (*number >= 1 && *number <= 99));
        for (const std::string& word : parsed.all("--accept")) {
            require(word == "all" || word == "any");
        }
    }
}

void checkValues(std::string_view text) {
    std::string name;
    std::string file;
    int index = -1;
    require(!api::parseReferenceData(text, index, file) ||
            (index >= 0 && index <= api::kLastReferenceWithData && text.ends_with(file)));
    require(!api::parseNamedKey(text, name, file) || text == name + "=" + file);
    for (const char* const encoding : {"hex", "base64", "ascii"}) {
        require(decodeSecret(text, encoding, name) == !name.empty());
    }
}

void checkNames(std::string_view text) {
    require(dsig::percentDecoded(text).size() <= text.size());
    const std::string below = dsig::nameOfUri(text);
    require(!below.starts_with('/') || text.starts_with("//") ||
            text.find('%') != std::string_view::npos);
    if (zip::faultOfName(text).empty()) {
        const std::string folded = zip::foldedName(text);
        require(zip::foldedName(folded) == folded);
    }
    dsig::Relationship relationship;
    relationship.target = text;
    const std::string target = dsig::targetOf(relationship, "a/b/c.xml");
    require(!target.starts_with('/') && ("/" + target + "/").find("/../") == std::string::npos);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 1024) {
        return 0;
    }
    const std::string_view text = asText({data, size});
    checkArguments(text);
    checkValues(text);
    checkNames(text);
    return 0;
}
