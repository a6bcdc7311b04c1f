// SPDX-License-Identifier: MIT
// Members of the contract that no operation of the project calls: each does what its name says, and
// none another's work.

#include "dsig/keys/known_to_caller.h"
#include "dsig/keys/seen_certificates.h"
#include "dsig/reference/DSigReference.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/io/ClsHttp.h"
#include "foundation/x509/ClsXmlCertVault.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "foundation/xml/tree/ClsXml.h"
#include "tests/dsig/document_case.h"
#include "tests/dsig/test_access.h"
#include "tests/support/bytes.h"
#include "tests/support/corpus.h"
#include "tests/support/key_messages.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

using Access = ClsXmlDSigTestAccess;

const std::string kOpening = "<Signature xmlns=\"http://www.w3.org/2000/09/xmldsig#\"";

StringBuffer buffer(const std::string& text) { return StringBuffer(text.c_str()); }

class ContractMembers : public testing::Test {
protected:
    // A member of the verifier, whose last parameter is the log.
    template <class Member, class... Arguments> auto call(Member member, Arguments&&... arguments) {
        return (verifier.*member)(std::forward<Arguments>(arguments)..., log);
    }
    // The text that a member with one output gives; "no" where it returns false.
    template <class Member> std::string textBy(Member member) {
        StringBuffer out("left over");
        return call(member, out) ? std::string(out.view()) : "no";
    }

    LogNull log;
    ClsXmlDSig verifier;
    StringBuffer text;
};

TEST_F(ContractMembers, ReadTheSelectedSignature) {
    std::string all;
    for (const std::string digit : {"0", "1"}) {
        all += kOpening + " Id=\"s" + digit +
               "\"><SignedInfo><CanonicalizationMethod Algorithm=\"c" + digit +
               "\"/><SignatureMethod Algorithm=\"m" + digit + "\"/></SignedInfo><SignatureValue>v" +
               digit + "</SignatureValue></Signature>";
    }
    loadText(verifier, "<r>" + all + kOpening + "><SignedInfo/></Signature></r>");
    for (const int index : {0, 1, 2}) {
        verifier.put_Selector(index);
        const auto expected = [index](const std::string& name) {
            return index == 2 ? "no" : name + std::to_string(index);
        };
        EXPECT_EQ(textBy(Access::selectedSignatureId), expected("s"));
        EXPECT_EQ(textBy(Access::signatureMethod), expected("m"));
        EXPECT_EQ(textBy(Access::signatureValue), expected("v"));
        StringBuffer prefixes;
        EXPECT_EQ(call(Access::canonicalizationMethod, text, prefixes), index != 2);
        EXPECT_TRUE(index == 2 || text.view() == expected("c")) << text.view();
    }
}

TEST_F(ContractMembers, KeepSettingsApart) {
    XString out;
    EXPECT_FALSE(verifier.get_IgnoreExternalRefs() || verifier.get_WithComments());
    XString dirs("a;b");
    XString options("{\"requireTrustedTsa\":true}");
    verifier.put_ExternalRefDirs(dirs);
    verifier.put_VerifyOptions(options);
    verifier.put_IgnoreExternalRefs(true);
    verifier.get_ExternalRefDirs(out);
    EXPECT_EQ(out.getUtf8Sb().view(), "a;b");
    verifier.get_VerifyOptions(out);
    EXPECT_EQ(out.getUtf8Sb().view(), options.getUtf8Sb().view());
    EXPECT_TRUE(verifier.get_IgnoreExternalRefs() && !verifier.get_WithComments());
    for (const auto& [words, rules] : {std::pair{"other", false}, {"x ZATCA", true}}) {
        log.options().setString(words);
        call(Access::checkSetZatca);
        EXPECT_EQ(verifier.*Access::zatcaRules, rules) << words;
    }

    ClsHttp http;
    using Numbers = std::vector<std::int64_t>;
    const auto settings = [&http] {
        return Numbers{http.get_ConnectTimeoutMs(), http.get_ReadTimeoutMs(),
                       http.get_TotalTimeoutMs(), http.get_MaxResponseSize()};
    };
    EXPECT_EQ(settings(), (Numbers{10000, 20000, 30000, 16 << 20}));
    http.put_ConnectTimeoutMs(1);
    http.put_ReadTimeoutMs(2);
    http.put_TotalTimeoutMs(3);
    http.put_MaxResponseSize(4);
    EXPECT_EQ(settings(), (Numbers{1, 2, 3, 4}));
}

TEST_F(ContractMembers, LookUpByTheNameThatTheySay) {
    ClsXmlCertVault vault;
    EXPECT_TRUE(vault.AddCertEncoded(XString(keyValueNamed("signer"))) &&
                vault.AddCertEncoded(XString(keyValueNamed("other"))) &&
                verifier.UseCertVault(vault));
    for (const std::string name : {"signer", "other"}) {
        VantrelX509 certificate;
        const Bytes der = fromBase64(keyValueNamed(name));
        XString subject;
        XString serial;
        ASSERT_TRUE(certificate.loadX509Der(DataBuffer(ByteView(der)), log) &&
                    certificate.getDN(true, true, subject, log, 0) &&
                    certificate.get_SerialNumber(serial, log));
        const Ref<ClsPublicKey> expected = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
        ASSERT_TRUE(expected->loadAnyBytes(certificate.publicKeyInfo(), log));
        const StringBuffer issuer("Key Test Root");
        const StringBuffer ski = buffer(keyValueNamed(name + ".ski"));
        const StringBuffer& dn = subject.getUtf8Sb();
        const StringBuffer& number = serial.getUtf8Sb();
        StringBuffer found[3];
        EXPECT_TRUE(call(Access::certByIssuer, issuer, number, found[0]) &&
                    call(Access::certBySubject, dn, found[1]) &&
                    call(Access::certBySki, ski, found[2]));
        for (const StringBuffer& base64 : found) {
            EXPECT_EQ(fromBase64(std::string(base64.view())), der) << name;
        }
        for (ClsPublicKey* const key :
             {call(Access::keyByIssuer, issuer, number), call(Access::keyBySubject, dn),
              call(Access::keyBySki, ski)}) {
            const Ref<ClsPublicKey> owner = Ref<ClsPublicKey>::adopt(key);
            EXPECT_TRUE(owner && dsig::isSameKey(owner->key(), expected->key())) << name;
        }
        EXPECT_FALSE(call(Access::certByIssuer, dn, number, found[0]) ||
                     call(Access::certBySubject, ski, found[1]) ||
                     call(Access::certBySki, dn, found[2]));
        EXPECT_TRUE(found[0].isEmpty() && found[1].isEmpty() && found[2].isEmpty());
    }
}

TEST_F(ContractMembers, TakeKeysAndCertificatesFromKeyInfo) {
    loadText(verifier, keyMessage("message", "", "<ds:KeyValue>{rsa.other}</ds:KeyValue>"));
    const Ref<ClsXml> keyInfo = Ref<ClsXml>::adopt(verifier.GetKeyInfo());
    ExtPtrArrayRc keys;
    ASSERT_TRUE(keyInfo && call(Access::publicKeyFromKeyInfo, *keyInfo, keys));
    EXPECT_EQ(keys.getSize(), 1);

    dsig::SeenCertificates seen;
    text = buffer("\n" + keyValueNamed("signer"));
    EXPECT_TRUE(call(Access::processCert, text, seen));
    EXPECT_TRUE(
        seen.hasIssuerSerial(StringBuffer("Key Test Root"), StringBuffer("F1E2D3C4B5A69788"), log));
    text.setString("AAAA");
    EXPECT_FALSE(call(Access::processCert, text, seen));
}

// The retry with another attribute order is the outer member's. A parsed reference is checked as it
// is, whatever the document says.
TEST_F(ContractMembers, CheckReferencesStepByStep) {
    ExtPtrArraySb dirs;
    bool missing = true;
    loadDocument(verifier, vectorPath("dsig/attribute-order/prefix/document.xml"));
    EXPECT_FALSE(call(Access::verifyReferenceDigest2, 0, missing, dirs) || missing);
    EXPECT_TRUE(call(Access::verifyReferenceDigest, 0, missing, dirs));

    loadText(verifier, "<r><a Id=\"x\">1</a><b Id=\"y\">2</b>" + kOpening +
                           "><SignedInfo><Reference URI=\"#y\"/></SignedInfo></Signature></r>");
    DSigReference reference;
    reference.m_digestMethod.setString("http://www.w3.org/2001/04/xmlenc#sha256");
    // SHA-256 of <a Id="x">1</a>
    reference.m_digestValue.setString("1tLJxpANJfVXAXttXbuqGA3fRWHH/JX8nUv/O3+pI80=");
    for (const auto& [id, reason] : {std::pair{"x", 0}, {"y", 1}}) {
        text.setString(id);
        EXPECT_EQ(call(Access::verifyInternalReference, 0, text, reference), reason == 0);
        EXPECT_EQ(verifier.get_RefFailReason(), reason);
    }
}

TEST_F(ContractMembers, ChangeTextsOfTheirOwn) {
    const std::string first = kOpening + " Id=\"s\"><SignedInfo/></Signature>";
    const std::string row = "<r>" + first + "<Signature>2</Signature><x/></r>";
    loadText(verifier, row);
    DSigReference reference;
    StringBuffer unused;
    text = buffer(row);
    EXPECT_TRUE(call(Access::transformEnveloped, text, unused, unused, reference));
    EXPECT_EQ(text.view(), "<r><x/></r>");
    text = buffer(row);
    const auto length = static_cast<std::uint32_t>(first.size());
    EXPECT_TRUE(call(Access::removeFollowing, text, 3U, length));
    EXPECT_EQ(text.view(), "<r><x/></r>");

    text.setString("<r b='1' a='2'><e Id='x'/><!-- --></r>");
    for (const char* const id : {"x", "y"}) { // the second fails, and changes nothing
        EXPECT_EQ(verifier.transformCanonicalize(nullptr, text, StringBuffer("xml-c14n"),
                                                 StringBuffer(id), log),
                  *id == 'x');
        EXPECT_EQ(text.view(), "<e Id=\"x\"></e>");
    }
    text.setString("<a>1</a><b>2</b><a>3</a>");
    EXPECT_TRUE(verifier.removeXmlChunk("<a>", "</a>", text, log) &&
                !verifier.removeXmlChunk("<c>", "</c>", text, log) &&
                verifier.preprocessXmlToTransform(StringBuffer(), reference, text, log) &&
                verifier.postProcessTransformedXml(StringBuffer(), reference, text, log));
    EXPECT_EQ(text.view(), "<b>2</b><a>3</a>");

    const StringBuffer tags("<t Id=\"i\">  c </t>");
    EXPECT_TRUE(ClsXmlDSig::captureUniqueTagContent("<t", tags, text, log) && text.equals("c"));
    EXPECT_TRUE(ClsXmlDSig::captureUniqueAttrContent("<t", "Id", tags, text, log) &&
                text.equals("i"));
    EXPECT_TRUE(tags.getDelimited("<t", "</t>", false, text) && text.equals(" Id=\"i\">  c "));
    EXPECT_TRUE(tags.getDelimited("Id", "\">", true, text) && text.equals("Id=\"i\">"));
    EXPECT_FALSE(tags.getDelimited("</t>", "<t", true, text));
    EXPECT_EQ(tags.findSubstr("c <"), tags.getString() + 12);
    EXPECT_EQ(tags.findSubstr("z"), nullptr);
}

// Nothing to check passes; a token that is none does not.
TEST_F(ContractMembers, CheckTimeStamps) {
    for (const char* const stamp : {"", "<EncapsulatedTimeStamp>AAAA</EncapsulatedTimeStamp>"}) {
        const std::string signature =
            kOpening + "><SignedInfo/><SignatureValue Id=\"v\">AAAA</SignatureValue>" + stamp +
            "</Signature>";
        loadText(verifier, signature);
        const Ref<ClsXml> element = Ref<ClsXml>::adopt(ClsXml::createNewCls());
        ASSERT_TRUE(element->loadXml(buffer(signature), false, log));
        EXPECT_EQ(call(Access::checkTimestamp, buffer(signature), *element), *stamp == '\0');
    }
}

TEST_F(ContractMembers, GiveWhatHandlesHold) {
    const Ref<ClsXml> root = Ref<ClsXml>::adopt(ClsXml::createNewCls());
    ASSERT_TRUE(root->loadXml(StringBuffer("<p:a xmlns:p='u'>1<b>2</b>3</p:a>"), false, log));
    XString out;
    root->get_Content(out);
    EXPECT_EQ(out.getUtf8Sb().view(), "13");
    root->get_Tag(out);
    EXPECT_EQ(out.getUtf8Sb().view(), "p:a");
    root->put_I(7);
    EXPECT_EQ(root->get_I(), 7);
    ClsBinData secret;
    secret.data().append(asBytes(std::string_view("secret")));
    secret.SecureClear();
    EXPECT_EQ(secret.get_NumBytes(), 0U);
}

} // namespace
} // namespace vantrel::test
