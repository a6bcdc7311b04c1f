// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_VECTORS_H
#define TESTS_SUPPORT_VECTORS_H

#include "tests/support/bytes.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Reader of the vector files below tests/vectors. A file holds sections, `[name]`, of cases; a case
// is a run of `Key = value` lines, and a blank line ends it. Lines that begin with `#` are
// comments. A key may be repeated within a case where the test asks for all of its values.
//
// The reader is strict, so that no vector is silently half-tested: a missing file, a section
// without cases, a malformed line, an attribute that the test asks for and that is absent, and an
// attribute that the test did not read all fail the running test.
namespace vantrel::test {

class VecCase final {
public:
    struct Attribute {
        std::string key;
        std::string value;
        std::size_t line;
        bool read;
    };

    VecCase(std::string file, std::size_t line, std::string section)
        : m_file(std::move(file)), m_line(line), m_section(std::move(section)) {}

    // True when the case has the attribute; the question does not count as reading it.
    [[nodiscard]] bool has(std::string_view key) const;

    // The value as written, white space at its ends removed; an empty value is allowed.
    [[nodiscard]] const std::string& text(std::string_view key);
    [[nodiscard]] std::string textOr(std::string_view key, std::string_view otherwise);
    // Every value of a key that may be repeated, or be absent.
    [[nodiscard]] std::vector<std::string> all(std::string_view key);
    // With the escapes of unescape() resolved.
    [[nodiscard]] std::string escaped(std::string_view key);
    [[nodiscard]] Bytes hex(std::string_view key);
    [[nodiscard]] Bytes base64(std::string_view key);
    [[nodiscard]] std::int64_t integer(std::string_view key);
    [[nodiscard]] std::int64_t integerOr(std::string_view key, std::int64_t otherwise);
    // "true" or "false".
    [[nodiscard]] bool boolean(std::string_view key);
    [[nodiscard]] bool booleanOr(std::string_view key, bool otherwise);

    // "file:line: [section] ", to begin a failure message with.
    [[nodiscard]] std::string where() const;
    [[nodiscard]] const std::string& section() const { return m_section; }

    // Says that (a part of) the case cannot run here; counted and shown at the end of the section.
    // The attributes of a skipped case need not be read.
    void skip(std::string_view why);

    void add(std::string key, std::string value, std::size_t line);
    [[nodiscard]] const std::vector<Attribute>& attributes() const { return m_attributes; }
    [[nodiscard]] const std::vector<std::string>& skips() const { return m_skips; }
    [[nodiscard]] std::size_t line() const { return m_line; }

private:
    [[nodiscard]] Attribute* find(std::string_view key);

    std::string m_file;
    std::size_t m_line;
    std::string m_section;
    std::vector<Attribute> m_attributes;
    std::vector<std::string> m_skips;
};

// The cases of one section of tests/vectors/`file`, or of the whole file when `section` is empty.
// Faults of the file are failures of the running test. For a file elsewhere, pass its full path.
[[nodiscard]] std::vector<VecCase> readVectors(const std::string& file, std::string_view section);

// Runs `test` on every case and checks that it read every attribute.
void forEachVector(const std::string& file, std::string_view section,
                   const std::function<void(VecCase&)>& test);

} // namespace vantrel::test

#endif
