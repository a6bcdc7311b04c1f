// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_KEY_MESSAGES_H
#define TESTS_SUPPORT_KEY_MESSAGES_H

#include <string>
#include <vector>

// The signed messages and key material of tests/vectors/key_sources (tools/make_key_vectors.py).
namespace vantrel::test {

// The value of this name in values.vec; throws std::out_of_range when there is none.
[[nodiscard]] const std::string& keyValueNamed(const std::string& name);
// `text` with every {name} replaced by the value of that name.
[[nodiscard]] std::string withKeyValues(const std::string& text);
// One of the signed messages with these security tokens and this content of its KeyInfo; no KeyInfo
// at all when that is empty.
[[nodiscard]] std::string keyMessage(const std::string& document, const std::string& tokens,
                                     const std::string& keyInfo);
// A certificate of values.vec as PEM.
[[nodiscard]] std::string pemNamed(const std::string& name, const std::string& label);

[[nodiscard]] std::vector<std::string> wordsOf(const std::string& text);

} // namespace vantrel::test

#endif
