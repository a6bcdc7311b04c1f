// SPDX-License-Identifier: MIT
// What transforms make of a text, and what of the loaded document it then stands for.

#include "dsig/transform/working_text.h"

#include "dsig/document/work_account.h"
#include "dsig/transform/chunk_removal.h"
#include "foundation/xml/canon/XmlCanon.h"
#include "tests/support/bytes.h"
#include "tests/support/recording_log.h"

#include <set>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

using dsig::WorkingText;
using xml::ElementId;
using xml::TextRange;

// A document whose elements are numbered in their order: e0, e1, ...
void appendElement(RandomBytes& random, int depth, int& number, std::string& out) {
    const std::string name = "e" + std::to_string(number++);
    out += "<" + name + (random.below(2) == 0 ? " a=\"1\"" : "") + ">";
    for (std::uint64_t n = depth > 0 ? 1 + random.below(3) : 0; n > 0; --n) {
        const std::uint64_t before = random.below(6);
        out += before == 0 ? "text" : before == 1 ? "<!-- <e> -->" : before == 2 ? "]" : "";
        appendElement(random, depth - 1, number, out);
    }
    out += "</" + name + ">";
}

std::shared_ptr<const xml::XmlDocument> parsed(std::string_view text) {
    xml::ParseFailure why;
    return xml::XmlDocument::parse(StringBuffer(text), {}, why);
}

TextRange extentOf(const xml::XmlDocument& document, ElementId first, ElementId last) {
    return xml::rangeOf(document.element(first).start, document.element(last).end);
}

// Every element of the text is the loaded element of its name, and the loaded elements that are not
// in the text are those that were taken out or cut off.
void expectElementsKept(WorkingText& text, LogBase& log) {
    const auto loaded = text.loaded();
    ElementId found = 0;
    for (ElementId element = 0; element < loaded->elementCount(); ++element) {
        const ElementId inText = text.elementOf(element);
        if (inText != xml::kNoElement) {
            ASSERT_EQ(text.structure(log)->qualifiedName(inText), loaded->qualifiedName(element));
            ++found;
        }
    }
    ElementId there = 0;
    for (ElementId element = 0; element < text.structure(log)->elementCount(); ++element) {
        there += text.isTakenOut(element) ? 0 : 1;
    }
    ASSERT_EQ(found, there);
}

// Every reference of a document starts from it: its entities are expanded once, when it is loaded.
TEST(WorkingText, ExpandsNoEntityAgain) {
    const auto loaded = parsed("<!DOCTYPE r [<!ENTITY e '0123456789<i/>'>]><r>&e;&e;&e;<s/></r>");
    ASSERT_NE(loaded, nullptr);
    const dsig::Limits limits;
    dsig::WorkAccount account(loaded->text().size(), limits);
    RecordingLog log;
    for (int reference = 0; reference < 3; ++reference) {
        WorkingText text(loaded, account);
        ASSERT_TRUE(text.takeOut({extentOf(*loaded, 4, 4)}, "s", log)) << log.errors;
        EXPECT_EQ(text.structure(log), loaded) << "parsed again";
    }
    EXPECT_EQ(account.octets(), 0U);
    // A text that changes is read anew, and paid for.
    WorkingText text(loaded, account);
    ASSERT_TRUE(text.takeOut({extentOf(*loaded, 4, 4)}, "s", log)) << log.errors;
    const std::size_t size = text.text().view().size();
    EXPECT_NE(text.structure(log), loaded);
    EXPECT_EQ(account.octets(), size);
}

TEST(WorkingText, ElementsKeepTheirPlaceInTheLoadedDocument) {
    RandomBytes random(5);
    const dsig::Limits limits;
    std::size_t steps = 0;
    for (int round = 0; round < 400; ++round) {
        std::string source;
        int number = 0;
        appendElement(random, 5, number, source);
        const auto loaded = parsed(source);
        ASSERT_NE(loaded, nullptr);
        dsig::WorkAccount account(source.size(), limits);
        RecordingLog log;
        WorkingText text(loaded, account);
        std::size_t excluded = 0;
        for (int step = 0; step < 5 && text.structure(log)->elementCount() > 1; ++step) {
            const auto document = text.structure(log);
            const auto pick =
                static_cast<ElementId>(1 + random.below(document->elementCount() - 1));
            if (text.isTakenOut(pick)) {
                continue;
            }
            switch (random.below(4)) {
            case 0:
            case 1: {
                const ElementId next = document->nextSibling(pick);
                const ElementId last =
                    next != xml::kNoElement && random.below(2) == 0 ? next : pick;
                if (!text.isTakenOut(last)) {
                    ASSERT_TRUE(text.takeOut({extentOf(*document, pick, last)}, "xpath", log));
                    ++excluded;
                }
                break;
            }
            case 2:
                ASSERT_TRUE(text.cutDownTo(extentOf(*document, pick, pick), log));
                ASSERT_EQ(text.coverage().elements.all().size(), 1U);
                break;
            default: {
                const ElementId apex[] = {pick};
                const XmlCanon canonicalizer;
                StringBuffer octets;
                xml::StringBufferSink sink(octets, 1 << 20);
                ASSERT_TRUE(
                    canonicalizer.canonicalizeElement(*document, pick, text.gaps(), sink, log));
                text.canonicalized(apex, octets);
            }
            }
            expectElementsKept(text, log);
            ++steps;
        }
        ASSERT_EQ(text.coverage().excluded.size(), excluded);
        ASSERT_TRUE(text.coverage().known);
        ASSERT_EQ(log.errors, "");
        // Cut out of the loaded text, what was taken out is missing from it as it is here.
        for (const dsig::Exclusion& exclusion : text.coverage().excluded) {
            ASSERT_EQ(text.elementOf(exclusion.element), xml::kNoElement);
            ASSERT_EQ(loaded->element(exclusion.element).start, exclusion.range.start);
        }
    }
    EXPECT_GT(steps, 900U);
}

TEST(WorkingText, OnlyRunsOfWholeSiblingsAreTakenOut) {
    const auto loaded = parsed("<!--<a>--><r><a>1</a> <!--</a><a>--><b><a>2</a></b><a>3</a>"
                               "<![CDATA[<a>4</a>]]><?p <a>5</a>?><a/>]]&gt;</r>");
    ASSERT_NE(loaded, nullptr);
    std::set<std::pair<std::size_t, std::size_t>> runs;
    for (ElementId first = 1; first < loaded->elementCount(); ++first) {
        for (ElementId last = first; last != xml::kNoElement; last = loaded->nextSibling(last)) {
            runs.emplace(loaded->element(first).start, loaded->element(last).end);
        }
    }
    const std::string_view all = loaded->text();
    const dsig::Limits limits;
    dsig::WorkAccount account(all.size(), limits);
    for (std::size_t start = 0; start < all.size(); ++start) {
        for (std::size_t end = start + 1; end <= all.size(); ++end) {
            RecordingLog log;
            WorkingText text(loaded, account);
            const bool taken = text.takeOut({xml::rangeOf(start, end)}, "xpath", log);
            // The root as well, which leaves no document for the step behind.
            const bool isRoot = start == loaded->element(0).start && end == all.size();
            ASSERT_EQ(taken, isRoot || runs.count({start, end}) == 1)
                << all.substr(start, end - start);
            ASSERT_EQ(log.errors.empty(), taken);
            ASSERT_EQ(text.text().getSize(), taken ? all.size() - (end - start) : all.size());
        }
    }
}

TEST(WorkAccount, NamesTheLimitThatIsPassedAndGivesBackWhatAnEarlierVerificationTook) {
    dsig::Limits limits;
    limits.workOctets = 1000;
    limits.transforms = 5;
    limits.failuresRetried = 2;
    dsig::WorkAccount account(10, limits);
    RecordingLog log;
    account.begin(0);
    EXPECT_TRUE(account.takeOctets(600, log));
    account.begin(1);
    EXPECT_TRUE(account.takeOctets(400, log));
    EXPECT_FALSE(account.takeOctets(1, log));
    EXPECT_EQ(log.errors, "The document passes the limit workOctets of 1000.\n");
    account.begin(0);
    EXPECT_TRUE(account.takeOctets(600, log));
    EXPECT_FALSE(account.takeOctets(~std::uint64_t{0}, log));

    log.errors.clear();
    for (int i = 0; i < 100; ++i) {
        EXPECT_TRUE(account.takeTransforms(2, log)); // a usual reference counts nothing
    }
    EXPECT_TRUE(account.takeTransforms(7, log));
    EXPECT_FALSE(account.takeTransforms(3, log));
    EXPECT_EQ(log.errors, "The document passes the limit transforms of 5.\n");

    log.errors.clear();
    account.noteFailedReference();
    EXPECT_TRUE(account.takeRetry(log));
    account.noteFailedReference();
    EXPECT_FALSE(account.takeRetry(log));
    EXPECT_EQ(log.errors, "The document passes the limit failuresRetried of 2.\n");

    // A large document may ask for a multiple of its size.
    const dsig::Limits defaults;
    dsig::WorkAccount large(100ULL << 20, defaults);
    EXPECT_TRUE(large.takeOctets(4ULL << 30, log));
    EXPECT_FALSE(large.takeOctets(1, log));
}

} // namespace
} // namespace vantrel::test
