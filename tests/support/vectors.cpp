// SPDX-License-Identifier: MIT
#include "tests/support/vectors.h"

#include "tests/support/corpus.h"

#include <charconv>
#include <exception>
#include <fstream>
#include <iostream>
#include <map>
#include <stdexcept>

#include <gtest/gtest.h>

namespace vantrel::test {

namespace {

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

void fault(const std::string& path, std::size_t line, const std::string& what) {
    ADD_FAILURE_AT(path.c_str(), static_cast<int>(line)) << what;
}

void parseLine(const std::string& path, std::size_t line, std::string_view content,
               std::string_view section, std::vector<VecCase>& cases, bool& inCase) {
    const std::size_t equals = content.find('=');
    const std::string_view key = trimmed(content.substr(0, equals));
    if (equals == std::string_view::npos || key.empty()) {
        fault(path, line, "not a `Key = value` line");
        return;
    }
    if (!inCase) {
        cases.emplace_back(path, line, std::string(section));
        inCase = true;
    }
    cases.back().add(std::string(key), std::string(trimmed(content.substr(equals + 1))), line);
}

// The lookup the test asked for does not hold: thrown out of the case, and shown with its place.
class CaseFault final : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace

VecCase::Attribute* VecCase::find(std::string_view key) {
    Attribute* found = nullptr;
    for (Attribute& attribute : m_attributes) {
        if (attribute.key != key) {
            continue;
        }
        if (found != nullptr) {
            throw CaseFault("attribute given twice: " + std::string(key));
        }
        found = &attribute;
        found->read = true;
    }
    return found;
}

bool VecCase::has(std::string_view key) const {
    for (const Attribute& attribute : m_attributes) {
        if (attribute.key == key) {
            return true;
        }
    }
    return false;
}

const std::string& VecCase::text(std::string_view key) {
    const Attribute* const attribute = find(key);
    if (attribute == nullptr) {
        throw CaseFault("attribute missing: " + std::string(key));
    }
    return attribute->value;
}

std::string VecCase::textOr(std::string_view key, std::string_view otherwise) {
    const Attribute* const attribute = find(key);
    return attribute != nullptr ? attribute->value : std::string(otherwise);
}

std::vector<std::string> VecCase::all(std::string_view key) {
    std::vector<std::string> values;
    for (Attribute& attribute : m_attributes) {
        if (attribute.key == key) {
            attribute.read = true;
            values.push_back(attribute.value);
        }
    }
    return values;
}

std::string VecCase::escaped(std::string_view key) { return unescape(text(key)); }

Bytes VecCase::hex(std::string_view key) { return fromHex(text(key)); }

Bytes VecCase::base64(std::string_view key) { return fromBase64(text(key)); }

std::int64_t VecCase::integer(std::string_view key) {
    const std::string& value = text(key);
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    if (error != std::errc() || end != value.data() + value.size()) {
        throw CaseFault("not a number: " + std::string(key));
    }
    return number;
}

std::int64_t VecCase::integerOr(std::string_view key, std::int64_t otherwise) {
    return has(key) ? integer(key) : otherwise;
}

bool VecCase::boolean(std::string_view key) {
    const std::string& value = text(key);
    if (value != "true" && value != "false") {
        throw CaseFault("neither true nor false: " + std::string(key));
    }
    return value == "true";
}

bool VecCase::booleanOr(std::string_view key, bool otherwise) {
    return has(key) ? boolean(key) : otherwise;
}

std::string VecCase::where() const {
    return m_file + ":" + std::to_string(m_line) + ": [" + m_section + "] ";
}

void VecCase::skip(std::string_view why) { m_skips.emplace_back(why); }

void VecCase::add(std::string key, std::string value, std::size_t line) {
    m_attributes.push_back({std::move(key), std::move(value), line, false});
}

std::vector<VecCase> readVectors(const std::string& file, std::string_view section) {
    const std::string path = !file.empty() && file[0] == '/' ? file : vectorPath(file);
    std::vector<VecCase> cases;
    std::ifstream in(path);
    if (!in) {
        fault(path, 1, "the vector file cannot be read");
        return cases;
    }
    std::string current;
    std::string content;
    bool inCase = false;
    for (std::size_t line = 1; std::getline(in, content); ++line) {
        const std::string_view bare = trimmed(content);
        if (bare.empty() || bare[0] == '#') {
            inCase = inCase && !bare.empty();
        } else if (bare.front() == '[' && bare.back() == ']') {
            current = bare.substr(1, bare.size() - 2);
            inCase = false;
        } else if (section.empty() || current == section) {
            parseLine(path, line, bare, current, cases, inCase);
        }
    }
    if (cases.empty()) {
        fault(path, 1, "no cases in section [" + std::string(section) + "]");
    }
    return cases;
}

void forEachVector(const std::string& file, std::string_view section,
                   const std::function<void(VecCase&)>& test) {
    std::map<std::string, int> skips;
    for (VecCase& vector : readVectors(file, section)) {
        try {
            test(vector);
        } catch (const std::exception& error) {
            ADD_FAILURE() << vector.where() << error.what();
            continue;
        }
        for (const std::string& why : vector.skips()) {
            ++skips[why];
        }
        if (!vector.skips().empty() || testing::Test::HasFatalFailure()) {
            continue;
        }
        for (const VecCase::Attribute& attribute : vector.attributes()) {
            if (!attribute.read) {
                ADD_FAILURE() << vector.where() << "the test did not read the attribute "
                              << attribute.key;
            }
        }
    }
    for (const auto& [why, count] : skips) {
        std::cout << "[  SKIPPED ] " << count << " in " << file << ": " << why << "\n";
    }
}

} // namespace vantrel::test
