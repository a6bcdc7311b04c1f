// SPDX-License-Identifier: MIT
// References that are read with what is known of the one before them, beside the same read alone.

#include "dsig/document/reference_form.h"
#include "dsig/reference/DSigReference.h"
#include "foundation/text/LogBase.h"
#include "foundation/xml/tree/ClsXml.h"
#include "foundation/xml/tree/tag_pattern.h"

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
    std::string pick(const std::vector<std::string_view>& words) {
        return std::string(words[m_random() % 8 != 0 ? 0 : m_random() % words.size()]);
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

} // namespace
} // namespace vantrel::test
