// SPDX-License-Identifier: MIT
#include "foundation/base/ClsBase.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/base/ClsStringArray.h"
#include "foundation/base/ClsStringBuilder.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/base/_vlLogger.h"
#include "foundation/base/log_tape.h"
#include "foundation/text/DataBuffer.h"
#include "tests/support/bytes.h"
#include "tests/support/process.h"

#include <algorithm>
#include <new>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

TEST(Logger, WritesNestedEntries) {
    _vlLogger log;
    {
        const LogContextExitor outer(log, "outer");
        log.LogDataLong("n", -5);
        const LogContextExitor inner(log, "inner");
        log.LogInfo("An info line.");
        log.LogDataBool("flag", true);
        log.LogDataUint32("big", 4294967295U);
        log.LogDataHexDb("hash", DataBuffer(ByteView(bytesOf("\x01\xFE"))));
        log.LogBracketed("text", " a\nb ");
    }
    log.LogDataX("after", XString("x"));
    EXPECT_EQ(log.text().view(), "outer:\n"
                                 "  n: -5\n"
                                 "  inner:\n"
                                 "    An info line.\n"
                                 "    flag: true\n"
                                 "    big: 4294967295\n"
                                 "    hash: 01FE\n"
                                 "    text: [ a\nb ]\n"
                                 "after: x\n");
}

// No value from a document can look like an entry of its own, at whatever place the escape falls.
TEST(Logger, KeepsValuesOnOneLine) {
    for (std::size_t before = 0; before < 70; ++before) {
        _vlLogger log;
        const std::string value = std::string(before, 'v') + "\n\r\t\x01\x7F\xC3\xA4Success.";
        log.logText("uri", value);
        EXPECT_EQ(log.text().view(), std::string("uri: ")
                                         .append(before, 'v')
                                         .append("\\n\\r\\t\\x01\\x7F\xC3\xA4Success.\n"));
    }
    _vlLogger oneLine;
    oneLine.setOneLineValues(true);
    oneLine.clearLog();
    oneLine.LogBracketed("text", "a]\nError: b");
    EXPECT_EQ(oneLine.text().view(), "text: [a]\\nError: b]\n");
}

// A log with room writes most entries at once, a new one in pieces.
TEST(Logger, EntriesReadAlikeHoweverTheyAreWritten) {
    RandomBytes random(5);
    _vlLogger log;
    std::string expected;
    std::size_t depth = 0;
    for (int i = 0; i < 2000; ++i) {
        const std::string key(random.below(40), 'k');
        Bytes value = random.bytes(random.below(i % 100 == 0 ? 2000 : 60));
        const bool isPlain = random.below(4) != 0;
        for (std::uint8_t& byte : value) {
            byte = static_cast<std::uint8_t>(isPlain ? 0x20 + byte % 0x5F : byte);
        }
        if (isPlain && !value.empty() && random.below(3) == 0) { // but for one
            value[random.below(value.size())] = static_cast<std::uint8_t>(random.below(256));
        }
        _vlLogger once;
        once.logText(key.c_str(), asText(value));
        log.logText(key.c_str(), asText(value));
        // No deeper than twenty.
        const std::string indent(2 * std::min<std::size_t>(depth, 20), ' ');
        expected.append(indent).append(once.text().view());
        if (random.below(3) == 0 && depth < 25) {
            log.enterContext(key.c_str());
            expected.append(indent).append(key).append(":\n");
            ++depth;
        } else if (random.below(3) == 0 && depth > 0) {
            log.leaveContext();
            --depth;
        }
    }
    EXPECT_EQ(log.text().view(), expected);
}

TEST(Logger, RemembersTheFirstAndTheLastError) {
    _vlLogger log;
    EXPECT_EQ(log.firstErrorLine(), "");
    log.LogError("one");
    log.LogInfo("between");
    log.LogError("two");
    EXPECT_EQ(log.firstErrorLine(), "one");
    EXPECT_EQ(log.lastErrorLine(), "two");
    log.clearLog();
    EXPECT_EQ(log.lastErrorLine(), "");
    EXPECT_TRUE(log.text().isEmpty());
    for (int i = 0; i < 200; ++i) {
        log.enterContext("deep"); // indentation is bounded, the depth is not
    }
    for (int i = 0; i < 300; ++i) {
        log.leaveContext();
    }
    log.LogError("flat");
    EXPECT_TRUE(log.text().view().ends_with("\nError: flat\n"));
}

TEST(Logger, ShowsLongValuesCutBetweenCharacters) {
    for (std::size_t before = _vlLogger::kMaxShownValue - 8; before <= _vlLogger::kMaxShownValue;
         ++before) {
        const std::string value = std::string(before, 'v') + "\xF0\x9F\x98\x80 and more";
        _vlLogger log;
        log.logText("k", value);
        const std::string text(log.text().view());
        const std::size_t mark = text.find("... (");
        ASSERT_NE(mark, std::string::npos) << before;
        const std::string shown = text.substr(3, mark - 3);
        EXPECT_EQ(value.substr(0, shown.size()), shown);
        EXPECT_LE(shown.size(), _vlLogger::kMaxShownValue);
        EXPECT_NE(static_cast<unsigned char>(value[shown.size()]) >> 6, 2);
        EXPECT_EQ(text.substr(mark),
                  "... (" + std::to_string(value.size() - shown.size()) + " more bytes)\n");
        log.clearLog();
        log.LogBracketed("k", value); // what readers compare with a document stays whole
        EXPECT_EQ(log.text().view(), "k: [" + value + "]\n");
    }
}

TEST(Logger, EndsAtItsLimitAndRemembersErrors) {
    const std::string end = "The log ends here: it has reached its limit (logOctets).\n";
    for (const std::size_t entries : {1000U, 2000U}) {
        _vlLogger log;
        log.setLimit(5000);
        const LogContextExitor context(log, "outer");
        for (std::size_t i = 0; i < entries; ++i) {
            log.logText("key", std::string(100, 'v'));
        }
        EXPECT_FALSE(log.isRecording());
        EXPECT_EQ(log.lastErrorLine(), "");
        log.LogError("late");
        log.LogError("later");
        log.LogInfo("lost");
        log.LogBracketed("lost", "value");
        const std::string text(log.text().view());
        EXPECT_LE(text.size(), 5000U + 150 + end.size());
        EXPECT_TRUE(text.ends_with("v\n" + end)) << text;
        EXPECT_EQ(log.firstErrorLine(), "late");
        EXPECT_EQ(log.lastErrorLine(), "later");
        log.clearLog();
        EXPECT_TRUE(log.isRecording());
        EXPECT_EQ(log.lastErrorLine(), "");
        log.LogError("early");
        log.logText("key", std::string(6000, 'v'));
        log.LogError("late");
        EXPECT_EQ(log.firstErrorLine(), "early");
        EXPECT_EQ(log.lastErrorLine(), "late");
    }
}

// A part that is shared until the log is read leaves what a copy would have left.
TEST(Logger, SharesPartsOfTextsWithoutATrace) {
    for (const std::size_t size :
         {std::size_t{5}, _vlLogger::kWorthSharing, _vlLogger::kMaxBracketedValue + 1}) {
        for (const std::uint64_t room :
             {std::uint64_t{1}, std::uint64_t{100}, std::uint64_t{1} << 30}) {
            for (const bool oneLine : {false, true}) {
                const StringBuffer text("<a>\n" + std::string(size, 'v') + "</a>");
                const auto part = static_cast<std::uint32_t>(size);
                _vlLogger sharing;
                _vlLogger copying;
                for (_vlLogger* const log : {&sharing, &copying}) {
                    const bool shares = log == &sharing;
                    const auto putPart = [&](std::uint32_t start) {
                        if (shares) {
                            log->LogBracketedPart("part", text, start, part);
                        } else {
                            log->LogBracketed("part", text.view().substr(start, part));
                        }
                    };
                    log->setOneLineValues(oneLine);
                    log->setLimit(size + room);
                    const LogContextExitor outer(*log, "outer");
                    log->LogError("first");
                    putPart(3);
                    log->LogError("second");
                    putPart(2);
                    log->LogInfo("third");
                    for (int i = 0; i < 2; ++i) {
                        EXPECT_EQ(log->firstErrorLine(), "first");
                        EXPECT_EQ(log->lastErrorLine(), "second");
                        static_cast<void>(log->text());
                    }
                    log->LogInfo("fourth");
                }
                EXPECT_EQ(sharing.text().view(), copying.text().view()) << size << " " << room;
                sharing.clearLog();
                EXPECT_TRUE(sharing.text().isEmpty());
            }
        }
    }
}

// Replayed, a tape leaves what the same calls would have left.
TEST(Logger, TapesAreReplayedAsTheyWereWritten) {
    const auto write = [](LogBase& log) {
        const LogContextExitor outer(log, "outer");
        log.LogDataLong("n", -5);
        log.LogError("one");
        const LogContextExitor inner(log, "inner");
        log.LogInfo("two");
        log.LogDataHexDb("hash", DataBuffer(ByteView(bytesOf("\x01\xFE"))));
        log.LogBracketed("text", " a\nb ");
    };
    _vlLogger direct;
    _vlLogger replayed;
    direct.setVerbose(true);
    LogTape tape(direct);
    EXPECT_TRUE(tape.verbose());
    for (LogBase* const log : {static_cast<LogBase*>(&direct), static_cast<LogBase*>(&tape)}) {
        write(*log);
    }
    const std::vector<LogTape::Line> lines = tape.take();
    LogTape::replay(lines, replayed);
    EXPECT_EQ(replayed.text().view(), direct.text().view());
    EXPECT_EQ(replayed.lastErrorLine(), "one");
    LogTape::replay(lines, replayed);
    EXPECT_EQ(replayed.text().getSize(), 2 * direct.text().getSize());
}

class Sample final : public ClsBase {
public:
    bool Outer(bool ok) {
        return MethodFrame::run(*this, "Outer", [&](MethodFrame& frame) {
            m_log.LogInfo("outer line");
            Inner();
            return frame.finish(ok);
        });
    }
    int Inner() {
        return MethodFrame::runLater(*this, "Inner", [&](MethodFrame& /*frame*/) {
            m_log.LogError("inner line");
            return 1;
        });
    }
    bool Quiet() {
        return MethodFrame::run(*this, "Quiet",
                                [](MethodFrame& frame) { return frame.result(true); });
    }
    bool Failing() {
        return MethodFrame::runLater(
            *this, "Failing", [](MethodFrame& /*frame*/) -> bool { throw std::bad_alloc(); });
    }
    void setJson() { m_log.setLastJsonData(StringBuffer("{}")); }
};

std::string logOf(ClsBase& object) {
    XString text;
    object.get_LastErrorText(text);
    return text.getUtf8();
}

TEST(MethodFrame, EachOutermostOperationStartsItsOwnLog) {
    Sample object;
    object.setJson();
    EXPECT_TRUE(object.Outer(true));
    const std::string first = "Outer:\n  outer line\n  Inner:\n    Error: inner line\n  Success.\n";
    EXPECT_EQ(logOf(object), first);
    EXPECT_TRUE(object.get_LastMethodSuccess());
    XString json;
    object.get_LastJsonData(json);
    EXPECT_TRUE(json.isEmpty());

    EXPECT_FALSE(object.Outer(false));
    EXPECT_FALSE(object.get_LastMethodSuccess());
    XString line;
    object.get_LastErrorLine(line);
    EXPECT_STREQ(line.getUtf8(), "inner line");

    EXPECT_TRUE(object.Quiet());
    EXPECT_EQ(logOf(object), "Quiet:\n");
    EXPECT_TRUE(object.get_LastMethodSuccess());
    EXPECT_FALSE(object.Failing());
    EXPECT_EQ(logOf(object), "Failing:\n  Error: Out of memory.\n");

    object.injectError("Wrapper", "no such object");
    EXPECT_EQ(logOf(object), "Wrapper:\n  Error: no such object\n");
    object.injectStatus("Wrapper", true);
    EXPECT_TRUE(object.get_LastMethodSuccess());
    object.dotNetDispose();
    EXPECT_EQ(logOf(object), "");
}

TEST(ClsBase, SharesItsOptionsWithItsLog) {
    Sample object;
    XString options("ZATCA,other");
    object.put_UncommonOptions(options);
    object.put_VerboseLogging(true);
    EXPECT_TRUE(object.log().options().containsSubstring("ZATCA"));
    EXPECT_TRUE(object.log().verbose());
    const LogNull quiet(object.log());
    EXPECT_TRUE(quiet.verbose());
    EXPECT_TRUE(quiet.options().equals("ZATCA,other"));
    EXPECT_FALSE(quiet.isRecording());
}

TEST(ClsBase, AppendsTheLogOfEachOperationToTheDebugLog) {
    const TempDir folder;
    Sample object;
    XString path(folder.file("debug.log"));
    object.put_DebugLogFilePath(path);
    object.Quiet();
    object.Quiet();
    object.Outer(true);
    // An operation within another has its lines in those of the outer one, once.
    EXPECT_EQ(readText(folder.file("debug.log")), "Quiet:\nQuiet:\n" + logOf(object));
    XString nowhere(folder.file("no/such/folder"));
    object.put_DebugLogFilePath(nowhere);
    EXPECT_TRUE(object.Quiet());
}

TEST(ClsBase, OperationsOfSeveralThreadsDoNotMix) {
    Sample object;
    const auto work = [&] {
        for (int i = 0; i < 500; ++i) {
            object.Outer(true);
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(logOf(object), "Outer:\n  outer line\n  Inner:\n    Error: inner line\n  Success.\n");
}

TEST(ValueObjects, HoldTextBytesAndLists) {
    ClsStringBuilder text;
    EXPECT_TRUE(text.Append(XString("a b a")));
    EXPECT_TRUE(text.AppendInt(-7));
    EXPECT_EQ(text.Replace(XString("a"), XString("xy")), 2);
    EXPECT_TRUE(text.AppendBytes("\xE4", 1, XString("iso-8859-1")));
    EXPECT_FALSE(text.AppendBytes("\xE4", 1, XString("utf-8")));
    EXPECT_STREQ(text.xstring().getUtf8(), "xy b xy-7\xC3\xA4");
    EXPECT_TRUE(text.AppendSb(text));
    EXPECT_EQ(text.get_Length(), 22U);
    EXPECT_TRUE(text.Contains(XString("XY"), false));
    EXPECT_FALSE(text.Contains(XString("XY"), true));

    ClsBinData data;
    EXPECT_EQ(data.GetBytes(), nullptr);
    EXPECT_TRUE(data.AppendEncoded(XString("AQI="), XString("base64")));
    EXPECT_TRUE(data.AppendBd(data));
    ClsBinData copy;
    EXPECT_TRUE(copy.SetData(data));
    EXPECT_TRUE(data.AppendData("\x03", 1));
    XString hex;
    EXPECT_TRUE(copy.GetEncoded(XString("hex"), hex));
    EXPECT_STREQ(hex.getUtf8(), "01020102");
    EXPECT_EQ(data.get_NumBytes(), 5U);

    ClsStringArray list;
    EXPECT_TRUE(list.appendUtf8("one"));
    EXPECT_TRUE(list.Append(XString("two")));
    XString got;
    EXPECT_TRUE(list.GetString(1, got));
    EXPECT_STREQ(got.getUtf8(), "two");
    EXPECT_FALSE(list.GetString(2, got));
    EXPECT_EQ(list.getStringUtf8(-1), nullptr);
    EXPECT_EQ(list.get_Count(), 2);
    list.Clear();
    EXPECT_EQ(list.get_Count(), 0);
}

TEST(ValueObjects, AreMadeAndGivenUp) {
    XString got;
    ClsStringBuilder* const text = ClsStringBuilder::createNewCls();
    ASSERT_NE(text, nullptr);
    EXPECT_TRUE(text->SetString(XString("lost")) && text->SetString(XString(" a ")));
    EXPECT_TRUE(text->AppendLine(XString("b"), false) && text->AppendLine(XString("c"), true));
    EXPECT_TRUE(text->GetAsString(got));
    EXPECT_STREQ(got.getUtf8(), " a b\nc\r\n");
    text->Trim();
    text->_toString(got);
    EXPECT_STREQ(got.getUtf8(), "a b\nc");
    text->dotNetDispose();
    EXPECT_EQ(text->get_Length(), 0U);
    text->deleteSelf();

    ClsBinData* const data = ClsBinData::createNewCls();
    ASSERT_NE(data, nullptr);
    const auto clears = {&ClsBinData::Clear, &ClsBinData::SecureClear, &ClsBinData::dotNetDispose};
    for (const auto clear : clears) {
        EXPECT_TRUE(data->AppendData("\1\2", 2));
        ClsBinData sharing;
        EXPECT_TRUE(sharing.SetData(*data));
        (data->*clear)();
        EXPECT_EQ(data->get_NumBytes(), 0U);
        EXPECT_EQ(sharing.get_NumBytes(), 2U);
        EXPECT_EQ(sharing.GetBytes()[1], 2);
    }
    data->deleteSelf();

    ClsStringArray* const list = ClsStringArray::createNewCls();
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(list->appendView("one"));
    list->dotNetDispose();
    EXPECT_EQ(list->get_Count(), 0);
    list->deleteSelf();
}

TEST(ClsBase, SettingsAreReadBack) {
    Sample object;
    XString value;
    for (const char* const words : {"ZATCA,b", ""}) {
        XString given(words);
        object.put_UncommonOptions(given);
        object.get_UncommonOptions(value);
        EXPECT_STREQ(value.getUtf8(), words);
    }
    EXPECT_FALSE(object.get_VerboseLogging());
    object.put_VerboseLogging(true);
    EXPECT_TRUE(object.get_VerboseLogging());
    XString path("no-such-folder/log.txt");
    object.put_DebugLogFilePath(path);
    object.get_DebugLogFilePath(value);
    EXPECT_STREQ(value.getUtf8(), path.getUtf8());
    object.Outer(true);
    object._toString(value);
    EXPECT_EQ(value.getUtf8Sb().view(), logOf(object));
}

} // namespace
} // namespace vantrel::test
