// SPDX-License-Identifier: MIT
// Texts and bytes that have no room to grow say so, and stay what they were.

#include "foundation/text/DataBuffer.h"
#include "foundation/text/XString.h"
#include "tests/support/failing_allocation.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// Long enough that no room at hand takes it.
const std::string kLong(100'000, 'z');

template <class Value> using Change = std::pair<const char*, bool (*)(Value&)>;

// Changes a value that shares its storage, and one of its own, with no memory and then with it.
template <class Value, class Make, class Read>
void expectAllOrNothing(const Change<Value>& change, const Make& make, const Read& read) {
    for (const bool shared : {true, false}) {
        Value value = make();
        const Value other = shared ? value : Value();
        const std::string before = read(value);
        bool changed = true;
        EXPECT_TRUE(withFailingAllocation(0, [&] { changed = change.second(value); }))
            << change.first << " needs no memory";
        EXPECT_FALSE(changed) << change.first;
        EXPECT_EQ(read(value), before) << change.first;
        EXPECT_TRUE(change.second(value)) << change.first;
        EXPECT_NE(read(value), before) << change.first;
        EXPECT_EQ(read(other), shared ? before : "") << change.first;
    }
}

// Texts and bytes take their memory from malloc.
class FailingMemory : public testing::Test {
protected:
    void SetUp() override {
#if defined(VANTREL_SANITIZED_MALLOC)
        GTEST_SKIP() << "the sanitizer's malloc cannot be made to fail";
#endif
    }
};

TEST_F(FailingMemory, BytesStayWhatTheyWere) {
    static const DataBuffer more = [] {
        DataBuffer bytes;
        bytes.append(kLong.data(), static_cast<std::uint32_t>(kLong.size()));
        return bytes;
    }();
    static const StringBuffer text{kLong};
    const Change<DataBuffer> changes[] = {
        {"append", [](DataBuffer& it) { return it.append(more); }},
        {"append text", [](DataBuffer& it) { return it.append(text); }},
        {"append view", [](DataBuffer& it) { return it.append(more.view()); }},
        {"append pointer", [](DataBuffer& it) { return it.append(kLong.data(), 90'000); }},
        {"append encoded", [](DataBuffer& it) { return it.appendEncoded(kLong, "base64"); }},
    };
    for (const bool secure : {false, true}) {
        for (const auto& change : changes) {
            expectAllOrNothing<DataBuffer>(
                change,
                [secure] {
                    DataBuffer bytes;
                    bytes.setSecure(secure);
                    bytes.append("ab", 2);
                    return bytes;
                },
                [](const DataBuffer& it) { return std::string(asText(it.view())); });
        }
    }
}

TEST_F(FailingMemory, TextsStayWhatTheyWere) {
    static const StringBuffer text{kLong};
    const Change<XString> changes[] = {
        {"set", [](XString& it) { return it.setFromUtf8(kLong.c_str()); }},
        {"append", [](XString& it) { return it.appendUtf8(kLong.c_str()); }},
        {"append text", [](XString& it) { return it.appendSbUtf8(text); }},
    };
    for (const auto& change : changes) {
        expectAllOrNothing<XString>(
            change, [] { return XString("ab"); },
            [](const XString& it) { return std::string(it.getUtf8Sb().view()); });
    }
}

} // namespace
} // namespace vantrel::test
