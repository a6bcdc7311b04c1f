// SPDX-License-Identifier: MIT
#include "foundation/json/ClsJsonObject.h"
#include "foundation/json/json_parts.h"
#include "foundation/json/json_value.h"
#include "foundation/json/json_writer.h"
#include "tests/support/vectors.h"

#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

std::string written(const json::JsonValue& value) {
    StringBuffer out;
    json::JsonWriter writer(out);
    writer.value(value);
    EXPECT_TRUE(writer.ok());
    return out.getString();
}

TEST(Json, ReadsAndWritesEveryForm) {
    forEachVector("json/json.vec", "valid", [](VecCase& v) {
        const std::string text = v.escaped("Text");
        const std::string wanted = v.escaped("Out");
        json::JsonValue value;
        std::size_t faultAt = 0;
        ASSERT_TRUE(json::parseJson(text, value, faultAt)) << v.where() << faultAt;
        EXPECT_EQ(written(value), wanted) << v.where();
        // What is written reads back as itself.
        ASSERT_TRUE(json::parseJson(wanted, value, faultAt)) << v.where();
        EXPECT_EQ(written(value), wanted) << v.where();
        // No proper front of an array, object or string is a JSON text.
        const std::string_view inner = wanted;
        for (std::size_t cut = 1; cut < inner.size() && inner.find_first_of("[{\"") == 0; ++cut) {
            EXPECT_FALSE(json::parseJson(inner.substr(0, cut), value, faultAt)) << v.where() << cut;
        }
    });
}

// Long and short, with what has to be escaped at the front, in the middle and at the end.
TEST(Json, StringsOfEveryLengthComeBack) {
    for (std::size_t size = 1; size < 300; ++size) {
        for (const std::size_t odd : {size, std::size_t{0}, size / 2, size - 1}) {
            std::string text(size, 'x');
            if (odd < size) {
                text[odd] = size % 2 == 0 ? '"' : '\n';
            }
            json::JsonValue object(json::JsonValue::Kind::Object);
            object.members().push_back({text, json::JsonValue::ofText(text)});
            const std::string json = written(object);
            EXPECT_EQ(json.size(), 2 * size + (odd < size ? 9U : 7U));
            json::JsonValue read;
            std::size_t faultAt = 0;
            ASSERT_TRUE(json::parseJson(json, read, faultAt)) << json;
            EXPECT_EQ(read.members().at(0).name, text);
            EXPECT_EQ(read.members().at(0).value.text(), text);
        }
    }
}

TEST(Json, SaysWhereATextStopsBeingJson) {
    forEachVector("json/json.vec", "invalid", [](VecCase& v) {
        json::JsonValue value = json::JsonValue::ofInteger(7);
        std::size_t faultAt = 99;
        EXPECT_FALSE(json::parseJson(v.escaped("Text"), value, faultAt)) << v.where();
        EXPECT_EQ(faultAt, static_cast<std::size_t>(v.integer("Fault"))) << v.where();
        EXPECT_EQ(written(value), "7") << v.where();
    });
}

// The parts of an object that holds `text` as its one member, joined by bars; "fault" at a fault.
std::string partsAround(const std::string& text) {
    const std::string object = " { \"\\u006e\" : " + text + " } ";
    json::JsonParts parts(object);
    std::string out;
    StringBuffer name;
    std::string_view value;
    while (parts.next(name, value)) {
        out += std::string(name.view()) + "|" + std::string(value) + "|";
    }
    return parts.failed() ? "fault" : out;
}

TEST(Json, BoundsTheNesting) {
    const auto nested = [](std::size_t depth) {
        return std::string(depth, '[') + std::string(depth, ']');
    };
    json::JsonValue value;
    std::size_t faultAt = 0;
    EXPECT_TRUE(json::parseJson(nested(json::kMaxJsonDepth), value, faultAt));
    EXPECT_FALSE(json::parseJson(nested(json::kMaxJsonDepth + 1), value, faultAt));
    EXPECT_FALSE(json::parseJson(std::string(1000000, '['), value, faultAt));
    EXPECT_FALSE(json::parseJson(std::string(1000000, '{'), value, faultAt));
    // Passed over, it is bounded alike, and needs no stack.
    EXPECT_NE(partsAround(nested(json::kMaxJsonDepth)), "fault");
    EXPECT_EQ(partsAround(nested(json::kMaxJsonDepth + 1)), "fault");
    EXPECT_EQ(partsAround(std::string(1000000, '[')), "fault");
}

// Whoever reads a text piece by piece takes what the reader of values takes, and nothing else.
TEST(Json, PartsAgreeWithValues) {
    forEachVector("json/json.vec", "valid", [](VecCase& v) {
        const std::string text = v.escaped("Text");
        static_cast<void>(v.escaped("Out"));
        json::JsonValue value;
        std::size_t faultAt = 0;
        ASSERT_TRUE(json::parseJson(text, value, faultAt));
        const std::string found = partsAround(text);
        ASSERT_TRUE(found.starts_with("n|") && found.ends_with("|")) << v.where() << found;
        json::JsonValue again;
        const std::string raw = found.substr(2, found.size() - 3);
        ASSERT_TRUE(json::parseJson(raw, again, faultAt)) << v.where() << raw;
        EXPECT_EQ(written(again), written(value)) << v.where();
    });
    forEachVector("json/json.vec", "invalid", [](VecCase& v) {
        static_cast<void>(v.integer("Fault"));
        EXPECT_EQ(partsAround(v.escaped("Text")), "fault") << v.where();
    });
    for (const char* const text : {"", "7", "\"a\"", "{\"a\":1}x", "[1]]", "[1,,2]"}) {
        json::JsonParts parts(text);
        StringBuffer name;
        std::string_view value;
        while (parts.next(name, value)) {}
        EXPECT_TRUE(parts.failed()) << text;
        EXPECT_FALSE(parts.next(name, value)) << text;
    }
}

TEST(Json, PartsBeforeAFaultAreHandedOut) {
    const std::string text = "{\"id\": [7, {}] ,\"b\":\"cut";
    json::JsonParts parts(text);
    StringBuffer name;
    std::string_view value;
    ASSERT_TRUE(parts.next(name, value));
    EXPECT_EQ(value, "[7, {}]");
    EXPECT_FALSE(parts.next(name, value));
    EXPECT_TRUE(parts.failed());
    EXPECT_EQ(parts.faultAt(), text.size());
}

TEST(Json, WriterSetsCommasAndReplacesWhatIsNotUtf8) {
    StringBuffer out;
    json::JsonWriter writer(out);
    writer.beginObject();
    writer.textMember("a\"", "x\xE4y\xED\xA0\x80");
    writer.key("list");
    writer.beginArray();
    writer.integer(-1);
    writer.null();
    writer.beginObject();
    writer.endObject();
    writer.raw("{\"r\":1}");
    writer.endArray();
    writer.booleanMember("b", false);
    writer.integerMember("n", INT64_MIN);
    writer.endObject();
    EXPECT_EQ(out.view(),
              "{\"a\\\"\":\"x\xEF\xBF\xBDy\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\","
              "\"list\":[-1,null,{},{\"r\":1}],\"b\":false,\"n\":-9223372036854775808}");
    json::JsonValue value;
    std::size_t faultAt = 0;
    EXPECT_TRUE(json::parseJson(out.view(), value, faultAt));
}

// Short members are put in one piece, others piece by piece: around the sizes where that changes,
// and with names that are escaped, the text is the same.
TEST(Json, WriterWritesMembersOfEverySizeAlike) {
    for (std::size_t size = 0; size < 520;
         size += size < 240 || (size > 262 && size < 500) ? 20 : 1) {
        for (const char* const end : {"", "\"", "\n"}) {
            const std::string name = std::string(size, 'n') + end;
            const std::string escaped = "\"" + std::string(size, 'n') +
                                        (*end == '\0'  ? ""
                                         : *end == '"' ? "\\\""
                                                       : "\\n") +
                                        "\"";
            StringBuffer out;
            json::JsonWriter writer(out);
            writer.beginObject();
            writer.textMember(name, name);
            writer.integerMember(name, -7);
            writer.booleanMember(name, true);
            writer.booleanMember(name, false);
            writer.key(name);
            writer.text("v");
            writer.endObject();
            EXPECT_EQ(out.view(), "{" + escaped + ":" + escaped + "," + escaped + ":-7," + escaped +
                                      ":true," + escaped + ":false," + escaped + ":\"v\"}")
                << size;
        }
    }
}

// Strings are looked at eight letters at a time: every ASCII letter at every place of short and
// long ones, as a name and as a value, is escaped where it must be, and read back.
TEST(Json, WriterEscapesAtEveryPlace) {
    for (const std::size_t size : {1U, 7U, 8U, 9U, 16U, 23U, 300U}) {
        for (std::size_t at = 0; at<size; at += size> 100 ? 37 : 1) {
            for (int c = 0; c < 0x80; ++c) {
                std::string text(size, 'a');
                text[at] = static_cast<char>(c);
                StringBuffer out;
                json::JsonWriter writer(out);
                writer.beginObject();
                writer.textMember(text, text);
                writer.endObject();
                const bool escaped = c < 0x20 || c == 0x7F || c == '"' || c == '\\';
                const std::size_t plain = 2 * size + 7;
                EXPECT_EQ(out.getSize() > plain, escaped) << size << " " << at << " " << c;
                json::JsonValue value;
                std::size_t faultAt = 0;
                ASSERT_TRUE(json::parseJson(out.view(), value, faultAt)) << out.view();
                EXPECT_EQ(value.members().front().name, text);
                EXPECT_EQ(value.members().front().value.text(), text);
            }
        }
    }
}

// A text that would pass its limit is cut off and says so, at whatever byte that is.
TEST(Json, WriterKeepsItsLimit) {
    const auto write = [](json::JsonWriter& writer) {
        writer.beginObject();
        writer.textMember("name", "a\n\xC3\xA4");
        writer.integerMember("n", 12345);
        writer.endObject();
    };
    StringBuffer whole;
    json::JsonWriter unlimited(whole);
    write(unlimited);
    for (std::uint32_t most = 0; most <= whole.getSize(); ++most) {
        StringBuffer out;
        json::JsonWriter writer(out, most);
        write(writer);
        EXPECT_LE(out.getSize(), most);
        EXPECT_EQ(writer.ok(), most == whole.getSize());
        EXPECT_EQ(writer.passedLimit(), !writer.ok());
        EXPECT_TRUE(whole.view().starts_with(out.view()));
    }
}

TEST(JsonObject, FollowsPaths) {
    forEachVector("json/json.vec", "paths", [](VecCase& v) {
        ClsJsonObject object;
        ASSERT_TRUE(object.Load(XString(v.text("Json")))) << v.where();
        XString text("before");
        const XString path(v.text("Path"));
        EXPECT_EQ(object.StringOf(path, text), v.has("Value")) << v.where();
        EXPECT_EQ(text.getUtf8(), v.textOr("Value", "")) << v.where();
    });
}

TEST(JsonObject, UpdatesPathsWholeOrNotAtAll) {
    forEachVector("json/json.vec", "updates", [](VecCase& v) {
        ClsJsonObject object;
        ASSERT_TRUE(object.Load(XString(v.text("Json")))) << v.where();
        const XString path(v.text("Path"));
        EXPECT_EQ(object.UpdateString(path, XString("v")), v.has("Out")) << v.where();
        XString json;
        EXPECT_TRUE(object.Emit(json));
        EXPECT_EQ(json.getUtf8(), v.textOr("Out", v.text("Json"))) << v.where();
        EXPECT_EQ(object.Delete(path), v.has("Out")) << v.where();
        EXPECT_FALSE(object.HasMember(path)) << v.where();
    });
}

TEST(JsonObject, ConvertsWhatItIsAskedFor) {
    ClsJsonObject object;
    ASSERT_TRUE(object.UpdateInt(XString("i"), -5));
    ASSERT_TRUE(object.UpdateBool(XString("b"), true));
    ASSERT_TRUE(object.UpdateNull(XString("n")));
    ASSERT_TRUE(object.UpdateString(XString("s"), XString("42")));
    ASSERT_TRUE(object.UpdateInt(XString("l[0]"), 1));
    EXPECT_EQ(object.IntOf(XString("i")), -5);
    EXPECT_EQ(object.IntOf(XString("s")), 42);
    EXPECT_EQ(object.IntOf(XString("none")), 0);
    EXPECT_TRUE(object.BoolOf(XString("b")));
    EXPECT_TRUE(object.BoolOf(XString("i")));
    EXPECT_FALSE(object.BoolOf(XString("s")));
    EXPECT_TRUE(object.IsNullOf(XString("n")));
    EXPECT_EQ(object.SizeOfArray(XString("l")), 1);
    EXPECT_EQ(object.SizeOfArray(XString("i")), -1);
    EXPECT_EQ(object.get_Size(), 5);
    EXPECT_FALSE(object.Load(XString("[1]")));
    EXPECT_EQ(object.get_Size(), 5);
    XString line;
    object.get_LastErrorLine(line);
    EXPECT_STREQ(line.getUtf8(), "The JSON text is not an object.");
    // A path deeper than a text may be is refused.
    XString deep("a");
    for (int i = 0; i < 300; ++i) {
        deep.appendUtf8(".a");
    }
    EXPECT_FALSE(object.UpdateInt(deep, 1));
}

} // namespace
} // namespace vantrel::test
