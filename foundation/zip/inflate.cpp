// SPDX-License-Identifier: MIT
#include "foundation/zip/inflate.h"

#include <algorithm>
#include <bit>
#include <cstring>

// RFC 1951. The input lies in a buffer that is filled up as it is used, the output in another whose
// front keeps the 32 KiB that copies may refer to; both stay in the processor's second cache.
//
// Two decoders of the same codes: decodeFast where there is so much input and room that nothing
// has to be asked between symbols, decodeOne near the end of the input.
namespace vantrel::zip {

namespace {

constexpr std::string_view kCutShort = "the compressed data is cut short";
constexpr std::string_view kBadCode = "the compressed data holds a code that means nothing";
constexpr std::string_view kBadTable = "the compressed data has a table that is no prefix code";
constexpr std::string_view kTooFarBack = "the compressed data refers to what is before its start";

constexpr std::size_t kMostLength = 258;
// Copies go by this many bytes, and may write so much beyond the end.
constexpr std::size_t kCopyStep = 16;
// What one turn of the fast decoder may write: two literals and a copy.
constexpr std::size_t kFastRoom = kMostLength + kCopyStep + 2;
// What it may read: three times eight bytes.
constexpr std::size_t kFastInput = 24;

std::uint64_t load64(const std::uint8_t* at) noexcept {
    std::uint64_t word = 0;
    std::memcpy(&word, at, sizeof word);
    if constexpr (std::endian::native == std::endian::big) {
        word = __builtin_bswap64(word);
    }
    return word;
}

constexpr std::uint64_t lowBits(std::uint64_t bits, unsigned count) noexcept {
    return bits & ((std::uint64_t{1} << count) - 1);
}

// The bits of a fast turn, in registers.
struct BitReader {
    std::uint64_t bits;
    unsigned count;
    const std::uint8_t* in;

    // Makes it 56 bits at least. Bits beyond the counted ones are loaded as well, and again the
    // next time, which changes nothing.
    void refill() noexcept {
        bits |= load64(in) << count;
        in += (63 - count) >> 3;
        count |= 56;
    }
    unsigned take(unsigned taken) noexcept {
        const auto value = static_cast<unsigned>(lowBits(bits, taken));
        drop(taken);
        return value;
    }
    void drop(unsigned taken) noexcept {
        bits >>= taken;
        count -= taken;
    }
    CodeEntry entry(const CodeEntry* table, unsigned mainBits) noexcept {
        const CodeEntry first = table[lowBits(bits, mainBits)];
        if ((first & kSecondTable) == 0) {
            return first;
        }
        drop(bitsOf(first));
        return table[valueOf(first) + lowBits(bits, extraOf(first))];
    }
};

// May write kCopyStep bytes beyond the end. Source and target overlap where the distance is
// smaller than the length: the text then repeats itself.
void copyMatch(std::uint8_t* to, std::size_t distance, std::size_t length) noexcept {
    const std::uint8_t* from = to - distance;
    const std::uint8_t* const end = to + length;
    if (distance >= kCopyStep) {
        do {
            std::memcpy(to, from, kCopyStep);
            to += kCopyStep;
            from += kCopyStep;
        } while (to < end);
        return;
    }
    if (distance == 1) {
        std::memset(to, *from, length);
        return;
    }
    // What was copied can be copied again: the distance grows to a multiple of itself.
    while (to < end) {
        const std::size_t count =
            std::min(static_cast<std::size_t>(to - from), static_cast<std::size_t>(end - to));
        std::memcpy(to, from, count);
        to += count;
    }
}

} // namespace

// Not cleared: only what was written is read.
Inflater::Inflater(InflateInput& input) : m_input(input), m_buffers(new Buffers) {
    m_in = m_inEnd = m_buffers->input;
}

Inflater::~Inflater() = default;

// The first fault stays: nothing is decoded behind it.
bool Inflater::fail(std::string_view why) noexcept {
    m_fault = why;
    m_state = State::Done;
    return false;
}

// What is left of the buffer is little: a code or two, or the rest of a fast turn.
bool Inflater::fetch() noexcept {
    const auto left = static_cast<std::size_t>(m_inEnd - m_in);
    std::memmove(m_buffers->input, m_in, left);
    m_in = m_buffers->input;
    m_inEnd = m_in + left;
    std::size_t count = 0;
    if (m_inputEnds) {
        return true;
    }
    if (!m_input.read({m_buffers->input + left, kInput - left}, count)) {
        return fail("the compressed data cannot be read");
    }
    m_inputEnds = count == 0;
    m_inEnd += count;
    return true;
}

void Inflater::fill() noexcept {
    while (m_bitCount < 56 && m_in != m_inEnd) {
        m_bits |= std::uint64_t{*m_in++} << m_bitCount;
        m_bitCount += 8;
    }
}

bool Inflater::need(unsigned count) noexcept {
    fill();
    while (m_bitCount < count) {
        if (m_inputEnds) {
            return fail(kCutShort);
        }
        if (!fetch()) {
            return false;
        }
        fill();
    }
    return true;
}

// The caller has made sure that they are there.
unsigned Inflater::take(unsigned count) noexcept {
    const auto value = static_cast<unsigned>(lowBits(m_bits, count));
    m_bits >>= count;
    m_bitCount -= count;
    return value;
}

bool Inflater::next(ByteView& piece) noexcept {
    piece = {};
    keepHistory();
    const std::size_t start = m_out;
    // A piece ends where the longest copy might not fit.
    while (m_state != State::Done && kWindow + kFresh - m_out >= kFastRoom) {
        if (!step()) {
            return false;
        }
    }
    piece = {m_buffers->output + start, m_out - start};
    return m_fault.empty();
}

// The last 32 KiB of what was handed out stay in front of what comes.
void Inflater::keepHistory() noexcept {
    if (kWindow + kFresh - m_out >= kFresh) {
        return;
    }
    const std::size_t kept = std::min(m_out - m_oldest, kWindow);
    std::memmove(m_buffers->output + kWindow - kept, m_buffers->output + m_out - kept, kept);
    m_oldest = kWindow - kept;
    m_out = kWindow;
}

// One block's header, or as much of its data as input and room allow.
bool Inflater::step() noexcept {
    switch (m_state) {
    case State::BlockHeader: return readBlockHeader();
    case State::Stored: return copyStored();
    case State::Codes: return decodeCodes();
    case State::Done: break;
    }
    return true;
}

// RFC 1951, 3.2.3
bool Inflater::readBlockHeader() noexcept {
    if (!need(3)) {
        return false;
    }
    m_isLastBlock = take(1) != 0;
    switch (take(2)) {
    case 0: return readStoredHeader();
    case 1: {
        // RFC 1951, 3.2.6
        std::array<std::uint8_t, 288> literals{};
        std::array<std::uint8_t, 32> distances{};
        std::fill_n(literals.begin(), 144, std::uint8_t{8});
        std::fill_n(literals.begin() + 144, 112, std::uint8_t{9});
        std::fill_n(literals.begin() + 256, 24, std::uint8_t{7});
        std::fill_n(literals.begin() + 280, 8, std::uint8_t{8});
        distances.fill(5);
        return useCodes(literals, distances);
    }
    case 2: return readDynamicCodes();
    default: return fail("the compressed data has a block of no known kind");
    }
}

// RFC 1951, 3.2.4
bool Inflater::readStoredHeader() noexcept {
    static_cast<void>(take(m_bitCount & 7));
    if (!need(32)) {
        return false;
    }
    const unsigned length = take(16);
    const unsigned complement = take(16);
    if ((length ^ complement) != 0xFFFF) {
        return fail("the compressed data has a stored block whose length is damaged");
    }
    m_storedLeft = length;
    m_state = State::Stored;
    return true;
}

// Each call moves on: it takes bits, copies, fetches, or ends the block.
bool Inflater::copyStored() noexcept {
    // Whole bytes that were taken for bits.
    while (m_storedLeft != 0 && m_bitCount >= 8 && m_out < kWindow + kFresh) {
        m_buffers->output[m_out++] = static_cast<std::uint8_t>(take(8));
        --m_storedLeft;
    }
    if (m_bitCount == 0) {
        m_bits = 0; // what lies above the count was not taken, and is copied from the buffer
    }
    if (m_in == m_inEnd && m_storedLeft != 0 && m_bitCount == 0) {
        if (m_inputEnds) {
            return fail(kCutShort);
        }
        return fetch();
    }
    const std::size_t count =
        m_bitCount != 0 ? 0
                        : std::min({m_storedLeft, static_cast<std::size_t>(m_inEnd - m_in),
                                    kWindow + kFresh - m_out});
    std::memcpy(m_buffers->output + m_out, m_in, count);
    m_in += count;
    m_out += count;
    m_storedLeft -= count;
    if (m_storedLeft == 0) {
        endBlock();
    }
    return m_fault.empty();
}

// RFC 1951, 3.2.7
bool Inflater::readDynamicCodes() noexcept {
    constexpr std::array<std::uint8_t, 19> kOrder = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                     11, 4,  12, 3, 13, 2, 14, 1, 15};
    if (!need(14)) {
        return false;
    }
    const unsigned literals = take(5) + 257;
    const unsigned distances = take(5) + 1;
    const unsigned ofLengths = take(4) + 4;
    if (literals > 286 || distances > 30) {
        return fail(kBadTable);
    }
    std::array<std::uint8_t, 19> first{};
    for (unsigned i = 0; i < ofLengths; ++i) {
        if (!need(3)) {
            return false;
        }
        first[kOrder[i]] = static_cast<std::uint8_t>(take(3));
    }
    // These codes have seven bits at most, so that one table is enough.
    std::array<CodeEntry, 1U << kLengthBits> table;
    std::array<std::uint8_t, 286 + 30> lengths{};
    const bool hasAny = std::any_of(first.begin(), first.end(), [](auto length) { return length; });
    if (!hasAny || !buildCodeTable(first, lengthSymbols(), kLengthBits, table)) {
        return fail(kBadTable);
    }
    const std::span<std::uint8_t> all = std::span(lengths).first(literals + distances);
    if (!readCodeLengths(table, all)) {
        return false;
    }
    // Without a code for the end the block could not end.
    if (all[256] == 0) {
        return fail(kBadTable);
    }
    return useCodes(all.first(literals), all.subspan(literals));
}

// Both alphabets' lengths are one list, and a repetition may go from one into the other.
bool Inflater::readCodeLengths(std::span<const CodeEntry> table,
                               std::span<std::uint8_t> lengths) noexcept {
    std::size_t at = 0;
    while (at < lengths.size()) {
        CodeEntry entry = 0;
        if (!decodeEntry(table, kLengthBits, entry)) {
            return false;
        }
        const unsigned symbol = valueOf(entry);
        if (symbol < 16) {
            lengths[at++] = static_cast<std::uint8_t>(symbol);
            continue;
        }
        // 16: the one before, 3 to 6 times; 17 and 18: none, 3 to 10 and 11 to 138 times
        const unsigned extra = symbol == 16 ? 2 : symbol == 17 ? 3 : 7;
        if (!need(extra)) {
            return false;
        }
        const std::size_t count = take(extra) + (symbol == 18 ? 11U : 3U);
        if (count > lengths.size() - at || (symbol == 16 && at == 0)) {
            return fail(kBadTable);
        }
        const std::uint8_t value = symbol == 16 ? lengths[at - 1] : std::uint8_t{0};
        std::fill_n(lengths.begin() + static_cast<std::ptrdiff_t>(at), count, value);
        at += count;
    }
    return true;
}

bool Inflater::useCodes(std::span<const std::uint8_t> literals,
                        std::span<const std::uint8_t> distances) noexcept {
    if (!buildCodeTable(literals, literalSymbols(), kLiteralBits, m_buffers->literals) ||
        !buildCodeTable(distances, distanceSymbols(), kDistanceBits, m_buffers->distances)) {
        return fail(kBadTable);
    }
    m_state = State::Codes;
    return true;
}

// The fast decoder wherever it may run; behind the last whole word of the input the other one.
bool Inflater::decodeCodes() noexcept {
    while (m_state == State::Codes && kWindow + kFresh - m_out >= kFastRoom) {
        if (static_cast<std::size_t>(m_inEnd - m_in) < kFastInput && !m_inputEnds && !fetch()) {
            return false;
        }
        const bool isAmple = static_cast<std::size_t>(m_inEnd - m_in) >= kFastInput;
        if (isAmple ? !decodeFast() : !decodeOne()) {
            return false;
        }
    }
    return true;
}

// RFC 1951, 3.2.3. A turn takes up to two literals, or literals and a copy: a code has 15 bits at
// most, a length 5 more, a distance 13, so that one refill serves a literal and one a copy.
bool Inflater::decodeFast() noexcept {
    BitReader reader{m_bits, m_bitCount, m_in};
    std::uint8_t* const base = m_buffers->output;
    std::uint8_t* out = base + m_out;
    const std::uint8_t* const outEnd = base + kWindow + kFresh - kFastRoom;
    const std::uint8_t* const inEnd = m_inEnd - kFastInput;
    const std::uint8_t* const oldest = base + m_oldest;
    const CodeEntry* const literals = m_buffers->literals;
    const CodeEntry* const distances = m_buffers->distances;
    std::string_view fault;
    bool ends = false;

    while (out <= outEnd && reader.in <= inEnd) {
        reader.refill();
        CodeEntry entry = reader.entry(literals, kLiteralBits);
        reader.drop(bitsOf(entry));
        if ((entry & kLiteralEntry) != 0) {
            *out++ = static_cast<std::uint8_t>(valueOf(entry));
            entry = reader.entry(literals, kLiteralBits);
            reader.drop(bitsOf(entry));
            if ((entry & kLiteralEntry) != 0) {
                *out++ = static_cast<std::uint8_t>(valueOf(entry));
                continue;
            }
        }
        if ((entry & kSpecialEntry) != 0) {
            ends = entry >> 16 != 0;
            fault = ends ? std::string_view() : kBadCode;
            break;
        }
        reader.refill();
        const std::size_t length = valueOf(entry) + reader.take(extraOf(entry));
        const CodeEntry far = reader.entry(distances, kDistanceBits);
        reader.drop(bitsOf(far));
        if ((far & kSpecialEntry) != 0) {
            fault = kBadCode;
            break;
        }
        const std::size_t distance = valueOf(far) + reader.take(extraOf(far));
        if (distance > static_cast<std::size_t>(out - oldest)) {
            fault = kTooFarBack;
            break;
        }
        copyMatch(out, distance, length);
        out += length;
    }
    m_bits = reader.bits;
    m_bitCount = reader.count;
    m_in = reader.in;
    m_out = static_cast<std::size_t>(out - base);
    if (!fault.empty()) {
        return fail(fault);
    }
    if (ends) {
        endBlock();
    }
    return m_fault.empty();
}

// One symbol, or one copy, with every bit asked for.
bool Inflater::decodeOne() noexcept {
    CodeEntry entry = 0;
    if (!decodeEntry(m_buffers->literals, kLiteralBits, entry)) {
        return false;
    }
    if ((entry & kLiteralEntry) != 0) {
        m_buffers->output[m_out++] = static_cast<std::uint8_t>(valueOf(entry));
        return true;
    }
    if ((entry & kSpecialEntry) != 0) {
        endBlock();
        return m_fault.empty();
    }
    if (!need(extraOf(entry))) {
        return false;
    }
    const std::size_t length = valueOf(entry) + take(extraOf(entry));
    if (!decodeEntry(m_buffers->distances, kDistanceBits, entry) || !need(extraOf(entry))) {
        return false;
    }
    const std::size_t distance = valueOf(entry) + take(extraOf(entry));
    // A distance alphabet has no end of the block: what is special there is no code.
    if (distance > m_out - m_oldest) {
        return fail(kTooFarBack);
    }
    copyMatch(m_buffers->output + m_out, distance, length);
    m_out += length;
    return true;
}

// The next symbol. Near the end of the input fewer bits may be left than a table asks for; the
// entry tells how many it needed.
bool Inflater::decodeEntry(std::span<const CodeEntry> table, unsigned mainBits,
                           CodeEntry& entry) noexcept {
    fill();
    if (m_bitCount < kMaxCodeLength && !m_inputEnds) {
        if (!fetch()) {
            return false;
        }
        fill();
    }
    // Above the count there may be bits of what follows, or none: zeros then stand for them.
    const std::uint64_t bits = m_bits;
    entry = table[static_cast<std::size_t>(lowBits(bits, mainBits))];
    unsigned used = bitsOf(entry);
    if ((entry & kSecondTable) != 0) {
        entry =
            table[static_cast<std::size_t>(valueOf(entry) + lowBits(bits >> used, extraOf(entry)))];
        used += bitsOf(entry);
    }
    if (used > m_bitCount) {
        return fail(kCutShort);
    }
    if ((entry & kSpecialEntry) != 0 && entry >> 16 == 0) {
        return fail(kBadCode);
    }
    static_cast<void>(take(used));
    return true;
}

void Inflater::endBlock() noexcept {
    m_state = State::BlockHeader;
    if (m_isLastBlock) {
        m_state = State::Done;
        static_cast<void>(checkEnd());
    }
}

// The last byte may have bits left, and nothing may follow it.
bool Inflater::checkEnd() noexcept {
    while (m_in == m_inEnd && !m_inputEnds) {
        if (!fetch()) {
            return false;
        }
    }
    if (m_bitCount >= 8 || m_in != m_inEnd) {
        return fail("there is more data than the compressed data needs");
    }
    return true;
}

} // namespace vantrel::zip
