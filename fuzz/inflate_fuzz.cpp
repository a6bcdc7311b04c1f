// SPDX-License-Identifier: MIT
// Compressed data: the same comes out whether it goes in whole or byte by byte, and, where zlib is
// installed, the same as from zlib, or a fault where zlib finds one.
#include "foundation/zip/inflate.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#if defined(VANTREL_HAS_ZLIB)
#include <zlib.h>
#endif

using namespace vantrel;

namespace {

constexpr std::size_t kMost = std::size_t{1} << 18;

class Pieces final : public zip::InflateInput {
public:
    Pieces(ByteView bytes, std::size_t piece) : m_rest(bytes), m_piece(piece) {}
    bool read(std::span<std::uint8_t> room, std::size_t& count) noexcept override {
        count = std::min({room.size(), m_piece, m_rest.size()});
        std::copy_n(m_rest.begin(), count, room.begin());
        m_rest = m_rest.subspan(count);
        return true;
    }

private:
    ByteView m_rest;
    std::size_t m_piece;
};

bool inflate(ByteView packed, std::size_t piece, std::vector<std::uint8_t>& out) {
    Pieces input(packed, piece);
    zip::Inflater inflater(input);
    ByteView more;
    do {
        if (!inflater.next(more)) {
            return false;
        }
        out.insert(out.end(), more.begin(), more.end());
    } while (!more.empty() && out.size() < kMost);
    return true;
}

#if defined(VANTREL_HAS_ZLIB)
// By zlib: whole, and with nothing behind it.
bool inflateByZlib(ByteView packed, std::vector<std::uint8_t>& out) {
    z_stream stream{};
    std::vector<std::uint8_t> input(packed.begin(), packed.end());
    out.resize(4 * kMost);
    stream.next_in = input.data();
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    if (::inflateInit2(&stream, -15) != Z_OK) {
        std::abort();
    }
    const int result = ::inflate(&stream, Z_FINISH);
    const bool isWhole = result == Z_STREAM_END && stream.avail_in == 0;
    out.resize(stream.total_out);
    static_cast<void>(::inflateEnd(&stream));
    return isWhole;
}
#endif

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::uint8_t> whole;
    std::vector<std::uint8_t> piecewise;
    const bool isSound = inflate({data, size}, kMost, whole);
    const bool endsSoundly = isSound && whole.size() < kMost;
    const bool endsPiecewise = inflate({data, size}, 1, piecewise) && piecewise.size() < kMost;
    // What was broken off ends with a piece of the output, whose length depends on the input's.
    const std::size_t inBoth = std::min(whole.size(), piecewise.size());
    if (endsSoundly != endsPiecewise || (endsSoundly && whole.size() != piecewise.size()) ||
        !std::equal(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(inBoth),
                    piecewise.begin())) {
        std::abort();
    }
#if defined(VANTREL_HAS_ZLIB)
    std::vector<std::uint8_t> wanted;
    // What is larger was not read to its end.
    if (whole.size() < kMost &&
        (isSound != inflateByZlib({data, size}, wanted) || (isSound && whole != wanted))) {
        std::abort();
    }
#endif
    return 0;
}
