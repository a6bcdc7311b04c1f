// SPDX-License-Identifier: MIT
// References that are read, or checked, with what is known of those before them, beside the same
// without.

#include "dsig/document/document.h"
#include "dsig/document/reference_form.h"
#include "dsig/reference/DSigReference.h"
#include "foundation/text/LogBase.h"
#include "foundation/xml/tree/ClsXml.h"
#include "foundation/xml/tree/tag_pattern.h"
#include "tests/dsig/document_case.h"
#include "tests/dsig/test_access.h"

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

class Words {
public:
    explicit Words(unsigned seed) : m_random(seed) {}

    // Mostly the first: what the references of a list have in common.
    std::string pick(const std::vector<std::string>& words) {
        return words[m_random() % 8 != 0 ? 0 : m_random() % words.size()];
    }

private:
    std::mt19937 m_random;
};

std::string randomReference(Words& words) {
    const std::string name = words.pick({"Reference", "d:Reference"});
    const std::string digest =
        words.pick({"q83vEjRWeJA=", "", "q83v\n EjRWeJA=", "q8&#51;v", "<!--c-->q83v", "<b/>q83v",
                    "<DigestMethod Algorithm='md5'/>", "q<![CDATA[8]]>3v", "q83v\r\n"});
    const std::string value =
        words.pick({"<DigestValue>", "<d:DigestValue a='&lt;'>", "<DigestValue/><DigestValue>",
                    "<DigestValue />z<a>", "<Other>"});
    const std::string end = value.find("d:") != value.npos    ? "</d:DigestValue>"
                            : value.find("<a>") != value.npos ? "</a>"
                            : value == "<Other>"              ? "</Other>"
                                                              : "</DigestValue>";
    const std::string method =
        words.pick({"<DigestMethod Algorithm='x#sha256'/>", "<DigestMethod Algorithm='x#SHA1'/>",
                    "<DigestMethod/>", "", "<d:DigestMethod Algorithm='none'></d:DigestMethod>"});
    const std::string transforms =
        words.pick({"<Transforms><Transform Algorithm='t'/></Transforms>", "", "<Transforms/>"});
    const bool methodFirst = words.pick({"y", "n"}) == "y";
    return "<" + name + words.pick({" URI='#a'", "", " Id='i' URI='&#35;b'", " URI=''  Id='j' "}) +
           ">" + words.pick({"", "\n"}) + transforms + (methodFirst ? method : "") + value +
           digest + end + (methodFirst ? "" : method) +
           words.pick({"", " ", "<Transforms>late</Transforms>", "<DigestValue>2</DigestValue>"}) +
           "</" + name + ">";
}

std::string shown(const DSigReference& reference) {
    std::string text;
    for (const StringBuffer* part : {&reference.m_id, &reference.m_uri, &reference.m_transforms,
                                     &reference.m_digestMethod, &reference.m_digestValue}) {
        text += std::string(part->view()) + "|";
    }
    return text + std::to_string(reference.m_uriOmitted) + std::to_string(reference.getHashAlg()) +
           (reference.digestMethodIsKnown() ? "known" : "guess");
}

// With and without declared attributes, which do not stand in the text.
TEST(ReferenceList, ReadsEachAsIfItWereAlone) {
    LogNull log;
    Words words(11);
    std::size_t taken = 0;
    for (int round = 0; round < 300; ++round) {
        const std::string declared =
            words.pick({"", "<!DOCTYPE s [<!ATTLIST DigestMethod Algorithm CDATA 'x#sha512'>"
                            "<!ATTLIST Reference Id ID #IMPLIED URI CDATA '#d'>]>"});
        std::string text = declared + "<s xmlns:d='u'>";
        for (int i = 0; i < 20; ++i) {
            text += randomReference(words);
        }
        const auto list = Ref<ClsXml>::adopt(ClsXml::createNewCls());
        ASSERT_TRUE(list->loadXml(StringBuffer(text + "</s>"), false, log)) << text;
        const xml::XmlDocument& document = *list->document();
        dsig::ReferenceForm last;
        for (const xml::ElementId element : list->childrenWithTag("*:Reference")) {
            DSigReference together;
            const std::string_view before = last.head;
            together.parseReference(document, element, last, log);
            taken += !before.empty() && before.data() == last.head.data() ? 1 : 0;
            DSigReference alone;
            alone.parseReference(*Ref<ClsXml>::adopt(ClsXml::onElement(list->document(), element)),
                                 log);
            ASSERT_EQ(shown(together), shown(alone)) << text;
        }
    }
    EXPECT_GT(taken, 300U); // the short way was gone
}

// A document with elements of many kinds and signatures with a reference to each. `byPointer`: the
// references name them in a way that is always taken for an Id.
std::string randomList(unsigned seed, const std::vector<std::string>& digests, bool byPointer) {
    Words words(seed);
    const std::string canonical = seed % 2 == 0
                                      ? "http://www.w3.org/2001/10/xml-exc-c14n#"
                                      : "http://www.w3.org/2006/12/xml-c14n11#WithComments";
    const std::string transform = "<Transform Algorithm='" + canonical;
    std::string text = words.pick({"", "<!DOCTYPE r [<!ENTITY e 'x'><!ATTLIST a b CDATA 'd'>]>",
                                   "<!DOCTYPE r [<!ENTITY e 'x'>]>"});
    const std::string entity = text.empty() ? "" : words.pick({"", "&e;"});
    text += "<r xmlns:p='urn:p' xmlns='urn:d' xml:lang='en' xmlns:q='urn:q'>" + entity +
            words.pick({"", "<LAU/>"});
    const std::size_t each = 1 + seed % 5;
    std::vector<std::string> lists;
    for (std::size_t i = 0; i < digests.size(); ++i) {
        const std::string number = words.pick({"y", ""}).empty() ? "" : std::to_string(i);
        const std::string id = words.pick({"i", "j&amp;", "EBICS", "xpointer-authenticate-true",
                                           "k k", "&#39;", "xpointer(/)"}) +
                               number;
        const std::string name = words.pick({"p:a", "a", "q:a"});
        const std::string outer = words.pick({"", "in xmlns:p='urn:other' xmlns=''", "in"});
        text +=
            (outer.empty() ? "" : "<" + outer + ">") + "<" + name +
            words.pick({" b='1'", "", " xmlns:q='urn:q2'", " p:z='&#10;'"}) + " Id=\"" + id +
            "\">" +
            words.pick({"<q:b>1 &amp; 2</q:b>", "\r\n<!--c-->", "<![CDATA[<]]>", "<b xmlns=''/>",
                        "<p:b xmlns:p='urn:p'/>", "<q:b xml:id='n' a='2'  />"}) +
            std::string(words.pick({"", "long"}).size() * 5000U, 'x') + "</" + name + ">" +
            (outer.empty() ? "" : "</in>");
        const std::string quote = words.pick({"\"", "'"});
        if (i % each == 0) {
            lists.emplace_back();
        }
        const std::string pointer = "#xpointer(id(&#39;" + id + "&#39;))";
        const std::string uri = words.pick({"#" + id, pointer, " #" + id, id});
        lists.back() +=
            "<Reference" + words.pick({"", " Id='x'"}) + " URI=" + quote +
            (byPointer ? pointer : uri) + quote + words.pick({">", " >"}) +
            words.pick(
                {"<Transforms>" + transform + "'/></Transforms>", "",
                 "<Transforms>" + transform +
                     "'><InclusiveNamespaces PrefixList='q "
                     "#default'/></Transform></Transforms>",
                 "<Transforms>" + transform.substr(0, transform.size() - 1) + "?'/></Transforms>",
                 "<Transforms>" + transform + "'\n/></Transforms>"}) +
            words.pick({"<DigestMethod Algorithm='http://www.w3.org/2001/04/xmlenc#sha256'/>",
                        "<DigestMethod Algorithm='urn:sha1'/>", "<DigestMethod/>"}) +
            "<DigestValue>" + digests[i] + "</DigestValue></Reference>" + words.pick({"", "\n"});
    }
    for (std::size_t i = 0; i < lists.size(); ++i) {
        const std::string outer = words.pick({"", "w xmlns:p='urn:w' xml:space='preserve'"});
        text +=
            (outer.empty() ? "" : "<" + outer + ">") + "<Signature Id='" +
            words.pick({"S" + std::to_string(i), "", "0"}) +
            "' xmlns='http://www.w3.org/2000/09/xmldsig#'" + words.pick({"", " xml:lang='fr'"}) +
            "><SignedInfo><CanonicalizationMethod Algorithm='" + canonical + "'/>" +
            words.pick({"<SignatureMethod Algorithm='x#rsa-sha256'/>", "<x xmlns:q='urn:x'/>"}) +
            lists[i] + words.pick({"", "<!--end-->"}) +
            "</SignedInfo><SignatureValue>AAAA</SignatureValue></Signature>" +
            (outer.empty() ? "" : "</w>");
    }
    return text + "</r>";
}

// What the verification of each signature says, twice: the report, the log behind it, and the
// octets that were signed.
std::string verified(ClsXmlDSig& verifier, const std::string& text, bool mayRepeat,
                     std::vector<std::string>* computed = nullptr) {
    loadText(verifier, text);
    ClsXmlDSigTestAccess::structure(verifier).mayRepeat = mayRepeat;
    std::string said;
    for (int i = 0; i < 2 * verifier.get_NumSignatures(); ++i) {
        verifier.put_Selector(i % verifier.get_NumSignatures());
        static_cast<void>(verifier.VerifySignature(true));
        XString report;
        verifier.get_LastJsonData(report);
        said += report.getUtf8() + ("\n" + logOf(verifier)) +
                std::to_string(ClsXmlDSigTestAccess::structure(verifier).account.octets());
        const json::JsonValue values = reportOf(verifier);
        for (const json::JsonValue& one : values.find("references")->elements()) {
            const json::JsonValue* const digest = one.find("digest");
            if (computed != nullptr) {
                computed->push_back(digest != nullptr ? textOf(*digest, "computed") : "");
            }
        }
        ClsBinData octets;
        static_cast<void>(verifier.SignedInfoOctets(octets));
        said += asText(octets.data().view());
    }
    return said;
}

// A digest, mostly the right one.
std::string changed(std::string digest, Words& words) {
    const std::string change = words.pick({"", "wrong", "end", "\n", "<!--c-->", "&#65;"});
    if (change == "wrong" || change == "end") {
        // Of the last character some bits do not count.
        char& at = digest[change == "end" ? digest.find_last_not_of('=') : 0];
        at = at == 'A' ? 'B' : 'A';
        return digest;
    }
    return digest.insert(digest.size() / 2, change);
}

// The digests are mostly those that the usual way computes.
TEST(ReferenceList, ChecksEachAsIfItWereAlone) {
    std::uint64_t repeated = 0;
    std::size_t composed = 0;
    for (unsigned seed = 0; seed < 300; ++seed) {
        Words words(seed + 1000);
        std::vector<std::string> digests(10, "AAAA");
        std::vector<std::string> computed;
        ClsXmlDSig first;
        static_cast<void>(verified(first, randomList(seed, digests, true), false, &computed));
        for (std::size_t i = 0; i < digests.size(); ++i) {
            digests[i] = changed(computed[i].empty() ? "AAAA" : computed[i], words);
        }
        const std::string text = randomList(seed, digests, false);
        ClsXmlDSig plain;
        ClsXmlDSig quick;
        ASSERT_EQ(verified(quick, text, true), verified(plain, text, false)) << text;
        const dsig::Document& known = ClsXmlDSigTestAccess::structure(quick);
        repeated += known.repeatedMatches;
        composed += known.signedInfoPattern != nullptr ? 1U : 0U;
    }
    EXPECT_GT(repeated, 1000U);
    EXPECT_GT(composed, 150U);
}

} // namespace
} // namespace vantrel::test
