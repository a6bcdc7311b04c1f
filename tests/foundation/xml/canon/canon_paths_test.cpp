// SPDX-License-Identifier: MIT
// The ways through the canonicalizer that exist for speed only, against the plain ones.

#include "foundation/xml/canon/canon_masks.h"
#include "foundation/xml/canon/form_ahead.h"
#include "foundation/xml/canon/namespace_state.h"
#include "foundation/xml/scan/document_scanner.h"
#include "tests/foundation/xml/canon/canon_support.h"
#include "tests/support/bytes.h"

#include <functional>
#include <map>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

TEST(CanonMasks, KernelsAgreeWithThePortableOne) {
    const auto kernels = xml::canonMaskKernels();
    const auto& portable = kernels.back();
    RandomBytes random(1);
    constexpr std::string_view kLikely = "<>&\r\n\t\"': =/ax";
    for (const auto& kernel : kernels) {
        if (!cpu::supports(kernel.needs)) {
            GTEST_LOG_(INFO) << "this processor has no " << kernel.name;
            continue;
        }
        for (std::size_t blocks = 0; blocks < 40; ++blocks) {
            Bytes text = random.bytes(blocks * xml::kMaskedBytes + 3);
            for (std::size_t i = 0; i < text.size(); i += 1 + random.below(3)) {
                text[i] = static_cast<std::uint8_t>(kLikely[random.below(kLikely.size())]);
            }
            const char* const start = asText(text).data() + random.below(4);
            std::vector<xml::CanonMasks> expected(blocks);
            std::vector<xml::CanonMasks> masks(blocks);
            portable.run(start, blocks, expected.data());
            kernel.run(start, blocks, masks.data());
            EXPECT_EQ(masks, expected) << kernel.name << " over " << blocks << " blocks";
        }
    }
}

// Random elements whose start tags are canonical, or nearly so.
class TagMaker final {
public:
    // One in ten is longer than what is classified or handed over at a time; one in three is tidy
    // almost everywhere.
    explicit TagMaker(std::uint64_t seed)
        : m_random(seed), m_isTidy(seed % 3 == 0), m_size(m_random.below(10) == 0 ? 80000 : 600) {}

    std::string document() {
        const std::string root = pick({"r", "p:r"});
        return "<" + root + pick({"", " xmlns='urn:3'"}) +
               " xmlns:p='urn:1' xmlns:qq='urn:0' xmlns:verylongprefix='urn:2'>" + content() +
               "</" + root + ">";
    }
    // Elements that need the three prefixes declared.
    std::string content() {
        std::string text;
        while (text.size() < m_size) {
            text += element(3);
        }
        return text;
    }

private:
    bool rarely() { return m_random.below(m_isTidy ? 1000 : 12) == 0; }
    std::string oddity(std::initializer_list<const char*> list) {
        return m_isTidy && m_random.below(100) != 0 ? "" : pick(list);
    }
    std::string pick(std::initializer_list<const char*> list) {
        return list.begin()[m_random.below(list.size())];
    }

    std::string element(int depth) {
        const std::string name = pick({"", "", "p:", "qq:", "verylongprefix:"}) +
                                 pick({"a", "Item", "a-name-of-more-than-sixteen-bytes"});
        std::string tag = "<" + name + attributes();
        if (rarely()) {
            return tag + pick({"/>", " />", "  />", "\n/>"});
        }
        tag += rarely() ? " >" : ">";
        tag += std::string(m_random.below(90), 't') +
               oddity({"", "", ">", "&amp;", "\r\n", "\"", "'", "&#65;&lt;", "<!-- '>\"<a b='-->",
                       "<?p  \"?>", "<![CDATA[<a b=\">]]>"});
        for (std::uint64_t i = 0, count = depth == 0 ? 0 : m_random.below(3); i < count; ++i) {
            tag += element(depth - 1);
        }
        return tag + "</" + name + (rarely() ? "\n>" : ">");
    }

    // Mostly in order: a random part of a sorted list.
    std::string attributes() {
        std::vector<std::string> names;
        for (const char* const name : {"A", "a", "a-b", "a.b", "a1", "aa", "ab", "b", "p:a", "p:b",
                                       "qq:a", "verylongprefix:b", "xml:lang"}) {
            const bool isPrefixed = std::string_view(name).find(':') != std::string_view::npos;
            if (m_random.below(m_isTidy && isPrefixed ? 300 : 5) == 0) {
                names.emplace_back(name);
            }
        }
        if (names.size() > 1 && rarely()) {
            std::swap(names[0], names[names.size() - 1]);
        }
        std::string text;
        if (m_random.below(12) == 0) {
            text += pick({" xmlns:p", " xmlns:p", " xmlns"}) +
                    "='urn:" + std::to_string(m_random.below(4)) + "'";
        }
        for (const std::string& name : names) {
            const char quote = rarely() ? '\'' : '"';
            text += (rarely() ? "  " : " ") + name + (rarely() ? " = " : "=") + quote;
            const std::string value = oddity({"", "", ">", "a b", "'", "=", "x:y", "/", "\"",
                                              "&lt;", "\n", "&quot;", "&amp;&#xD;", "&gt;"});
            text += value[0] == quote ? "" : value;
            text += std::string(m_random.below(4) == 0 ? m_random.below(70) : 1, 'v') + quote;
        }
        return text;
    }

    RandomBytes m_random;
    bool m_isTidy;
    std::size_t m_size;
};

// With its namespace declarations as the canonical form has them.
std::string inDoubleQuotes(std::string text) {
    constexpr std::string_view kName = "='urn:0'";
    for (std::size_t at = 0; (at = text.find("='urn:", at)) != text.npos; at += kName.size()) {
        text[at + 1] = text[at + kName.size() - 1] = '"';
    }
    return text;
}

// Any attribute declaration makes the canonicalizer take every tag apart, and a carriage return
// makes it search for what is not tidy, though behind the root none is written.
TEST(CanonPaths, TagsPassedOverEqualTagsTakenApart) {
    int compared = 0;
    for (std::uint64_t seed = 0; seed < 3000; ++seed) {
        const std::string text = TagMaker(seed).document();
        const std::string declared = "<!DOCTYPE r [<!ATTLIST none x CDATA #IMPLIED>]>" + text;
        for (const CanonCall& call : {CanonCall{.form = "inc"}, CanonCall{.form = "exc"},
                                      CanonCall{.form = "exc", .prefixes = "qq #default"}}) {
            const auto out = canonical(text, call);
            ASSERT_EQ(out, canonical(declared, call)) << text;
            ASSERT_EQ(out, canonical(inDoubleQuotes(text), call)) << text;
            ASSERT_EQ(out, canonical(text + '\r', call)) << text;
            if (out) {
                ++compared;
                ASSERT_EQ(canonical(*out, call), out) << text;
            }
        }
        for (const auto order :
             {xml::AttributeOrder::PrefixThenLocal, xml::AttributeOrder::LocalName}) {
            XmlCanon canon;
            canon.m_duplicateAttrSortBug = true;
            canon.m_faultyOrder = order;
            RecordingLog log;
            ASSERT_EQ(run(canon, StringBuffer{text}, {}, log),
                      run(canon, StringBuffer{declared}, {}, log))
                << text;
        }
    }
    EXPECT_GT(compared, 6000);
}

// Written while the document is read, by as many octets at a time, and then with what it is to
// leave out; nothing where it could not be used.
std::optional<std::string> formAhead(const std::string& text, xml::CanonMethod method, bool whole,
                                     std::uint32_t octets, xml::TextRange& hole,
                                     std::string& expected) {
    StringBuffer form;
    xml::StringBufferSink sink(form, 1U << 30);
    xml::FormAhead ahead(method, whole, sink);
    const StringBuffer source(text);
    const auto document = xml::DocumentScanner::newDocument(source, source);
    xml::DocumentScanner scanner(*document, xml::DocumentScanner::Mode::Document);
    scanner.followEach(octets, &ahead);
    if (scanner.scan() != xml::ScanOutcome::Done) {
        return std::nullopt;
    }
    xml::CanonRequest request;
    request.method = method;
    request.apex = whole ? xml::kNoElement : 0;
    if (!document->signatures().empty()) {
        const auto& record = document->element(document->signatures().front().element);
        hole = xml::rangeOf(record.start, record.end);
        request.omitted = {&hole, xml::isHole(*document, hole) ? 1U : 0U};
    }
    StringBuffer plain;
    xml::StringBufferSink plainSink(plain, 1U << 30);
    EXPECT_TRUE(xml::canonicalize(*document, request, plainSink));
    expected = plain.view();
    if (!ahead.isFrontOf(*document, request)) {
        return std::nullopt;
    }
    EXPECT_TRUE(ahead.finish(request));
    EXPECT_FALSE(ahead.isFrontOf(*document, request));
    return std::string(form.view());
}

TEST(CanonPaths, FormsWrittenWhileReadingEqualThoseWrittenThen) {
    const std::string signature = "<Signature xmlns='http://www.w3.org/2000/09/xmldsig#'>"
                                  "<SignedInfo/><q:x xmlns:q='urn:q'/></Signature>";
    int compared = 0;
    for (std::uint64_t seed = 0; seed < 3000; ++seed) {
        RandomBytes random(seed);
        std::string text = TagMaker(seed).document();
        // Behind one of the elements; in every third document in front of what follows it.
        const std::size_t end = text.find("</", random.below(text.size() - 8));
        text.insert(seed % 3 == 0 ? std::min(text.find('>', end) + 1, text.rfind("</"))
                                  : text.rfind("</"),
                    signature);
        if (seed % 4 == 1) { // default namespaces that come and go around much
            const std::string many = "<e></e>" + TagMaker(seed + 3000).document() + "<e></e>";
            const std::string open = "<q:w xmlns:q='urn:q' xmlns='urn:w1'><w xmlns='urn:w2'>"
                                     "<q:w xmlns='urn:w1'>";
            text.insert(0, open + (seed % 8 == 1 ? "\r" : "") + many);
            text += many + "</q:w>" + many + "</w>" + many + "</q:w>";
        }
        text = "<?xml version='1.0'?><?a  b?><!-- c -->" + text + "<?d?>\n";
        for (const auto method : {xml::CanonMethod::Inclusive, xml::CanonMethod::Exclusive}) {
            const bool whole = random.below(2) == 0;
            const auto octets =
                static_cast<std::uint32_t>(1 + random.below(seed % 4 < 2 ? 30 : 9000));
            xml::TextRange hole;
            std::string expected;
            const auto form = formAhead(text, method, whole, octets, hole, expected);
            if (form) {
                ++compared;
                ASSERT_EQ(*form, expected) << text << octets;
            }
        }
    }
    EXPECT_GT(compared, 3100);
}

// An element with many ancestors, or fewer with long values, whose declarations and xml: attributes
// hide each other, and the same element below a single one that has what is left of them.
class DeepElement final {
public:
    explicit DeepElement(std::uint64_t seed)
        : m_random(seed), m_isLong(seed % 4 == 0), m_content(TagMaker(seed + 1000).content()) {
        for (std::uint64_t left = (m_isLong ? 30 : 70) + m_random.below(m_isLong ? 15 : 60);
             left > 0; --left) {
            addAncestor();
        }
    }

    std::string deep() const { return kDefaults + m_open + apex() + m_close; }
    std::string shallow() const {
        std::string tag = "<r";
        for (const auto& [name, value] : m_inForce) {
            tag += " " + name + "='" + value + "'";
        }
        return kDefaults + tag + ">" + apex() + "</r>";
    }

private:
    static constexpr const char* kDefaults =
        "<!DOCTYPE r [<!ATTLIST d xml:base NMTOKEN ' by default '>]>";

    std::string apex() const {
        return "<p:it Id='it' qq:a='' p:b='' xml:lang=''>" + m_content + "</p:it>";
    }

    void addAncestor() {
        std::map<std::string, std::string> attributes;
        if (m_open.empty()) {
            attributes = {
                {"xmlns:p", "urn:1"}, {"xmlns:qq", "urn:0"}, {"xmlns:verylongprefix", "u"}};
        }
        for (const char* const name : {"xmlns", "xmlns:p", "xmlns:qq", "xmlns:unused", "xmlns:b",
                                       "xml:lang", "xml:space", "xml:base", "xml:a", "plain"}) {
            if (m_random.below(m_isLong ? 12 : 20) == 0) {
                const std::string value = "urn:" + std::to_string(m_random.below(4));
                attributes[name] = std::string_view(name) == "xmlns" && value == "urn:0"
                                       ? ""
                                       : value + std::string(m_isLong ? 350 : 0, 'x');
            }
        }
        const std::string tag = m_random.below(9) == 0 ? "d" : "e";
        // What stands in closed elements on the way is none of the apex's business.
        m_open += !m_open.empty() && m_random.below(4) == 0
                      ? "<x xmlns:qq='urn:x' xmlns:x='u' xml:a=''/>"
                      : "";
        m_open += "<" + tag;
        for (const auto& [name, value] : attributes) {
            const std::string quote = m_random.below(2) == 0 ? "'" : "\"";
            m_open += " " + name + "=" + quote + value + quote;
        }
        m_open += ">";
        m_close.insert(0, "</" + tag + ">" + (m_close.empty() ? "" : "<x xmlns:b='urn:x'/>"));
        if (tag == "d") {
            attributes.try_emplace("xml:base", "by default");
        }
        attributes.erase("plain");
        for (const auto& [name, value] : attributes) {
            m_inForce[name] = value;
        }
    }

    RandomBytes m_random;
    bool m_isLong;
    std::string m_content;
    std::string m_open;
    std::string m_close;
    std::map<std::string, std::string> m_inForce;
};

TEST(CanonPaths, DeepElementsInheritWhatShallowOnesDo) {
    int compared = 0;
    for (std::uint64_t seed = 0; seed < 400; ++seed) {
        const DeepElement element(seed);
        for (const char* const form : {"inc", "exc"}) {
            for (const bool inherits : {true, false}) {
                for (int order = 0; order < 4; ++order) {
                    const auto octets = [&](const std::string& text) {
                        const CanonCall call{
                            .form = form, .prefixes = "unused #default", .id = "it"};
                        XmlCanon canon;
                        setUp(canon, call);
                        canon.m_signedDocFlag = inherits;
                        canon.m_duplicateAttrSortBug = order > 0;
                        canon.m_faultyOrder = static_cast<xml::AttributeOrder>(order % 3);
                        RecordingLog log;
                        return run(canon, StringBuffer{text}, call, log);
                    };
                    const auto deep = octets(element.deep());
                    compared += deep ? 1 : 0;
                    ASSERT_EQ(deep, octets(element.shallow())) << element.deep() << form << order;
                }
            }
        }
    }
    EXPECT_GT(compared, 3000); // in some, two prefixes make two attributes one
}

// A walk over ancestors finds the declarations that a look-up finds, and takes them from the text
// only where they stand there as they are written.
TEST(CanonPaths, DeclarationsOnTheWayUpAreThoseOfALookUp) {
    std::size_t fromText = 0;
    std::size_t others = 0;
    for (std::uint64_t seed = 0; seed < 40; ++seed) {
        xml::ParseFailure why;
        const auto document =
            xml::XmlDocument::parse(StringBuffer{DeepElement(seed).deep()}, {}, why);
        if (document == nullptr) { // two prefixes may make two attributes one
            continue;
        }
        const auto all = document->namespaceDecls();
        for (xml::ElementId element = 0; element < document->elementCount(); ++element) {
            std::uint32_t behind = document->firstNamespaceDecl(element);
            for (auto above = document->parent(element); above != xml::kNoElement;
                 above = document->parent(above)) {
                const auto found = document->namespaceDeclsBefore(above, behind);
                const auto expected = document->namespaceDecls(above);
                ASSERT_EQ(found.size(), expected.size());
                if (!found.empty()) {
                    ASSERT_EQ(found.data(), expected.data());
                    behind = static_cast<std::uint32_t>(found.data() - all.data());
                }
            }
        }
        for (const xml::NamespaceDecl& decl : all) {
            const std::string_view written = document->canonicalDeclaration(decl);
            ++(written.empty() ? others : fromText);
            std::string expected = " xmlns";
            const std::string_view prefix = document->prefixText(decl.prefixId);
            expected.append(prefix.empty() ? "" : ":").append(prefix).append("=\"");
            expected.append(document->namespaceName(decl)).append("\"");
            EXPECT_TRUE(written.empty() || written == expected) << written;
        }
    }
    EXPECT_GT(fromText, 100U);
    EXPECT_GT(others, 100U);
}

TEST(NamespaceState, ManyPrefixesBindAndUnbind) {
    xml::NamespaceState state;
    std::vector<std::string> prefixes;
    for (int i = 0; i < 1000; ++i) {
        prefixes.push_back("p" + std::to_string(i));
    }
    // The sixteen that are remembered change places all the time.
    const auto isPending = [&](std::uint32_t i) {
        xml::NamespaceState::PrefixId prefix = 0;
        const std::string readable = prefixes[i] + "        ";
        const auto length = static_cast<std::uint32_t>(prefixes[i].size());
        const bool pending = state.isPending(readable.data(), length, prefix);
        EXPECT_EQ(prefix, state.id(prefixes[i]));
        EXPECT_EQ(pending, state[prefix].pending) << i;
        return pending;
    };
    // An element is the shorter the deeper it is.
    const auto extent = [](std::uint32_t depth) {
        return xml::NamespaceExtent{.end = 2000 - depth};
    };
    for (std::uint32_t depth = 1; depth < 1000; ++depth) {
        const auto prefix = state.id(prefixes[depth]);
        state.declare(prefix, depth % 2 == 0 ? "urn:even" : "urn:odd", {}, extent(depth));
        EXPECT_TRUE(isPending(depth));
        EXPECT_EQ(state.render(prefix, extent(depth)),
                  " xmlns:" + prefixes[depth] +
                      (depth % 2 == 0 ? "=\"urn:even\"" : "=\"urn:odd\""));
        EXPECT_FALSE(isPending(depth));
        EXPECT_FALSE(isPending((depth + 1) / 2));
    }
    state.leave(extent(200).end);
    for (std::uint32_t depth = 1; depth < 1000; ++depth) {
        const auto& binding = state[state.id(prefixes[depth])];
        EXPECT_EQ(binding.inScope != 0, depth < 200) << depth;
        EXPECT_EQ(binding.undoneAt, depth < 200 ? extent(depth).end : xml::PrefixBinding::kNever);
        EXPECT_FALSE(isPending(depth));
    }
    EXPECT_EQ(state.size(), 1000U);
}

// Counts what it is given.
class TallySink final : public xml::CanonSink {
public:
    bool write(const char* /*data*/, std::size_t size) override {
        octets += size;
        ++pieces;
        return true;
    }
    bool expect(std::uint64_t size, bool /*mostlyAsTheyStand*/) override {
        expected += size;
        return size <= most;
    }
    std::size_t octets = 0;
    std::size_t pieces = 0;
    std::uint64_t expected = 0;
    std::uint64_t most = ~std::uint64_t{0};
};

std::string repeated(int count, const std::function<std::string(int)>& piece) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += piece(i);
    }
    return text;
}

// Documents made to multiply what is written: many declarations in scope of many elements. The
// output stays within a small multiple of the text, in few pieces. (bench_canon_hostile has the
// processor time of such documents.)
TEST(CanonPaths, HostileDocumentsAreNotMultiplied) {
    constexpr int kMany = 60000;
    const auto number = [](int i) { return std::to_string(i); };
    const std::string declarations =
        repeated(kMany, [&](int i) { return " xmlns:p" + number(i) + "='urn:" + number(i) + "'"; });
    const std::string uses =
        repeated(kMany, [&](int i) { return "<p" + number(kMany - 1 - i) + ":e/>"; });
    const std::string deep =
        repeated(9000, [&](int i) { return "<e xmlns:p='urn:" + number(i % 2) + "'>"; }) +
        repeated(9000, [](int) { return "</e>"; });
    const std::string same = "<r xmlns:p='urn:p'>" +
                             repeated(9000, [](int) { return "<e xmlns:p='urn:p'>"; }) +
                             repeated(9000, [](int) { return "</e>"; }) + "</r>";
    const std::string attributes = repeated(
        kMany, [&](int i) { return " a" + number(i * 7919 % kMany) + "='" + number(i) + "'"; });
    std::string list;
    for (int i = 0; i < kMany; ++i) {
        list += "p" + number(i) + " ";
    }
    const std::string wide = "<r" + declarations + ">" + uses + "</r>";
    const struct {
        std::string text;
        CanonCall call;
        double least; // octets in relation to the text
        double most;
    } cases[] = {{wide, {.form = "inc"}, 1.0, 1.3},
                 {wide, {.form = "exc"}, 1.0, 1.4},
                 {wide, {.form = "exc", .prefixes = list}, 1.0, 1.3},
                 {deep, {.form = "inc"}, 0.9, 1.0},
                 {deep, {.form = "exc", .prefixes = "p"}, 0.9, 1.0},
                 {deep, {.form = "exc"}, 0.2, 0.4},
                 {same, {.form = "inc"}, 0.2, 0.4},
                 {"<r" + attributes + "><e" + attributes + "/></r>", {.form = "inc"}, 1.0, 1.1},
                 {"<r>" + std::string(1 << 20, '>') + std::string(1 << 20, '\r') + "</r>",
                  {.form = "inc"},
                  2.4,
                  2.6},
                 {"<r>" + repeated(kMany, [](int) { return "<!----><?p?><![CDATA[]]>"; }) + "</r>",
                  {.form = "inc+c"},
                  0.4,
                  0.6}};
    for (const auto& one : cases) {
        XmlCanon canon;
        setUp(canon, one.call);
        RecordingLog log;
        TallySink sink;
        ASSERT_TRUE(canon.canonicalizeTo(StringBuffer{one.text}, nullptr, 0, sink, log))
            << log.errors;
        const double ratio =
            static_cast<double>(sink.octets) / static_cast<double>(one.text.size());
        EXPECT_GE(ratio, one.least) << one.text.substr(0, 60) << one.call.form;
        EXPECT_LE(ratio, one.most) << one.text.substr(0, 60) << one.call.form;
        EXPECT_LE(sink.pieces, sink.octets / 8000 + 2) << one.text.substr(0, 60) << one.call.form;
    }
}

// Names that differ only far behind are compared once, whatever the number of elements.
TEST(CanonPaths, LongNamespaceNamesAreOrderedAndToldApart) {
    const std::string name(5000, 'u');
    const auto document = [&](const std::string& first, const std::string& second) {
        return "<r xmlns:a=\"" + first + "\" xmlns:b=\"" + second + "\">" +
               repeated(3, [](int) { return "<e a:x=\"1\" b:x=\"2\"></e>"; }) + "</r>";
    };
    const std::string ordered = document(name + "1", name + "2");
    EXPECT_EQ(canonical(ordered, {}), ordered);
    const auto turned = canonical(document(name + "2", name + "1"), {});
    ASSERT_TRUE(turned);
    EXPECT_TRUE(
        turned->ends_with(repeated(3, [](int) { return "<e b:x=\"2\" a:x=\"1\"></e>"; }) + "</r>"));
    EXPECT_FALSE(canonical(document(name, name), {}));
}

// A declaration that every element has to write anew: the form that is kept has a limit, what is
// streamed is the sink's affair.
TEST(CanonPaths, WhatIsKeptOfAnAmplifiedDocumentIsLimited) {
    const auto document = [](int uses) {
        return StringBuffer{"<r xmlns:p='" + std::string(100000, 'u') + "'>" +
                            repeated(uses, [](int) { return "<p:a/>"; }) + "</r>"};
    };
    const CanonCall call{.form = "exc"};
    // Of 64 MiB, 670 uses leave less than another needs.
    for (const int uses : {670, 671, 5000}) {
        XmlCanon canon;
        setUp(canon, call);
        RecordingLog log;
        const auto kept = run(canon, document(uses), call, log);
        EXPECT_EQ(kept.has_value(), uses == 670) << uses;
        EXPECT_EQ(log.errors, uses == 670 ? "" : "Limit passed: the size of the canonical form\n");
    }
    TallySink sink;
    XmlCanon canon;
    setUp(canon, call);
    RecordingLog log;
    ASSERT_TRUE(canon.canonicalizeTo(document(5000), nullptr, 0, sink, log));
    EXPECT_GT(sink.octets, 5000U * 100000U);
}

TEST(CanonPaths, ASinkHearsOfTheWorkBeforehandAndEndsIt) {
    const std::string text = "<r><a Id='a'><!--" + std::string(5000, 'c') + "--></a>" +
                             repeated(60000, [](int) { return "<e>text</e>"; }) + "</r>";
    for (const std::uint64_t most : {text.size(), text.size() - 1}) {
        TallySink sink;
        sink.most = most;
        XmlCanon canon;
        RecordingLog log;
        EXPECT_EQ(canon.canonicalizeTo(StringBuffer{text}, nullptr, 0, sink, log),
                  most == text.size());
        EXPECT_EQ(sink.expected, text.size());
        EXPECT_EQ(sink.octets != 0, most == text.size());
    }
    TallySink sink;
    XmlCanon canon;
    RecordingLog log;
    ASSERT_TRUE(canon.canonicalizeTo(StringBuffer{text}, "a", 0, sink, log));
    EXPECT_EQ(sink.expected, text.find("</a>") + 4 - 3);
    EXPECT_LT(sink.octets, 100U);
}

} // namespace
} // namespace vantrel::test
