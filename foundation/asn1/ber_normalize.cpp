// SPDX-License-Identifier: MIT
#include "foundation/asn1/ber_normalize.h"

#include "foundation/asn1/ber_header.h"
#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_writer.h"

namespace vantrel::asn1 {

namespace {

// One constructed element that is being copied.
struct Level {
    ByteView rest; // what is left of a definite element; of an indefinite one, of its parent
    std::size_t start = 0;  // in the output, where its contents begin
    std::uint32_t type = 0; // universal number of a string that is being joined, else 0
    bool indefinite = false;
    bool segment = false;    // a nested segment of such a string: it has no header of its own
    std::uint8_t unused = 0; // of a BIT STRING: padding bits of the last segment so far
};

class Normalizer {
public:
    Normalizer(ByteView ber, std::vector<std::uint8_t>& out) noexcept : m_rest(ber), m_out(out) {}

    bool run(std::size_t& consumed) {
        const std::size_t total = m_rest.size();
        do {
            if (!m_levels.empty() && !m_levels.back().indefinite && m_levels.back().rest.empty()) {
                if (!closeLevel()) {
                    return false;
                }
            } else if (!step()) {
                return false;
            }
        } while (!m_levels.empty());
        consumed = total - m_rest.size();
        return true;
    }

private:
    ByteView& input() noexcept { return m_levels.empty() ? m_rest : m_levels.back().rest; }

    // Copies one primitive element, or opens or closes a constructed one.
    bool step() {
        BerHeader header;
        if (!readBerHeader(input(), header)) {
            return false;
        }
        if (header.isEndOfContents()) {
            if (m_levels.empty() || !m_levels.back().indefinite) {
                return false;
            }
            input() = input().subspan(2);
            return closeLevel();
        }
        const std::uint32_t joining = m_levels.empty() ? 0 : m_levels.back().type;
        if (joining != 0 && !isSegmentOf(header, joining)) {
            return false;
        }
        if (header.constructed()) {
            return openLevel(header, joining);
        }
        const ByteView contents = input().subspan(header.size, header.length);
        if (joining != 0) {
            if (!appendSegment(contents, joining)) {
                return false;
            }
        } else {
            appendIdentifier(input().first(header.tagSize));
            appendLength(contents.size());
            m_out.insert(m_out.end(), contents.begin(), contents.end());
        }
        input() = input().subspan(header.size + header.length);
        return true;
    }

    // X.690 8.6.4, 8.7.3: the segments of an OCTET STRING are OCTET STRINGs, those of a BIT STRING BIT
    // STRINGs; the character strings are made of OCTET STRINGs, in the wild of their own type too.
    static bool isSegmentOf(const BerHeader& header, std::uint32_t type) noexcept {
        return header.isUniversal() && (header.number == type || (type != 3 && header.number == 4));
    }

    bool openLevel(const BerHeader& header, std::uint32_t joining) {
        if (m_levels.size() == kMaxNesting) {
            return false;
        }
        Level level;
        level.indefinite = header.indefinite;
        level.segment = joining != 0;
        level.type = joining;
        if (joining == 0) {
            appendIdentifier(input().first(header.tagSize));
            if (header.isUniversal() && isStringType(header.number)) {
                m_out.back() = static_cast<std::uint8_t>(m_out.back() & ~0x20U);
                level.type = header.number;
            }
            level.start = m_out.size();
            if (level.type == 3) {
                m_out.push_back(0); // the count of unused bits, known when the last segment is read
            }
        } else {
            level.start = m_levels.back().start;
            level.unused = m_levels.back().unused;
        }
        const ByteView after = input().subspan(header.size);
        if (header.indefinite) {
            level.rest = after;
        } else {
            level.rest = after.first(header.length);
            input() = after.subspan(header.length);
        }
        m_levels.push_back(level);
        return true;
    }

    bool closeLevel() {
        const Level level = m_levels.back();
        m_levels.pop_back();
        if (level.indefinite) {
            input() = level.rest; // goes on behind the end-of-contents octets
        }
        if (level.segment) {
            m_levels.back().unused = level.unused;
            return true;
        }
        if (level.type == 3) {
            m_out[level.start] = level.unused;
        }
        std::uint8_t octets[9];
        const std::size_t count = encodeLength(m_out.size() - level.start, octets);
        m_out.insert(m_out.begin() + static_cast<std::ptrdiff_t>(level.start), octets,
                     octets + count);
        return true;
    }

    bool appendSegment(ByteView contents, std::uint32_t type) {
        Level& level = m_levels.back();
        ByteView bytes = contents;
        if (type == 3) {
            // Only the last segment may end within a byte.
            if (level.unused != 0 || bytes.empty() || bytes[0] > 7 ||
                (bytes.size() == 1 && bytes[0] != 0)) {
                return false;
            }
            level.unused = bytes[0];
            bytes = bytes.subspan(1);
        }
        m_out.insert(m_out.end(), bytes.begin(), bytes.end());
        return true;
    }

    void appendIdentifier(ByteView identifier) {
        m_out.insert(m_out.end(), identifier.begin(), identifier.end());
    }
    void appendLength(std::size_t length) {
        std::uint8_t octets[9];
        const std::size_t count = encodeLength(length, octets);
        m_out.insert(m_out.end(), octets, octets + count);
    }

    ByteView m_rest;
    std::vector<std::uint8_t>& m_out;
    std::vector<Level> m_levels;
};

} // namespace

bool normalizeBer(ByteView ber, std::vector<std::uint8_t>& der, std::size_t& consumed) {
    std::vector<std::uint8_t> out;
    out.reserve(ber.size() + 16);
    if (!Normalizer(ber, out).run(consumed)) {
        return false;
    }
    der = std::move(out);
    return true;
}

} // namespace vantrel::asn1
