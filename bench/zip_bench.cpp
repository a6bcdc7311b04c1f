// SPDX-License-Identifier: MIT
// What reading a ZIP member costs besides its digest: every kernel of the check sum, and inflate
// beside zlib's on the same words.
#include "foundation/zip/crc32.h"
#include "foundation/zip/inflate.h"

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <zlib.h>

namespace {

using namespace vantrel;
using Octets = std::vector<std::uint8_t>;

constexpr std::size_t kSize = std::size_t{16} << 20;

// Words of a fixed list in random order, as documents have them.
Octets makeText() {
    std::mt19937_64 random(1);
    std::vector<std::string> words(20000);
    for (std::string& word : words) {
        word.resize(2 + random() % 9);
        std::ranges::generate(word, [&] { return static_cast<char>('a' + random() % 26); });
    }
    Octets text;
    while (text.size() < kSize) {
        const std::string& word = words[random() % words.size()];
        text.insert(text.end(), word.begin(), word.end());
        text.push_back(' ');
    }
    return text;
}

const Octets& text() {
    static const Octets made = makeText();
    return made;
}

Octets deflated(const Octets& bytes) {
    z_stream stream{};
    Octets packed(bytes.size() + bytes.size() / 2);
    Octets input = bytes;
    if (::deflateInit2(&stream, 6, Z_DEFLATED, -15, 9, Z_DEFAULT_STRATEGY) != Z_OK) {
        std::abort();
    }
    stream.next_in = input.data();
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = packed.data();
    stream.avail_out = static_cast<uInt>(packed.size());
    static_cast<void>(::deflate(&stream, Z_FINISH));
    packed.resize(stream.total_out);
    static_cast<void>(::deflateEnd(&stream));
    return packed;
}

class Whole final : public zip::InflateInput {
public:
    explicit Whole(ByteView bytes) : m_rest(bytes) {}
    bool read(std::span<std::uint8_t> room, std::size_t& count) noexcept override {
        count = std::min(room.size(), m_rest.size());
        std::copy_n(m_rest.begin(), count, room.begin());
        m_rest = m_rest.subspan(count);
        return true;
    }

private:
    ByteView m_rest;
};

void setBytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(text().size()));
}

void crcOurs(benchmark::State& state, const zip::Crc32Kernel* kernel) {
    for (auto _ : state) {
        zip::Crc32 crc(*kernel);
        crc.update(text());
        benchmark::DoNotOptimize(crc.value());
    }
    setBytes(state);
}

void inflateOurs(benchmark::State& state) {
    const Octets packed = deflated(text());
    for (auto _ : state) {
        Whole input(packed);
        zip::Inflater inflater(input);
        ByteView piece;
        do {
            if (!inflater.next(piece)) {
                state.SkipWithError("the stream is refused");
                return;
            }
        } while (!piece.empty());
    }
    setBytes(state);
}

void inflatePeer(benchmark::State& state) {
    Octets packed = deflated(text());
    Octets room(std::size_t{128} << 10);
    for (auto _ : state) {
        z_stream stream{};
        static_cast<void>(::inflateInit2(&stream, -15));
        stream.next_in = packed.data();
        stream.avail_in = static_cast<uInt>(packed.size());
        int result = Z_OK;
        while (result == Z_OK) {
            stream.next_out = room.data();
            stream.avail_out = static_cast<uInt>(room.size());
            result = ::inflate(&stream, Z_NO_FLUSH);
        }
        static_cast<void>(::inflateEnd(&stream));
    }
    setBytes(state);
}

[[maybe_unused]] const bool kRegistered = [] {
    for (const zip::Crc32Kernel& kernel : zip::crc32Kernels()) {
        if (cpu::supports(kernel.needs)) {
            const std::string name = "crc32/" + std::string(kernel.name);
            benchmark::RegisterBenchmark(name.c_str(), crcOurs, &kernel);
        }
    }
    benchmark::RegisterBenchmark("inflate/ours", inflateOurs);
    benchmark::RegisterBenchmark("inflate/zlib", inflatePeer);
    return true;
}();

} // namespace
