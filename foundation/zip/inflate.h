// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_ZIP_INFLATE_H
#define FOUNDATION_ZIP_INFLATE_H

#include "foundation/text/byte_view.h"
#include "foundation/zip/inflate_table.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace vantrel::zip {

// Where compressed data comes from, in pieces of any size.
class InflateInput {
public:
    InflateInput() noexcept = default;
    InflateInput(const InflateInput&) = delete;
    InflateInput& operator=(const InflateInput&) = delete;
    virtual ~InflateInput() = default;

    // Fills as much of `room`, which is not empty, as can be had at once; `count` 0 is the end.
    // False when reading fails.
    [[nodiscard]] virtual bool read(std::span<std::uint8_t> room, std::size_t& count) noexcept = 0;
};

// Decompresses a raw DEFLATE stream (RFC 1951), which must be all of its input: what follows the
// last block is an error. Memory is fixed, some 250 KiB, however long the stream is. It never
// writes or reads out of its own buffers, whatever the input is. How much comes out is for the
// caller to bound.
class Inflater final {
public:
    // `input` is borrowed. Throws std::bad_alloc.
    explicit Inflater(InflateInput& input);
    ~Inflater();
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    // The next stretch of the output, valid until the next call; empty at the end. False when the
    // stream is damaged or cannot be read: fault() then says how, and nothing more comes.
    [[nodiscard]] bool next(ByteView& piece) noexcept;
    // Of static storage; empty while there is none.
    [[nodiscard]] std::string_view fault() const noexcept { return m_fault; }

private:
    enum class State : std::uint8_t { BlockHeader, Stored, Codes, Done };

    static constexpr unsigned kLiteralBits = 11;
    static constexpr unsigned kDistanceBits = 8;
    static constexpr unsigned kLengthBits = 7;
    // Main and second tables, for any code there is: the largest need is 2342 and 402 entries.
    static constexpr std::size_t kLiteralTable = 2400;
    static constexpr std::size_t kDistanceTable = 416;

    static constexpr std::size_t kWindow = std::size_t{32} << 10; // RFC 1951, 2
    static constexpr std::size_t kFresh = std::size_t{128} << 10;
    static constexpr std::size_t kInput = std::size_t{64} << 10;

    struct Buffers {
        std::uint8_t output[kWindow + kFresh];
        std::uint8_t input[kInput];
        CodeEntry literals[kLiteralTable];
        CodeEntry distances[kDistanceTable];
    };

    [[nodiscard]] bool fail(std::string_view why) noexcept;
    // More input behind what is left of it; false when reading fails, or fails to give any.
    [[nodiscard]] bool fetch() noexcept;
    // At least `count` bits, at most 48, in m_bits; false at the end of the input.
    [[nodiscard]] bool need(unsigned count) noexcept;
    // As many whole bytes as fit in m_bits.
    void fill() noexcept;
    [[nodiscard]] unsigned take(unsigned count) noexcept;

    void keepHistory() noexcept;
    [[nodiscard]] bool step() noexcept;
    [[nodiscard]] bool readBlockHeader() noexcept;
    [[nodiscard]] bool readStoredHeader() noexcept;
    [[nodiscard]] bool readDynamicCodes() noexcept;
    [[nodiscard]] bool readCodeLengths(std::span<const CodeEntry> table,
                                       std::span<std::uint8_t> lengths) noexcept;
    [[nodiscard]] bool useCodes(std::span<const std::uint8_t> literals,
                                std::span<const std::uint8_t> distances) noexcept;
    [[nodiscard]] bool copyStored() noexcept;
    [[nodiscard]] bool decodeCodes() noexcept;
    [[nodiscard]] bool decodeFast() noexcept;
    [[nodiscard]] bool decodeOne() noexcept;
    [[nodiscard]] bool decodeEntry(std::span<const CodeEntry> table, unsigned mainBits,
                                   CodeEntry& entry) noexcept;
    void endBlock() noexcept;
    [[nodiscard]] bool checkEnd() noexcept;

    InflateInput& m_input;
    std::unique_ptr<Buffers> m_buffers;
    // Bits of the input that are not taken yet, the next one lowest. There may be more of it above
    // the first m_bitCount, which will be read again.
    std::uint64_t m_bits = 0;
    unsigned m_bitCount = 0;
    const std::uint8_t* m_in = nullptr;
    const std::uint8_t* m_inEnd = nullptr;
    bool m_inputEnds = false;       // behind m_inEnd nothing comes
    std::size_t m_out = kWindow;    // where the next byte of output goes
    std::size_t m_oldest = kWindow; // the first byte of the buffer that is output
    std::size_t m_storedLeft = 0;
    State m_state = State::BlockHeader;
    bool m_isLastBlock = false;
    std::string_view m_fault;
};

} // namespace vantrel::zip

#endif
