// SPDX-License-Identifier: MIT
#include "api/option_values.h"

#include "dsig/document/limits.h"
#include "foundation/base/_vlLogger.h"
#include "foundation/io/_vlDataSource.h"
#include "foundation/text/XString.h"
#include "foundation/text/strings.h"
#include "foundation/text/word_lists.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <system_error>

namespace vantrel::api {

std::string listOf(std::string_view words) {
    std::string list;
    for (const std::string_view word : text::splitWords(words)) {
        list += (list.empty() ? "" : ", ") + std::string(word);
    }
    return list;
}

// Without a list of words being made: it is asked for each word of each request.
bool isWordOf(std::string_view words, std::string_view text, bool anyCase) noexcept {
    while (!words.empty()) {
        const std::string_view word = words.substr(0, words.find(' '));
        if (anyCase ? text::equalsNoCase(word, text) : word == text) {
            return true;
        }
        words.remove_prefix(std::min(word.size() + 1, words.size()));
    }
    return false;
}

// The first equals sign divides.
bool parseReferenceData(std::string_view text, int& index, std::string& file) {
    const std::size_t equals = std::min(text.find('='), text.size());
    std::uint64_t number = 0;
    if (equals + 1 >= text.size() || !dsig::parseLimit(text.substr(0, equals), number) ||
        number > kLastReferenceWithData) {
        return false;
    }
    index = static_cast<int>(number);
    file = text.substr(equals + 1);
    return true;
}

bool parseNamedKey(std::string_view text, std::string& name, std::string& file) {
    const std::size_t equals = text.rfind('=');
    if (equals == std::string_view::npos || equals == 0 || equals + 1 == text.size()) {
        return false;
    }
    name = text.substr(0, equals);
    file = text.substr(equals + 1);
    return true;
}

bool canOpen(const std::string& file, int& systemError, std::string& otherwise) {
    _vlLogger log;
    _vlFileDataSource probe;
    // Opened as the verifier will, so that what passes here does not fail there.
    if (probe.openDataSourceFile(XString(file), log)) {
        return true;
    }
    // The log says nothing of the system; what kind of thing stands there tells the likely reason.
    otherwise = log.lastErrorLine();
    std::error_code problem;
    const auto kind = std::filesystem::status(file, problem).type();
    if (kind == std::filesystem::file_type::directory) {
        problem = std::make_error_code(std::errc::is_a_directory);
    } else if (!problem && kind == std::filesystem::file_type::regular) {
        problem = std::make_error_code(std::errc::permission_denied);
    }
    systemError = problem.value();
    return false;
}

// A folder that cannot be listed would make every file in it "missing", which an option forgives.
bool canList(const std::string& folder, int& systemError) {
    std::error_code problem;
    const std::filesystem::directory_iterator probe(folder, problem);
    systemError = problem.value();
    return !problem;
}

Result<TrustAnchors> anchorsNamed(const std::string& name) {
    return name == kSystemAnchors ? TrustAnchors::system() : TrustAnchors::fromFile(name);
}

} // namespace vantrel::api
