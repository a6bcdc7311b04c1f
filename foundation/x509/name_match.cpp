// SPDX-License-Identifier: MIT
#include "foundation/x509/name_match.h"

#include "foundation/x509/attribute_types.h"
#include "foundation/x509/name_reader.h"
#include "foundation/x509/name_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace vantrel::x509 {

namespace {

// What becomes of a character in a token: itself in lower case, or one of these two, which stand
// for nothing and for the token's end.
constexpr char kDropped = '"';
constexpr char kSeparator = ',';

constexpr std::array<char, 256> kTokenCharacters = [] {
    std::array<char, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        const char c = static_cast<char>(i);
        // Inside of values, too: documents cut names at every separator without regard to quotes.
        const bool separator = c == ',' || c == ';' || c == '+';
        const bool dropped = isNameSpace(c) || c == '"' || c == '\\';
        table[i] = separator ? kSeparator : dropped ? kDropped : foldAscii(c);
    }
    return table;
}();

// Collects characters into tokens and hands each finished one to `sink`.
template <class Sink> class Tokenizer {
public:
    Tokenizer(std::string& token, Sink sink) noexcept : m_token(token), m_sink(sink) {
        m_token.clear();
    }

    void put(char c) { put(std::string_view(&c, 1)); }
    void put(std::string_view text) {
        const std::size_t before = m_token.size();
        m_token.resize(before + text.size());
        char* at = m_token.data() + before;
        for (std::size_t i = 0; i < text.size(); ++i) {
            const char c = kTokenCharacters[static_cast<unsigned char>(text[i])];
            if (c == kSeparator) {
                m_token.resize(static_cast<std::size_t>(at - m_token.data()));
                finish();
                m_token.resize(text.size() - i);
                at = m_token.data();
                continue;
            }
            *at = c;
            at += c != kDropped ? 1 : 0;
        }
        m_token.resize(static_cast<std::size_t>(at - m_token.data()));
    }
    // A label that is known to be in its unified form.
    void putLabel(std::string_view label) {
        m_token.append(label);
        m_token.push_back('=');
        m_labelled = true;
    }
    void finish() {
        if (!m_labelled && !m_token.empty()) {
            unifyLabel();
        }
        m_labelled = false;
        if (!m_token.empty()) {
            m_sink(std::string_view(m_token));
        }
        m_token.clear();
    }

private:
    // "commonname=x" becomes "cn=x"; text before "=" that names no type stays as it is.
    void unifyLabel() {
        const std::size_t equals = m_token.find('=');
        if (equals == std::string::npos || equals == 0) {
            return;
        }
        const std::string_view label = std::string_view(m_token).substr(0, equals);
        std::string unified;
        appendFoldedLabel(label, unified);
        std::string value;
        if (appendDecodedHexValue(std::string_view(m_token).substr(equals + 1), value)) {
            m_token = std::move(unified);
            putLabel({});
            put(value); // may finish tokens of its own; the last one is finished by the caller
        } else if (unified != label) {
            m_token.replace(0, equals, unified);
        }
    }

    std::string& m_token;
    Sink m_sink;
    bool m_labelled = false;
};

template <class Sink> void tokenizeDer(ByteView derName, std::string& scratch, Sink sink) {
    Tokenizer<Sink> tokenizer(scratch, sink);
    NameReader reader(derName);
    DerAttribute attribute;
    std::string text; // label or value; short ones stay in place
    while (reader.next(attribute)) {
        text.clear();
        if (const AttributeType* const type = findAttributeByOid(attribute.type); type != nullptr) {
            for (const char c : type->label) {
                text.push_back(foldAscii(c));
            }
        } else if (!appendAttributeLabel(attribute.type, text)) {
            // An identifier that has no text form cannot be written in a document either.
            continue;
        }
        tokenizer.putLabel(text);
        text.clear();
        // RFC 4514 2.4: what is no string is written as the hexadecimal of its DER.
        if (!appendStringValue(attribute.value.tag, attribute.value.contents, text)) {
            appendHexValue(attribute.value.whole, text);
        }
        tokenizer.put(text);
        tokenizer.finish();
    }
}

template <class Sink> void tokenizeText(std::string_view text, std::string& scratch, Sink sink) {
    std::string commas;
    if (text.substr(0, 1) == "/") {
        // The slash form is put into the comma form first.
        std::vector<TextAttribute> attributes;
        if (parseNameText(text, attributes)) {
            for (const TextAttribute& attribute : attributes) {
                commas.append(attribute.label).append("=");
                appendEscapedValue(attribute.value, commas);
                commas.push_back(',');
            }
            text = commas;
        }
    }
    Tokenizer<Sink> tokenizer(scratch, sink);
    while (!text.empty()) {
        const std::size_t escape = std::min(text.find('\\'), text.size());
        tokenizer.put(text.substr(0, escape));
        text.remove_prefix(escape);
        if (text.size() < 2) {
            break; // a backslash at the end stands for nothing
        }
        // RFC 4514 2.4: a backslash stands before two digits of an octet or before a character.
        char decoded = 0;
        const bool pair = decodeHexPair(text.substr(1), decoded);
        tokenizer.put(pair ? decoded : text[1]);
        text.remove_prefix(pair ? 3 : 2);
    }
    tokenizer.finish();
}

// The finalizer of SplitMix64: every bit of the input moves about half of those of the result.
std::uint64_t mix(std::uint64_t x) noexcept {
    x ^= x >> 30U;
    x *= 0xBF58476D1CE4E5B9U;
    x ^= x >> 27U;
    x *= 0x94D049BB133111EBU;
    return x ^ x >> 31U;
}

// Adds up the hashes of the tokens, so that their order does not matter.
struct HashSink {
    std::uint64_t* sum;
    void operator()(std::string_view token) const noexcept { *sum += hashBytes(token, 1); }
};
struct ListSink {
    std::vector<std::string>* list;
    void operator()(std::string_view token) const { list->emplace_back(token); }
};

} // namespace

std::uint64_t hashBytes(std::string_view bytes, std::uint64_t seed) noexcept {
    std::uint64_t state = mix(seed + 0x9E3779B97F4A7C15U * (bytes.size() + 1));
    while (!bytes.empty()) {
        std::uint64_t word = 0;
        const std::size_t count = std::min<std::size_t>(bytes.size(), sizeof word);
        std::memcpy(&word, bytes.data(), count);
        state = mix(state ^ word) + 0x9E3779B97F4A7C15U;
        bytes.remove_prefix(count);
    }
    return state;
}

std::uint64_t nameTokenHash(ByteView derName, std::string& scratch) {
    std::uint64_t sum = 0;
    tokenizeDer(derName, scratch, HashSink{&sum});
    return sum;
}

std::uint64_t nameTokenHash(std::string_view text, std::string& scratch) {
    std::uint64_t sum = 0;
    tokenizeText(text, scratch, HashSink{&sum});
    return sum;
}

std::vector<std::string> nameTokens(ByteView derName) {
    std::vector<std::string> list;
    std::string scratch;
    tokenizeDer(derName, scratch, ListSink{&list});
    std::sort(list.begin(), list.end());
    return list;
}

std::vector<std::string> nameTokens(std::string_view text) {
    std::vector<std::string> list;
    std::string scratch;
    tokenizeText(text, scratch, ListSink{&list});
    std::sort(list.begin(), list.end());
    return list;
}

} // namespace vantrel::x509
