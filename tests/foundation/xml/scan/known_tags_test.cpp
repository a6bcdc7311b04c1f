// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/document_scanner.h"
#include "tests/foundation/xml/scan/scan_support.h"
#include "tests/support/bytes.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

using xml::DocumentScanner;

// All that a scan finds out, as text.
std::string everythingOf(const xml::XmlDocument& document) {
    std::string all;
    const auto add = [&all](std::uint64_t number) { all += std::to_string(number) + ' '; };
    for (const xml::ElementRecord& record : document.elements()) {
        add(record.start);
        add(record.end);
    }
    for (const xml::NamespaceDecl& decl : document.namespaceDecls()) {
        add(decl.element);
        all.append(document.prefixText(decl.prefixId)).append(document.namespaceName(decl));
    }
    for (const xml::SignatureElement& signature : document.signatures()) {
        add(signature.element);
        add(signature.signedInfo);
    }
    for (const xml::ElementId element : document.elementsWithXmlAttributes()) {
        add(element);
    }
    for (const xml::UntidyPlace place : document.untidyPlaces()) {
        add(place.offset());
        add(place.isEmptyTag() ? 1 : 0);
    }
    add(document.tidyKnownUpTo());
    for (const std::string_view id : {"i1", "i2", "i3", "i 4", ""}) {
        xml::ElementId element = xml::kNoElement;
        all += id;
        add(static_cast<std::uint64_t>(document.findById(id, element)));
        add(element);
    }
    return all;
}

std::string scanned(std::string_view text, bool plainly, DocumentScanner::Mode mode) {
    const StringBuffer buffer(text);
    const auto document = DocumentScanner::newDocument(buffer, buffer);
    DocumentScanner scanner(*document, mode);
    if (plainly) {
        scanner.takeNoShortWays();
    }
    if (scanner.scan() != xml::ScanOutcome::Done) {
        return std::to_string(scanner.failureOffset()) + scanner.failureMessage();
    }
    const std::string wrong = inconsistency(*document);
    return wrong.empty() ? everythingOf(*document) : wrong;
}

// Pieces that are usual, rarely others that are right, and very rarely some that are wrong.
template <std::size_t Usual, std::size_t Rare, std::size_t Wrong>
std::string_view anyOf(RandomBytes& random, const std::string_view (&usual)[Usual],
                       const std::string_view (&rare)[Rare],
                       const std::string_view (&wrong)[Wrong]) {
    const std::size_t luck = random.below(3000);
    return luck == 0    ? wrong[random.below(Wrong)]
           : luck < 200 ? rare[random.below(Rare)]
                        : usual[random.below(Usual)];
}

std::string randomAttributes(RandomBytes& random) {
    constexpr std::string_view kUsual[] = {" a='1'", " p:b=\"2\"", " Id=\"i1\"", " c=\"x y\"", ""};
    constexpr std::string_view kRare[] = {
        " d=\"x &lt; y\"",
        " p:e='>'",
        " q:e=''",
        " xml:lang='en'",
        " ID='a b'",
        " r:b=''",
        " p:id='i3'",
        " xmlns:p='u:p2'",
        " f=\"EUR]]>\"",
        " g='a\tb'",
        " h = '1'",
        "  i='i2'",
        "\nj='1'",
        " ",
        " an-attribute-with-a-name-of-more-than-thirty-two-characters='1'",
        " id=''",
        " Id='i\t4'",
        " xmlns='u'",
        " k=\"a value that is longer than what can be looked at in one step, which is 64 bytes\""};
    constexpr std::string_view kWrong[] = {
        " a=1", "a='1'",  " a='<>'",      " a='&>'",  " none:a='1'",
        " a",   " a='&'", " a='1' a='1'", " s:b='1'", " p:a='1' p:a='1'"};
    std::string result;
    for (std::size_t i = 1 + random.below(2); i > 0; --i) {
        const std::string_view attribute = anyOf(random, kUsual, kRare, kWrong);
        // Mostly no attribute twice.
        if (attribute.size() < 3 || result.find(attribute.substr(0, 3)) == result.npos ||
            random.below(2000) == 0) {
            result += attribute;
        }
    }
    return result;
}

// A document of `size` bytes or more, well-formed as a rule.
std::string randomDocument(RandomBytes& random, std::size_t size) {
    constexpr std::string_view kNames[] = {"a",
                                           "p:a",
                                           "p:Name",
                                           "q:LineExtensionAmount",
                                           "InvoiceLine",
                                           "Ab",
                                           "x",
                                           "p:AccountingSupplierParty",
                                           "p:AccountingCustomerParty"};
    constexpr std::string_view kRareNames[] = {"Signature",
                                               "SignedInfo",
                                               "SignatureValue",
                                               "na\xC3\xAFve",
                                               "p:SignedInfo",
                                               "a-name-of-thirty-one-characters",
                                               "a-name-of-thirty-two-characters-"};
    constexpr std::string_view kWrongNames[] = {"none:a", "s:x", "1", "p:a:b", "p:", "xmlns:a", ""};
    constexpr std::string_view kTexts[] = {"", "1", "text", "&amp;", "a &quot;b&apos;&gt;", "\n  "};
    constexpr std::string_view kRareTexts[] = {
        "]]",
        "&#65;",
        "<!-- c -->",
        "<s:a xmlns:s='v'><s:x s:b='1'/></s:a>",
        ">",
        "<?p?>",
        "\xE2\x82\xAC",
        "<![CDATA[<a>]]>",
        "&lt;",
        "\r\n",
        "a text that is longer than what can be looked at in one step, which has sixty-four bytes"};
    constexpr std::string_view kWrongTexts[] = {"]]>",  "&",      "&amp", "<",    "\x01",
                                                "\xFF", "&none;", "</b>", "< a>", "<!x>"};
    std::string text = "<root xmlns:p='u:p' xmlns:q='u:q' xmlns:r='u:p'>";
    std::vector<std::string_view> open;
    // The name goes with the depth as a rule, as it does in lists: it is guessed right and wrong.
    const std::size_t first = random.below(std::size(kNames));
    while (text.size() < size) {
        text += anyOf(random, kTexts, kRareTexts, kWrongTexts);
        if (!open.empty() && random.below(open.size() + 2) > 1) {
            text.append("</").append(open.back()).append(random.below(50) == 0 ? " >" : ">");
            open.pop_back();
            continue;
        }
        const std::string_view name = random.below(20) == 0
                                          ? anyOf(random, kNames, kRareNames, kWrongNames)
                                          : kNames[(first + open.size()) % std::size(kNames)];
        const bool isEmpty = random.below(4) == 0;
        text.append("<").append(name).append(random.below(3) == 0 ? randomAttributes(random) : "");
        text += isEmpty ? "/>" : ">";
        if (!isEmpty) {
            open.push_back(name);
        }
    }
    for (; !open.empty(); open.pop_back()) {
        text.append("</").append(open.back()).append(">");
    }
    // A prefix that was declared further inside, perhaps; not where the text ends, which is never
    // read at a glance.
    constexpr std::string_view kLast[] = {"<s:x/>", "<a s:b='1'/>", "<s:a xmlns:s='w'/>", "]"};
    text += random.below(4) == 0 ? kLast[random.below(std::size(kLast))] : "";
    return text + std::string(80, ' ') + "</root>";
}

// Bytes changed, taken out and put in.
void damage(RandomBytes& random, std::string& text) {
    constexpr std::string_view kBytes("<>/='\" &;:!-]a\0\x80\n", 17);
    const std::size_t at = random.below(text.size());
    const char byte = kBytes[random.below(kBytes.size())];
    switch (random.below(4)) {
    case 0: text[at] = byte; break;
    case 1: text.insert(at, 1, byte); break;
    case 2: text.erase(at, 1 + random.below(20)); break;
    default: text.resize(at); break;
    }
}

TEST(KnownTags, ShortWaysChangeNothing) {
    RandomBytes random(6);
    std::size_t done = 0;
    for (int round = 0; round < 6000; ++round) {
        // Some of several windows of 16 KiB.
        std::string text = randomDocument(random, round % 50 == 0 ? 50'000 : random.below(3000));
        for (std::size_t damages = random.below(2); damages > 0 && !text.empty(); --damages) {
            damage(random, text);
        }
        for (const auto mode : {DocumentScanner::Mode::Document, DocumentScanner::Mode::Fragment,
                                DocumentScanner::Mode::EntityText}) {
            const std::string expected = scanned(text, true, mode);
            ASSERT_EQ(scanned(text, false, mode), expected) << text;
            done += expected.find("i1") != expected.npos ? text.size() : 0;
        }
    }

    EXPECT_GT(done, 1'000'000U); // bytes of well-formed documents
}

// In a text that is tidy first, they are given up from somewhere in the rest on.
TEST(UntidyPlaces, AreFewForTheSizeOfTheText) {
    std::string text = "<r>" + std::string(100000, 't');
    const std::size_t tidy = text.size();
    for (int i = 0; i < 100000; ++i) {
        text += "<a/>";
    }
    xml::ParseFailure why;
    const auto document = xml::XmlDocument::parse(StringBuffer{text + "</r>"}, {}, why);
    ASSERT_TRUE(document);
    EXPECT_GT(document->untidyPlaces().size(), tidy / 128);
    EXPECT_LT(document->untidyPlaces().size(), text.size() / 128);
    EXPECT_EQ(document->tidyKnownUpTo(), tidy + 4 * document->untidyPlaces().size());
}

} // namespace
} // namespace vantrel::test
