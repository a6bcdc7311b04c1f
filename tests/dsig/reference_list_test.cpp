// SPDX-License-Identifier: MIT
// References and signature values that are read, or checked, with what is known of those before
// them, beside the same without.

#include "dsig/document/document.h"
#include "dsig/document/reference_form.h"
#include "dsig/reference/DSigReference.h"
#include "foundation/asn1/der_reader.h"
#include "foundation/crypto/bignum/montgomery_kernels.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/rsa/RsaKeyData.h"
#include "foundation/crypto/rsa/digest_info.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/encoders.h"
#include "foundation/xml/tree/ClsXml.h"
#include "foundation/xml/tree/tag_pattern.h"
#include "tests/dsig/document_case.h"
#include "tests/dsig/test_access.h"
#include "tests/support/corpus.h"
#include "tests/support/key_messages.h"

#include <map>
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
// octets that were signed. `step`: from one to the next, begun again at the end.
std::string verified(ClsXmlDSig& verifier, const std::string& text, bool mayRepeat,
                     std::vector<std::string>* computed = nullptr, int step = 1) {
    loadText(verifier, text);
    ClsXmlDSigTestAccess::structure(verifier).mayRepeat = mayRepeat;
    std::string said;
    for (int i = 0; i < 2 * verifier.get_NumSignatures(); ++i) {
        verifier.put_Selector(i * step % verifier.get_NumSignatures());
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

// RSASSA-PKCS1-v1_5 (RFC 8017, 8.2.1) with a key of tests/vectors/key_sources, in base64.
std::string signedBy(const std::string& name, const DataBuffer& octets) {
    const std::string pem = readText(vectorPath("key_sources/" + name + ".key"));
    const std::size_t start = pem.find('\n');
    DataBuffer der;
    der.appendEncoded(pem.substr(start, pem.find("-----END") - start), "base64");
    // PrivateKeyInfo ::= SEQUENCE { version, algorithm, OCTET STRING of
    //     RSAPrivateKey ::= SEQUENCE { version, modulus, publicExponent, privateExponent, ... } }
    asn1::DerReader info(der.view());
    asn1::DerReader numbers;
    ByteView modulus;
    ByteView exponent;
    EXPECT_TRUE(info.enter(asn1::Tag::Sequence, info) && info.skip() && info.skip() &&
                info.enter(asn1::Tag::OctetString, info) &&
                info.enter(asn1::Tag::Sequence, numbers) && numbers.skip() &&
                numbers.read(asn1::Tag::Integer, modulus) && numbers.skip() &&
                numbers.read(asn1::Tag::Integer, exponent));
    RsaKeyData key; // whose public operation is the private one
    std::string_view whyNot;
    EXPECT_TRUE(key.load(modulus, exponent, whyNot)) << whyNot;
    DataBuffer hash;
    _vlHash::doHash(octets.getData2(), octets.getSize(), kHashSha256, hash);
    const ByteView prefix = crypto::digestInfoPrefix(kHashSha256, true);
    Bytes block(key.sizeInBytes() - prefix.size() - hash.getSize(), 0xFF);
    block.front() = 0;
    block[1] = 1;
    block.back() = 0;
    block.insert(block.end(), prefix.begin(), prefix.end());
    block.insert(block.end(), hash.view().begin(), hash.view().end());
    EXPECT_TRUE(key.recover(block, block));
    StringBuffer value;
    ContentCoding::encodeBase64(block.data(), size32(block), value);
    return std::string(value.view());
}

// A message signed many times, each in its own way, mostly with the right value and its key. Where
// the seed is even, two keys take turns.
std::string randomValues(unsigned seed, int count) {
    Words words(seed);
    const std::string message = keyMessage("message", "", "@KEY@");
    const std::string end = "</ds:Signature>";
    const std::size_t start = message.find("<ds:Signature ");
    const std::size_t behind = message.find(end) + end.size();
    const std::size_t value = message.find("<ds:SignatureValue>") + 19;
    const std::size_t valueEnd = message.find("</ds:SignatureValue>");
    std::vector<std::string> pieces = {message.substr(0, start)};
    std::vector<std::string> signers;
    for (int i = 0; i < count; ++i) {
        signers.emplace_back(seed % 2 == 0 && i / 3 % 2 == 0 ? "other" : "signer");
        std::string key = "<ds:KeyValue>" +
                          keyValueNamed("rsa." + words.pick({signers.back(), "other"})) +
                          "</ds:KeyValue>";
        key.replace(key.find("AQAB"), 4, words.pick({"AQAB", "Aw=="}));
        std::string front = message.substr(start, value - start);
        pieces.back() += front.insert(front.find(" URI="), " Id='R" + std::to_string(i) + "'");
        pieces.push_back(message.substr(valueEnd, behind - valueEnd));
        pieces.back().replace(pieces.back().find("@KEY@"), 5, key);
    }
    pieces.back() += message.substr(behind);
    std::string text;
    for (const std::string& piece : pieces) {
        text += piece;
    }
    ClsXmlDSig verifier;
    loadText(verifier, text);
    text = pieces.front();
    std::string last = "AAAA";
    for (int i = 0; i < count; ++i) {
        verifier.put_Selector(i);
        ClsBinData octets;
        EXPECT_TRUE(verifier.SignedInfoOctets(octets));
        const std::size_t at = static_cast<std::size_t>(i);
        const std::string right = signedBy(signers[at], octets.data());
        std::string nearly = last;
        nearly[at % 60] = nearly[at % 60] == 'A' ? 'B' : 'A';
        text += words.pick({right, last, nearly, "AAAA", "<!--c-->" + right, right + "&#10;",
                            std::string(341, '/') + "w==", ""}) +
                pieces[at + 1];
        last = right; // of other octets than the next one's
    }
    return text;
}

TEST(ValueList, ChecksEachAsIfItWereAlone) {
    constexpr int kCount = 20;
    const bool hasKernel = crypto::chosenMontgomeryKernel(32).run.squareBeside != nullptr;
    std::map<int, std::uint64_t> hits;
    for (unsigned seed = 0; seed < 12; ++seed) {
        const std::string text = randomValues(seed, kCount);
        for (const int step : {1, kCount - 1, 7}) {
            ClsXmlDSig plain;
            ClsXmlDSig quick;
            ASSERT_EQ(verified(quick, text, true, nullptr, step),
                      verified(plain, text, false, nullptr, step))
                << text;
            hits[step] += ClsXmlDSigTestAccess::structure(quick).rsaLookAhead.hits();
        }
    }
    EXPECT_EQ(hits[1] > 100, hasKernel);
    EXPECT_EQ(hits[kCount - 1], 0U);
}

// Where keys take turns, or the caller leaves signatures out: it is tried ever more seldom.
TEST(ValueList, LittleIsWorkedOutInVain) {
    for (const unsigned seed : {0U, 1U}) {
        ClsXmlDSig verifier;
        const std::string text = randomValues(seed, 101);
        static_cast<void>(verified(verifier, text, true, nullptr, seed == 0 ? 1 : 9));
        EXPECT_LE(ClsXmlDSigTestAccess::structure(verifier).rsaLookAhead.workedOut(), 40U);
    }
}

} // namespace
} // namespace vantrel::test
