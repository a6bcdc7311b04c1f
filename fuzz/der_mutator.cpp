// SPDX-License-Identifier: MIT
// Mutations of BER and DER (X.690) that keep the lengths of all that is around a change, mostly:
// elements change tag or contents, are doubled, taken out, swapped and wrapped. Of a text one PEM
// block (RFC 7468) is changed. It has a reader of its own.

#include "foundation/text/DataBuffer.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/encoders.h"
#include "fuzz/mutator.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace vantrel::fuzz {

namespace {

constexpr std::size_t kNone = static_cast<std::size_t>(-1);
constexpr std::size_t kMostElements = 4000;

struct Tlv {
    std::size_t start = 0;
    std::size_t content = 0;
    std::size_t end = 0;
    std::size_t parent = kNone; // index; its content holds this element
};

std::string lengthOctets(std::size_t length) {
    if (length < 0x80) {
        return {static_cast<char>(length)};
    }
    std::string octets;
    for (; length > 0; length >>= 8) {
        octets.insert(octets.begin(), static_cast<char>(length & 0xFF));
    }
    return static_cast<char>(0x80 | octets.size()) + octets;
}

// The element at `at`, of definite length and with a tag of one octet, that ends by `most`.
std::optional<Tlv> readTlv(std::string_view der, std::size_t at, std::size_t most) {
    if (most - at < 2) {
        return std::nullopt;
    }
    const auto octet = [&](std::size_t i) { return static_cast<unsigned char>(der[i]); };
    std::size_t length = octet(at + 1);
    std::size_t content = at + 2;
    if (length >= 0x80) {
        const std::size_t count = length & 0x7F;
        if (count == 0 || count > 3 || most - content < count) {
            return std::nullopt;
        }
        length = 0;
        for (const std::size_t end = content + count; content < end; ++content) {
            length = length << 8 | octet(content);
        }
    }
    if (length > most - content) {
        return std::nullopt;
    }
    return Tlv{at, content, content + length, kNone};
}

// Where elements within an element begin; past its end for none. Strings of octets and bits hold
// encodings often enough.
std::size_t innerStart(std::string_view der, const Tlv& tlv) {
    const auto tag = static_cast<unsigned char>(der[tlv.start]);
    if ((tag & 0x20) != 0) {
        return tlv.content;
    }
    const std::size_t at = tlv.content + (tag == 3 ? 1 : 0);
    if ((tag != 3 && tag != 4) || at >= tlv.end) {
        return tlv.end;
    }
    const std::optional<Tlv> inner = readTlv(der, at, tlv.end);
    return inner && inner->end == tlv.end ? at : tlv.end;
}

// Parents stand before what is in them.
std::vector<Tlv> readAll(std::string_view der) {
    std::vector<Tlv> found;
    const auto readSeries = [&](std::size_t at, std::size_t end, std::size_t parent) {
        while (at < end && found.size() < kMostElements) {
            std::optional<Tlv> tlv = readTlv(der, at, end);
            if (!tlv) {
                return;
            }
            tlv->parent = parent;
            found.push_back(*tlv);
            at = tlv->end;
        }
    };
    readSeries(0, der.size(), kNone);
    for (std::size_t i = 0; i < found.size(); ++i) {
        readSeries(innerStart(der, found[i]), found[i].end, i);
    }
    return found;
}

class DerMutation {
public:
    DerMutation(std::string& der, Random& random)
        : m_der(der), m_random(random), m_all(readAll(der)) {}

    bool apply() {
        if (m_all.empty()) {
            return false;
        }
        const std::size_t at = below(m_all.size());
        const Tlv& one = m_all[at];
        const Tlv& other = m_all[below(m_all.size())];
        const std::string text = m_der.substr(one.start, one.end - one.start);
        const std::string otherText = m_der.substr(other.start, other.end - other.start);
        switch (below(9)) {
        case 0: replace(one.start, one.end, one.parent, {}); break;
        case 1: replace(one.end, one.end, one.parent, text); break;
        case 2: replace(one.start, one.end, one.parent, otherText); break;
        case 3: replace(one.start, one.start, one.parent, otherText); break;
        case 4: replace(one.start, one.end, one.parent, wrapped(text)); break;
        case 5: m_der[one.start] = static_cast<char>(newTag(m_der[one.start])); break;
        case 6: breakLength(one); break;
        default: replace(one.content, one.end, at, newContent(one)); break;
        }
        return true;
    }

private:
    std::size_t below(std::size_t bound) { return m_random() % bound; }

    // Puts `text` in place of [start, end) and corrects the lengths from the element `around`
    // outwards; around == kNone: none of them.
    void replace(std::size_t start, std::size_t end, std::size_t around, std::string_view text) {
        m_der.replace(start, end - start, text);
        std::size_t removed = end - start;
        std::size_t added = text.size();
        for (; around != kNone; around = m_all[around].parent) {
            const Tlv& outer = m_all[around];
            const std::size_t length = outer.end - outer.content - removed + added;
            const std::string octets = lengthOctets(length);
            const std::size_t header = outer.content - outer.start - 1;
            m_der.replace(outer.start + 1, header, octets);
            removed += header;
            added += octets.size();
        }
    }

    std::string wrapped(const std::string& text) {
        static constexpr unsigned char kTags[] = {0x30, 0x31, 0xA0, 0xA1, 0xA3, 0x04, 0x24, 0x03};
        const unsigned char tag = kTags[below(std::size(kTags))];
        const std::string inner = tag == 3 ? std::string(1, '\0') + text : text;
        return static_cast<char>(tag) + lengthOctets(inner.size()) + inner;
    }

    unsigned newTag(char old) {
        static constexpr unsigned char kTags[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x0A,
                                                  0x0C, 0x13, 0x16, 0x17, 0x18, 0x1E, 0x30,
                                                  0x31, 0x80, 0x82, 0x86, 0xA0, 0xA1, 0x1F};
        const unsigned flipped = static_cast<unsigned char>(old) ^ (1U << below(8));
        return below(3) == 0 ? flipped : kTags[below(std::size(kTags))];
    }

    // Longer than it is, the long form where the short one does, or one that ends by two zeros.
    void breakLength(const Tlv& one) {
        static constexpr std::string_view kLengths[] = {
            "\x80", "\x81\x01", "\x84\xFF\xFF\xFF\xFF", "\x82\xFF\xFF", "\x7F", "\xFF"};
        const std::size_t header = one.content - one.start - 1;
        const std::size_t length = one.end - one.content;
        if (below(2) == 0) {
            m_der.replace(one.start + 1, header, kLengths[below(std::size(kLengths))]);
        } else if (below(2) == 0) {
            const std::string octets = {'\x83', static_cast<char>(length >> 16),
                                        static_cast<char>(length >> 8), static_cast<char>(length)};
            replace(one.start + 1, one.content, one.parent, octets);
        } else {
            replace(one.start + 1, one.end, one.parent,
                    '\x80' + m_der.substr(one.content, length) + std::string(2, '\0'));
        }
    }

    std::string newContent(const Tlv& one) {
        std::string content = m_der.substr(one.content, one.end - one.content);
        switch (content.empty() ? 0 : below(7)) {
        case 0: return std::string(1 + below(3), static_cast<char>(m_random()));
        case 1: return {};
        case 2: content[below(content.size())] ^= static_cast<char>(1U << below(8)); break;
        case 3: content.resize(below(content.size())); break;
        case 4: content.insert(0, below(2) == 0 ? 1 : 40, '\0'); break;
        case 5: content.append(below(2) == 0 ? 1 : 200, '\xFF'); break;
        default: content[0] = static_cast<char>(m_random()); break;
        }
        return content;
    }

    std::string& m_der;
    Random& m_random;
    std::vector<Tlv> m_all;
};

std::string mutateDer(std::string_view input, Random& random) {
    std::string der(input);
    bool isChanged = false;
    for (std::uint64_t steps = 1 + random() % 3; steps > 0; --steps) {
        isChanged = DerMutation(der, random).apply() || isChanged;
    }
    return isChanged ? der : std::string();
}

// The base64 lines of one block of a text: [first, second).
std::optional<std::pair<std::size_t, std::size_t>> pemBody(std::string_view text, Random& random) {
    std::size_t begin = text.find("-----BEGIN ", random() % text.size());
    begin = begin == std::string_view::npos ? text.find("-----BEGIN ") : begin;
    const std::size_t line = text.find('\n', begin);
    const std::size_t end = text.find("-----END ", line);
    if (begin == std::string_view::npos || end == std::string_view::npos) {
        return std::nullopt;
    }
    return std::pair(line + 1, end);
}

} // namespace

std::string mutateStructure(std::string_view input, Random& random) {
    if (input.empty()) {
        return {};
    }
    const auto body = pemBody(input, random);
    if (!body) {
        return mutateDer(input, random);
    }
    const auto [start, end] = *body;
    DataBuffer der;
    if (!der.appendEncoded(input.substr(start, end - start), "base64")) {
        return {};
    }
    const std::string changed = mutateDer(asText(der.view()), random);
    StringBuffer base64;
    DataBuffer bytes;
    if (changed.empty() || !bytes.append(asBytes(changed)) || !bytes.encodeDB("base64", base64)) {
        return {};
    }
    return std::string(input.substr(0, start)) + std::string(base64.view()) + "\n" +
           std::string(input.substr(end));
}

} // namespace vantrel::fuzz
