// SPDX-License-Identifier: MIT
#include "foundation/text/encoders.h"

#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/text/base64_kernels.h"
#include "tests/support/bytes.h"
#include "tests/support/recording_log.h"
#include "tests/support/vectors.h"

#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

TEST(Encoders, DecodeWhatTheVectorsSay) {
    forEachVector("text/encoders.vec", "decode", [](VecCase& v) {
        const std::string text = v.escaped("Text");
        const std::string encoding = v.text("Encoding");
        const bool result = v.boolean("Result");
        // What was there stays in front.
        DataBuffer out;
        out.append("xy", 2);
        EXPECT_EQ(out.appendEncoded(std::string_view(text), encoding.c_str()), result) << v.where();
        EXPECT_EQ(toHex(out.view()), std::string("7879").append(v.text("Bytes"))) << v.where();

        _clsEncode encoder;
        encoder.put_EncodingMode(encoding.c_str());
        RecordingLog log;
        EXPECT_EQ(encoder.decodeBinary(XString(text), out, false, log), result) << v.where();
        EXPECT_EQ(log.errors.empty(), result) << v.where();
        EXPECT_EQ(toHex(out.view()), v.text("Bytes")) << v.where();
    });
}

TEST(Encoders, EncodeWhatTheVectorsSay) {
    forEachVector("text/encoders.vec", "encode", [](VecCase& v) {
        const DataBuffer data{ByteView(v.hex("Bytes"))};
        StringBuffer out("front");
        const StringBuffer witness(out);
        EXPECT_TRUE(data.encodeDB(v.text("Encoding").c_str(), out)) << v.where();
        EXPECT_EQ(out.view(), std::string("front").append(v.escaped("Text"))) << v.where();
        EXPECT_EQ(witness.view(), "front") << v.where();
    });
}

// Every length, on one line and broken up, with every kernel, against the test's own encoder.
TEST(Base64, KernelsDecodeEveryLength) {
    RandomBytes random(7);
    for (std::size_t size = 0; size <= 400; ++size) {
        const Bytes bytes = random.bytes(size);
        const std::string line = toBase64(bytes);
        std::string broken;
        for (const char c : line) {
            broken.append(random.below(20) == 0 ? random.below(40) : 0, ' ');
            broken += broken.size() % 65 == 64 ? "\r\n" : "";
            broken += c;
        }
        for (const text::Base64Kernel& kernel : text::base64Kernels()) {
            if (!cpu::supports(kernel.needs)) {
                continue;
            }
            for (const std::string& text : {line, broken}) {
                DataBuffer out;
                EXPECT_TRUE(text::decodeBase64With(kernel, text, out)) << kernel.name << size;
                EXPECT_EQ(toHex(out.view()), toHex(bytes)) << kernel.name << size;
            }
        }
        StringBuffer encoded;
        EXPECT_TRUE(
            ContentCoding::encodeBase64(bytes.data(), static_cast<std::uint32_t>(size), encoded));
        EXPECT_EQ(encoded.view(), line);
    }
}

// Every byte at every place of a text that has all parts of the kernels at work: the kernels agree,
// and what they accept is what belongs to the alphabet or is white space.
TEST(Base64, KernelsRefuseEveryForeignByte) {
    const std::string good = toBase64(RandomBytes(8).bytes(150)); // 200 characters, no padding
    const text::Base64Kernel& portable = text::base64Kernels().back();
    for (std::size_t at = 0; at < good.size(); at += 3) {
        for (int byte = 0; byte < 256; ++byte) {
            std::string text = good;
            text[at] = static_cast<char>(byte);
            const bool belongs =
                byte != 0 && text::kBase64Alphabet.find(text[at]) != std::string_view::npos;
            DataBuffer wanted;
            EXPECT_EQ(text::decodeBase64With(portable, text, wanted), belongs) << at << " " << byte;
            for (const text::Base64Kernel& kernel : text::base64Kernels()) {
                if (!cpu::supports(kernel.needs)) {
                    continue;
                }
                DataBuffer out;
                EXPECT_EQ(text::decodeBase64With(kernel, text, out), belongs) << kernel.name << at;
                EXPECT_TRUE(out.equals(wanted)) << kernel.name << " " << at << " " << byte;
            }
        }
    }
}

// Texts longer than the pieces in which white space is taken out, cut off at every place of the
// end.
TEST(Base64, KernelsAgreeOnLongBrokenText) {
    RandomBytes random(9);
    const Bytes bytes = random.bytes(12000);
    std::string text;
    for (const char c : toBase64(bytes)) {
        text += c;
        text.append(text.size() % 77 == 76 ? 1 : 0, '\n');
    }
    for (std::size_t cut = 0; cut < 150; ++cut) {
        const std::string_view part = std::string_view(text).substr(0, text.size() - cut);
        DataBuffer wanted;
        const bool ok = text::decodeBase64With(text::base64Kernels().back(), part, wanted);
        ASSERT_EQ(toHex(wanted.view()), toHex(std::span(bytes).first(wanted.getSize()))) << cut;
        for (const text::Base64Kernel& kernel : text::base64Kernels()) {
            DataBuffer out;
            if (cpu::supports(kernel.needs)) {
                EXPECT_EQ(text::decodeBase64With(kernel, part, out), ok) << kernel.name << cut;
                EXPECT_TRUE(out.equals(wanted)) << kernel.name << cut;
            }
        }
    }
}

TEST(XString, ReencodesNumbers) {
    forEachVector("text/encoders.vec", "reencode", [](VecCase& v) {
        const std::string before = v.escaped("Value");
        XString value(before);
        EXPECT_EQ(value.reencode(v.text("From").c_str(), v.text("To").c_str()), v.has("Out"))
            << v.where();
        EXPECT_EQ(value.getUtf8Sb().view(), v.has("Out") ? v.text("Out") : before) << v.where();
    });
    // Bounded, since the time grows with the square; and back again just below the bound.
    XString longest(std::string(20000, '7'));
    EXPECT_TRUE(longest.reencode("decimal", "hex"));
    EXPECT_TRUE(longest.reencode("hex", "decimal"));
    EXPECT_TRUE(longest.getUtf8Sb().view() == std::string(20000, '7'));
    XString tooLong(std::string(20001, '7'));
    EXPECT_FALSE(tooLong.reencode("decimal", "hex"));
}

TEST(DataBuffer, ConvertsXmlToUtf8) {
    forEachVector("text/encoders.vec", "xml encoding", [](VecCase& v) {
        const Bytes bytes = v.hex("Bytes");
        DataBuffer data{ByteView(bytes)};
        RecordingLog log;
        EXPECT_EQ(data.convertXmlToUtf8(log), v.has("Text")) << v.where();
        EXPECT_EQ(log.errors.empty(), v.has("Text")) << v.where();
        EXPECT_EQ(textOf(data.view()), v.has("Text") ? v.escaped("Text") : textOf(bytes))
            << v.where();
    });
}

} // namespace
} // namespace vantrel::test
