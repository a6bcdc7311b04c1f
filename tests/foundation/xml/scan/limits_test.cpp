// SPDX-License-Identifier: MIT
#include "tests/foundation/xml/scan/scan_support.h"

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

std::string repeat(std::string_view text, std::size_t count) {
    std::string result;
    result.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

std::string numbered(std::string_view before, std::size_t count, std::string_view after) {
    std::string result;
    for (std::size_t i = 0; i < count; ++i) {
        result.append(before).append(std::to_string(i)).append(after);
    }
    return result;
}

void expectRefused(const std::string& text, std::string_view limit) {
    const Parsed parsed = parseXml(text);
    EXPECT_NE(parsed.verdict().find("Limit passed: " + std::string(limit)), std::string::npos)
        << parsed.verdict();
}

TEST(XmlLimits, NestingDepth) {
    const auto nested = [](std::size_t depth) {
        return repeat("<a>", depth) + repeat("</a>", depth);
    };
    EXPECT_EQ(parseXml(nested(xml::kMaxDepth - 1)).verdict(), "");
    EXPECT_EQ(parseXml(nested(xml::kMaxDepth)).verdict(), "");
    expectRefused(nested(xml::kMaxDepth + 1), "the nesting depth of elements");
}

TEST(XmlLimits, AttributesOfOneElement) {
    const auto withAttributes = [](std::size_t count) {
        return "<a " + numbered("b", count, "='' ") + "/>";
    };
    EXPECT_EQ(parseXml(withAttributes(xml::kMaxAttributes)).verdict(), "");
    expectRefused(withAttributes(xml::kMaxAttributes + 1),
                  "the number of attributes of an element");
    const auto withDefault = [](std::size_t count) {
        return "<!DOCTYPE a [<!ATTLIST a d CDATA 'x'>]><a " + numbered("b", count, "='' ") + "/>";
    };
    EXPECT_EQ(parseXml(withDefault(xml::kMaxAttributes - 1)).verdict(), "");
    expectRefused(withDefault(xml::kMaxAttributes), "the number of attributes with their defaults");
}

TEST(XmlLimits, EntityExpansion) {
    // Each entity ten times the one before it.
    const auto laughs = [](int levels, std::string_view first) {
        std::string text = "<!DOCTYPE a [<!ENTITY e0 '" + std::string(first) + "'>";
        for (int i = 1; i <= levels; ++i) {
            text += "<!ENTITY e" + std::to_string(i) + " '" +
                    repeat("&e" + std::to_string(i - 1) + ";", 10) + "'>";
        }
        return text + "]>";
    };
    const auto inContent = [&](int levels) {
        return laughs(levels, "lol") + "<a>&e" + std::to_string(levels) + ";</a>";
    };
    const Parsed small = parseXml(inContent(4));
    ASSERT_EQ(small.verdict(), "");
    EXPECT_EQ(small.document->text().size(), small.document->sourceText().getSize() - 4 + 30'000);
    expectRefused(inContent(9), "the amplification of entities");
    // What expands to nothing costs time all the same.
    expectRefused(laughs(12, "") + "<a>&e12;</a>", "the amplification of entities");
    expectRefused(laughs(9, "x") + "<a b='&e9;'/>", "the amplification of entities");
    // A large entity often, within the multiple, up to the size.
    const auto large = [](std::size_t count) {
        return "<!DOCTYPE a [<!ENTITY e '" + std::string(1 << 20, 'x') + "'>]><a>" +
               repeat("&e;", count) + "</a>";
    };
    EXPECT_EQ(parseXml(large(63)).verdict(), "");
    expectRefused(large(64), "the size of expanded entities");
    // A medium one up to the multiple; a reference counts with 16 bytes beside its text.
    const auto medium = [](std::size_t count) {
        return "<!DOCTYPE a [<!ENTITY e '" + std::string(20000, 'x') + "'>]><a>" +
               repeat("&e;", count) + "</a>";
    };
    EXPECT_EQ(parseXml(medium(xml::kMaxEntityAmplification - 1)).verdict(), "");
    expectRefused(medium(xml::kMaxEntityAmplification), "the amplification of entities");
    // A small one as often as a document likes.
    EXPECT_EQ(
        parseXml("<!DOCTYPE a [<!ENTITY e 'GmbH'>]><a>" + repeat("&e;", 5000) + "</a>").verdict(),
        "");
}

// At the bound, to the byte: one long default, and many empty ones, which cost memory all the same.
TEST(XmlLimits, AttributeDefaults) {
    for (const auto& [count, length] :
         {std::pair<std::size_t, std::size_t>{1, 1U << 16}, {1000, 0}}) {
        const std::string value = " CDATA '" + std::string(length, 'x') + "' ";
        std::string start = "<!DOCTYPE a [<!ATTLIST b ";
        for (std::size_t i = 0; i < count; ++i) {
            start += "d" + std::to_string(1000 + i) + value;
        }
        start += ">]><a>";
        const std::size_t each = count * (5 + length + xml::kDefaultOverhead);
        const auto document = [&](std::size_t elements, std::size_t padding) {
            return start + repeat("<b/>", elements) + std::string(padding, ' ') + "</a>";
        };
        // n elements fit when n * each <= kMaxDefaultBytes + 4 * size; each adds 4 bytes of text.
        const std::size_t fixed = start.size() + 4;
        const std::size_t fit = (xml::kMaxDefaultBytes + 4 * fixed) / (each - 16);
        EXPECT_EQ(parseXml(document(fit, 0)).verdict(), "") << length;
        expectRefused(document(fit + 1, 0), "the size of attribute defaults");
        // A longer document may take more.
        const std::size_t missing = (fit + 1) * (each - 16) - xml::kMaxDefaultBytes - 4 * fixed;
        EXPECT_EQ(parseXml(document(fit + 1, (missing + 3) / 4)).verdict(), "") << length;
        expectRefused(document(fit + 1, (missing + 3) / 4 - 1), "the size of attribute defaults");
    }
    // An attribute that is written takes no default.
    EXPECT_EQ(parseXml("<!DOCTYPE a [<!ATTLIST b d CDATA '" + std::string(1 << 20, 'x') +
                       "'>]><a>" + repeat("<b d=''/>", 200) + "</a>")
                  .verdict(),
              "");
}

TEST(XmlLimits, ParameterEntitiesAndModels) {
    std::string parameters = "<!DOCTYPE a [<!ENTITY % p0 '<!---->'>";
    for (int i = 1; i <= 12; ++i) {
        parameters += "<!ENTITY % p" + std::to_string(i) + " '" +
                      repeat("&#37;p" + std::to_string(i - 1) + ";", 10) + "'>";
    }
    expectRefused(parameters + "%p12;]><a/>", "the amplification of entities");
    const auto model = [](std::size_t depth) {
        return "<!DOCTYPE a [<!ELEMENT a " + repeat("(", depth) + "b" + repeat(")", depth) +
               ">]><a/>";
    };
    EXPECT_EQ(parseXml(model(xml::kMaxModelNesting)).verdict(), "");
    expectRefused(model(xml::kMaxModelNesting + 1), "the nesting of a content model");
    std::string chain = "<!DOCTYPE a [<!ENTITY e0 'x'>";
    for (std::uint32_t i = 1; i <= xml::kMaxEntityNesting + 1; ++i) {
        chain += "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i - 1) + ";'>";
    }
    const auto chained = [&](std::uint32_t level) {
        return chain + "]><a>&e" + std::to_string(level) + ";</a>";
    };
    EXPECT_EQ(parseXml(chained(xml::kMaxEntityNesting - 1)).verdict(), "");
    EXPECT_NE(parseXml(chained(xml::kMaxEntityNesting + 1)).verdict(), "");
}

} // namespace
} // namespace vantrel::test
