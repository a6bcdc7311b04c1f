// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/block_masks.h"
#include "foundation/xml/scan/char_class.h"
#include "foundation/xml/scan/stop_bytes.h"
#include "tests/support/bytes.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

using xml::BlockMasks;
using xml::kBlockSize;

// Text of whole blocks: bytes that matter, now and then anything.
std::string randomText(RandomBytes& random, std::size_t blocks, bool beyondAscii) {
    constexpr std::string_view kMarks = "<>&\"']:/= \t\n\rabcXYZ019-._@[`{\x7F";
    const std::string_view characters[] = {"\xC2\x80",        "\xDF\xBF",     "\xE0\xA0\x80",
                                           "\xED\x9F\xBF",    "\xEF\xBF\xBD", "\xF0\x90\x80\x80",
                                           "\xF4\x8F\xBF\xBF"};
    std::string text;
    while (text.size() < blocks * kBlockSize) {
        if (beyondAscii && random.below(3) == 0) {
            text += characters[random.below(std::size(characters))];
        } else {
            text += kMarks[random.below(kMarks.size())];
        }
    }
    text.resize(blocks * kBlockSize);
    while (!text.empty() && static_cast<unsigned char>(text[text.size() - 1]) >= 0x80) {
        text.pop_back(); // no character may be left unfinished
    }
    text.resize(blocks * kBlockSize, ' ');
    return text;
}

struct Classified {
    std::unique_ptr<BlockMasks> masks = std::make_unique<BlockMasks>();
    xml::TextFacts facts;
};

// In two calls, as the window does it.
Classified classify(const xml::ClassifyKernel& kernel, const std::string& text, std::size_t first) {
    Classified result;
    const std::size_t blocks = text.size() / kBlockSize;
    const auto rest = std::make_unique<BlockMasks>();
    kernel.run(text.data(), first, false, *result.masks, result.facts);
    kernel.run(text.data() + first * kBlockSize, blocks - first, first != 0, *rest, result.facts);
    for (unsigned stop = 0; stop < xml::kStopClasses; ++stop) {
        std::copy_n(rest->rows[stop], blocks - first, result.masks->rows[stop] + first);
    }
    return result;
}

void compareKernels(const std::string& text, bool bad) {
    const auto kernels = xml::classifyKernels();
    const std::size_t blocks = text.size() / kBlockSize;
    ASSERT_EQ(xml::findBadCharacter(text) != text.size(), bad) << toHex(bytesOf(text));
    for (const xml::ClassifyKernel& kernel : kernels) {
        if (!cpu::supports(kernel.needs)) {
            continue;
        }
        for (std::size_t first = 0; first < blocks; ++first) {
            const Classified expected = classify(kernels.back(), text, first);
            const Classified result = classify(kernel, text, first);
            ASSERT_EQ(result.facts.bad, bad) << kernel.name << toHex(bytesOf(text));
            ASSERT_EQ(result.facts.carriageReturn, text.find('\r') != text.npos) << kernel.name;
            for (unsigned stop = 0; stop < xml::kStopClasses; ++stop) {
                for (std::size_t block = 0; block < blocks; ++block) {
                    ASSERT_EQ(result.masks->rows[stop][block], expected.masks->rows[stop][block])
                        << kernel.name << " class " << stop << " block " << block;
                }
            }
        }
    }
}

TEST(BlockMasks, EveryKernelAgreesWithThePortableOne) {
    RandomBytes random(1);
    for (int round = 0; round < 200; ++round) {
        compareKernels(randomText(random, 3, round % 2 == 1), false);
    }
}

TEST(BlockMasks, ThePortableOneFollowsTheDefinition) {
    std::string text;
    for (unsigned c = 0; c < 256; ++c) {
        text.push_back(static_cast<char>(c));
    }
    const Classified result = classify(xml::classifyKernels().back(), text, 0);
    for (unsigned c = 0; c < 256; ++c) {
        const auto has = [&](xml::StopClass stop) {
            return (result.masks->rows[stop][c / kBlockSize] >> (c % kBlockSize) & 1) != 0;
        };
        const std::string_view markup = "<&>";
        EXPECT_EQ(has(xml::kMarkupStops), markup.find(static_cast<char>(c)) != markup.npos) << c;
        EXPECT_EQ(has(xml::kNameStops), c >= 0x80 || !xml::isNameChar(c)) << c;
        EXPECT_EQ(has(xml::kDoubleQuoteStops), c == '"' || c == '<' || c == '&') << c;
        EXPECT_EQ(has(xml::kSingleQuoteStops), c == '\'' || c == '<' || c == '&') << c;
        EXPECT_EQ(has(xml::kColons), c == ':') << c;
    }
}

// Every sequence of up to four bytes from those where the rules of UTF-8 and of XML change, at the
// places in a block where vectors and blocks meet.
TEST(BlockMasks, EveryKernelChecksCharacters) {
    const std::string_view edges(
        "\x00\x1F A\x7F\x80\x8F\x90\x9F\xA0\xBD\xBE\xBF\xC0\xC1\xC2\xDF\xE0"
        "\xED\xEF\xF0\xF4\xF5\xFF",
        24);
    RandomBytes random(2);
    for (int round = 0; round < 6000; ++round) {
        std::string text(3 * kBlockSize, 'x');
        const std::size_t around[] = {16, 32, 48, 64, 96, 128};
        const std::size_t at = around[random.below(std::size(around))] - random.below(4);
        const std::size_t count = 1 + random.below(4);
        for (std::size_t i = 0; i < count; ++i) {
            text[at + i] = edges[random.below(edges.size())];
        }
        compareKernels(text, xml::findBadCharacter(text) != text.size());
    }
    // Rare among those: U+FFFE and U+FFFF, and their neighbour, which is allowed.
    for (const char last : {'\xBD', '\xBE', '\xBF'}) {
        for (std::size_t at = 12; at < 2 * kBlockSize; ++at) {
            std::string text(3 * kBlockSize, 'x');
            text.replace(at, 3, {'\xEF', '\xBF', last});
            compareKernels(text, last != '\xBD');
        }
    }
}

TEST(FindBadCharacter, FollowsTheDefinitionForEveryCharacter) {
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        char bytes[4];
        const std::string text(bytes, xml::encodeUtf8(c, bytes));
        const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
        const bool allowed =
            (c >= 0x20 || c == 9 || c == 10 || c == 13) && !surrogate && c != 0xFFFE && c != 0xFFFF;
        ASSERT_EQ(xml::findBadCharacter(text) == text.size(), allowed) << static_cast<unsigned>(c);
    }
}

TEST(StopBytes, EveryKernelFindsTheFirst) {
    RandomBytes random(3);
    const xml::detail::StopSet set{{'<', '&', '>', '\r', '<', '<'}};
    for (int round = 0; round < 4000; ++round) {
        const std::size_t size = random.below(200);
        std::string text(size, 'x');
        std::size_t expected = size;
        for (std::size_t marks = random.below(3); marks > 0 && size != 0; --marks) {
            text[random.below(size)] = "<&>\r"[random.below(4)];
        }
        const std::size_t start = random.below(size + 1);
        expected = std::min(text.find_first_of("<&>\r", start), size);
        const auto from = static_cast<std::uint32_t>(start);
        const auto end = static_cast<std::uint32_t>(size);
        for (const auto& kernel : xml::detail::findStopKernels()) {
            if (cpu::supports(kernel.needs)) {
                ASSERT_EQ(kernel.run(text.data(), from, end, set), expected) << kernel.name;
            }
        }
        ASSERT_EQ(xml::findTextStop(text.data(), from, end), expected);
    }
    for (const char c : std::string_view("\"<&\t\n\r")) {
        const std::string text = std::string(40, 'x') + c + "y";
        for (std::uint32_t at = 0; at <= 40; ++at) {
            ASSERT_EQ(xml::findAttributeStop(text.data(), at, 42, '"'), 40U) << int{c};
        }
    }
}

} // namespace
} // namespace vantrel::test
