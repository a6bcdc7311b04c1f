// SPDX-License-Identifier: MIT
// Base64 decoding: the kernels take what is regular, the group reader here whatever is left.
#include "foundation/text/DataBuffer.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/base64_kernels.h"
#include "foundation/text/base64_vectors.h"
#include "foundation/text/encoders.h"
#include "foundation/text/strings.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vantrel {

namespace text {

namespace {

// Text is freed of white space in pieces of this size, which stay in the first-level cache.
constexpr std::size_t kPiece = 4096;
constexpr std::size_t kLargestBlock = 64; // the largest of the kernels
constexpr std::uint8_t kNoValue = 0xFF;

constexpr Base64Kernel kBase64Kernels[] = {
#if defined(__x86_64__)
    {"avx512",
     cpu::Feature::Avx512 | cpu::Feature::Avx512Vbmi,
     {base64DecodeBlocksAvx512, base64SqueezeAvx512}},
    {"avx2", cpu::Feature::Avx2, {base64DecodeBlocksAvx2, base64SqueezeAvx2}},
#elif defined(__aarch64__)
    {"neon", cpu::Feature::Neon, {base64DecodeBlocksNeon, base64SqueezeNeon}},
#endif
    {"portable", cpu::Feature::None, {base64DecodeBlocksPortable, base64SqueezePortable}},
};
static_assert(cpu::isKernelList(kBase64Kernels));

constexpr std::array<std::uint8_t, 256> kValueOf = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(kNoValue);
    for (std::uint8_t value = 0; value < 64; ++value) {
        table[static_cast<unsigned char>(kBase64Alphabet[value])] = value;
    }
    return table;
}();

// Reads characters one by one: the end of the text, padding and faults.
class GroupReader final {
public:
    explicit GroupReader(std::uint8_t* out) noexcept : m_out(out) {}

    // False at a character that has no place here.
    [[nodiscard]] bool take(char c) noexcept {
        if (c == '=') {
            ++m_padding;
            return m_count + m_padding <= 4 && m_count >= 2;
        }
        const std::uint32_t value = kValueOf[static_cast<unsigned char>(c)];
        if (value == kNoValue || m_padding != 0) {
            return false;
        }
        m_group = m_group << 6 | value;
        if (++m_count == 4) {
            flush();
        }
        return true;
    }
    // Writes the bytes of an open group; false when the text may not end here.
    [[nodiscard]] bool finish() noexcept {
        const bool complete = m_count == 0 || m_count + m_padding == 4;
        m_group <<= 6 * (4 - m_count);
        flush();
        return complete;
    }
    [[nodiscard]] bool atGroupStart() const noexcept { return m_count == 0 && m_padding == 0; }
    [[nodiscard]] std::uint8_t* out() const noexcept { return m_out; }
    void skip(std::size_t bytes) noexcept { m_out += bytes; }

private:
    void flush() noexcept {
        // Two characters hold one whole byte, three hold two, four hold three.
        for (std::uint32_t byte = 0; byte + 1 < m_count; ++byte) {
            *m_out++ = static_cast<std::uint8_t>(m_group >> (16 - 8 * byte));
        }
        m_group = 0;
        m_count = 0;
    }

    std::uint8_t* m_out;
    std::uint32_t m_group = 0;
    std::uint32_t m_count = 0;
    std::uint32_t m_padding = 0;
};

bool takeAll(std::string_view text, GroupReader& reader) noexcept {
    return std::all_of(text.begin(), text.end(), [&](char c) { return reader.take(c); });
}

// False at a fault.
bool decodeAll(const Base64Functions& kernel, std::string_view text, GroupReader& reader) noexcept {
    // Text on one line needs no squeezing.
    const std::size_t plain = kernel.decodeBlocks(text.data(), text.size(), reader.out());
    reader.skip(plain / 4 * 3);
    text.remove_prefix(plain);

    std::array<char, kLargestBlock + kPiece + kBase64Slack> staged;
    std::size_t waiting = 0; // less than a block, and at the start of a group
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, kPiece);
        text.remove_prefix(piece.size());
        const std::size_t size =
            waiting + kernel.squeeze(piece.data(), piece.size(), staged.data() + waiting);
        if (!reader.atGroupStart()) {
            // The padding has begun: only white space may follow.
            if (!takeAll({staged.data(), size}, reader)) {
                return false;
            }
            continue;
        }
        const std::size_t taken = kernel.decodeBlocks(staged.data(), size, reader.out());
        reader.skip(taken / 4 * 3);
        waiting = size - taken;
        if (waiting >= kLargestBlock) {
            // Something that is no group of four: padding or a fault.
            if (!takeAll({staged.data() + taken, waiting}, reader)) {
                return false;
            }
            waiting = 0;
        } else {
            std::memmove(staged.data(), staged.data() + taken, waiting);
        }
    }
    const std::string_view rest(staged.data(), waiting);
    std::size_t groups = 0; // what a kernel leaves of its last block
    if (reader.atGroupStart()) {
        groups = base64DecodeBlocksPortable(rest.data(), rest.size(), reader.out());
        reader.skip(groups / 4 * 3);
    }
    return takeAll(rest.substr(groups), reader);
}

} // namespace

std::span<const Base64Kernel> base64Kernels() noexcept { return kBase64Kernels; }

bool decodeBase64With(const Base64Kernel& kernel, std::string_view text, DataBuffer& out) {
    const std::uint32_t before = out.getSize();
    const std::size_t needed = before + text.size() / 4 * 3 + 3 + kBase64Slack;
    if (needed > kMaxTextSize) {
        return false;
    }
    if (text.empty()) {
        return true;
    }
    std::uint8_t* const target = out.resize(static_cast<std::uint32_t>(needed));
    if (target == nullptr) {
        return false;
    }
    GroupReader reader(target + before);
    const bool taken = decodeAll(kernel.run, text, reader);
    const bool ok = reader.finish() && taken;
    static_cast<void>(out.resize(static_cast<std::uint32_t>(reader.out() - target)));
    return ok;
}

bool decodeBase64(std::string_view text, DataBuffer& out) {
    return decodeBase64With(cpu::chosenKernel(kBase64Kernels), text, out);
}

} // namespace text

bool ContentCoding::decodeBase64ToDb(const char* text, std::uint32_t length, DataBuffer& out) {
    return text == nullptr ? length == 0 : text::decodeBase64({text, length}, out);
}

bool ContentCoding::encodeBase64(const void* data, std::uint32_t count, StringBuffer& out) {
    return data == nullptr ? count == 0
                           : text::encode({static_cast<const std::uint8_t*>(data), count},
                                          text::Encoding::Base64, out);
}

} // namespace vantrel
