// SPDX-License-Identifier: MIT
#include "tests/support/key_messages.h"

#include "tests/support/bytes.h"
#include "tests/support/corpus.h"
#include "tests/support/vectors.h"

#include <iterator>
#include <map>
#include <sstream>

namespace vantrel::test {

const std::string& keyValueNamed(const std::string& name) {
    static const std::map<std::string, std::string> values = [] {
        std::map<std::string, std::string> all;
        for (const VecCase& one : readVectors("key_sources/values.vec", "values")) {
            for (const VecCase::Attribute& attribute : one.attributes()) {
                all[attribute.key] = attribute.value;
            }
        }
        return all;
    }();
    return values.at(name);
}

std::string withKeyValues(const std::string& text) {
    std::string out;
    std::size_t at = 0;
    for (std::size_t open = 0; (open = text.find('{', at)) != std::string::npos;) {
        const std::size_t close = text.find('}', open);
        out += text.substr(at, open - at) + keyValueNamed(text.substr(open + 1, close - open - 1));
        at = close + 1;
    }
    return out + text.substr(at);
}

std::string keyMessage(const std::string& document, const std::string& tokens,
                       const std::string& keyInfo) {
    std::string text = readText(vectorPath("key_sources/" + document + ".xml"));
    text.replace(text.find("@TOKENS@"), 8, withKeyValues(tokens));
    return text.replace(
        text.find("@KEYINFO@"), 9,
        keyInfo.empty() ? "" : "<ds:KeyInfo>" + withKeyValues(keyInfo) + "</ds:KeyInfo>");
}

std::string pemNamed(const std::string& name, const std::string& label) {
    const std::string& base64 = keyValueNamed(name);
    std::string out = "-----BEGIN " + label + "-----\n";
    for (std::size_t at = 0; at < base64.size(); at += 64) {
        out += base64.substr(at, 64) + "\n";
    }
    return out + "-----END " + label + "-----\n";
}

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

} // namespace vantrel::test
