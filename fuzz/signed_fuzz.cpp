// SPDX-License-Identifier: MIT
// Any document with a signature, signed here by a secret, so that changes of it reach what lies
// behind a sound signature. What its report then calls covered cannot change without the
// signature failing, and of the failure the search for causes says something. What is accepted as
// covered is called covered to the last character. xmlsec1, where it is
// installed, finds the signature as valid unless it needed a leniency.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/trust/demands.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/mac/Hmac.h"
#include "foundation/json/json_value.h"
#include "foundation/text/LogBase.h"
#include "foundation/xml/scan/xml_document.h"
#include "fuzz/xmlsec_peer.h"
#include "tests/dsig/truth/places.h"
#include "tests/support/report_values.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>

using namespace vantrel;

namespace {

constexpr std::string_view kSecret = "fuzz";
constexpr std::size_t kChangesTried = 2;

void require(bool holds, const std::string& what) {
    if (!holds) {
        std::fprintf(stderr, "%s\n", what.c_str());
        std::abort();
    }
}

bool load(ClsXmlDSig& verifier, std::string_view document, int signature) {
    ClsBinData bytes;
    XString secret{std::string(kSecret)};
    XString encoding("ascii");
    verifier.SetHmacKey(secret, encoding);
    bytes.data().append(asBytes(document));
    const bool isLoaded =
        verifier.LoadSignatureBd(bytes) && signature < verifier.get_NumSignatures();
    verifier.put_Selector(signature);
    return isLoaded;
}

json::JsonValue reportOf(ClsXmlDSig& verifier) {
    XString text;
    json::JsonValue report;
    std::size_t faultAt = 0;
    verifier.get_LastJsonData(text);
    static_cast<void>(json::parseJson(text.getUtf8Sb().view(), report, faultAt));
    return report;
}

// Puts texts into a document, each in place of what stands in a range; the ranges in any order.
class Edits {
public:
    void put(xml::TextRange range, std::string text) { m_edits.emplace_back(range, text); }
    void carryOut(std::string& document) {
        std::ranges::sort(m_edits, std::ranges::greater(),
                          [](const auto& edit) { return edit.first.start; });
        for (const auto& [range, text] : m_edits) {
            document.replace(range.start, range.length, text);
        }
    }

private:
    std::vector<std::pair<xml::TextRange, std::string>> m_edits;
};

// The signature with this index, and what of it is written when it is signed.
class SignatureText {
public:
    SignatureText(const std::string& text, int index) {
        xml::ParseFailure why;
        m_document = xml::XmlDocument::parse(StringBuffer(text), {}, why);
        if (m_document != nullptr &&
            static_cast<std::size_t>(index) < m_document->signatures().size()) {
            const xml::SignatureElement& found =
                m_document->signatures()[static_cast<std::size_t>(index)];
            m_signature = found.element;
            m_signedInfo = found.signedInfo;
        }
    }

    [[nodiscard]] bool isThere() const {
        return m_signature != xml::kNoElement && m_signedInfo != xml::kNoElement;
    }
    // From the start tag to the end tag; empty for one from an entity.
    [[nodiscard]] xml::TextRange extent() const {
        xml::TextRange range{};
        return isThere() && m_document->sourceRange(m_signature, range) ? range : xml::TextRange{};
    }
    // Between the tags; false for an element without an end tag, or from an entity.
    [[nodiscard]] bool contentOf(xml::ElementId element, xml::TextRange& range) const {
        if (element == xml::kNoElement || !m_document->sourceRange(element, range)) {
            return false;
        }
        const std::string_view text = m_document->sourceText().view();
        const std::string_view whole = text.substr(range.start, range.length);
        const std::size_t start = whole.find('>') + 1;
        const std::size_t end = whole.rfind("</");
        if (end == std::string_view::npos || end < start) {
            return false;
        }
        range = xml::rangeOf(range.start + start, range.start + end);
        return true;
    }
    [[nodiscard]] xml::ElementId value() const {
        return m_document->firstChildNamed(m_signature, "SignatureValue");
    }
    // The DigestValue of each reference.
    [[nodiscard]] std::vector<xml::ElementId> digests() const {
        std::vector<xml::ElementId> found;
        for (xml::ElementId child = m_document->firstChild(m_signedInfo); child != xml::kNoElement;
             child = m_document->nextChild(m_signedInfo, child)) {
            if (m_document->localName(child) == "Reference") {
                found.push_back(m_document->firstChildNamed(child, "DigestValue"));
            }
        }
        return found;
    }
    // The Algorithm of the method, where it stands.
    [[nodiscard]] bool method(xml::TextRange& range) const {
        const xml::ElementId element = m_document->firstChildNamed(m_signedInfo, "SignatureMethod");
        if (element == xml::kNoElement || !m_document->sourceRange(element, range)) {
            return false;
        }
        const std::string_view text = m_document->sourceText().view();
        const std::size_t name = text.find("Algorithm=", range.start);
        const std::size_t start = name + 11;
        if (name >= range.end() || start >= text.size()) {
            return false;
        }
        range = xml::rangeOf(start, std::min(text.find(text[start - 1], start), text.size()));
        return true;
    }

private:
    std::shared_ptr<const xml::XmlDocument> m_document;
    xml::ElementId m_signature = xml::kNoElement;
    xml::ElementId m_signedInfo = xml::kNoElement;
};

bool signBySecret(std::string& document, int signature) {
    constexpr const char* kMethod = "http://www.w3.org/2001/04/xmldsig-more#hmac-sha256";
    xml::TextRange range;
    // The method first: where it stands in what a reference covers, digests change with it.
    if (const SignatureText text(document, signature); text.isThere() && text.method(range)) {
        document.replace(range.start, range.length, kMethod);
    } else {
        return false;
    }
    ClsXmlDSig digested;
    if (!load(digested, document, signature)) {
        return false;
    }
    digested.VerifySignature(true);
    const json::JsonValue report = reportOf(digested);
    const SignatureText text(document, signature);
    const std::vector<xml::ElementId> digests = text.digests();
    const json::JsonValue* const references = report.find("references");
    Edits edits;
    for (std::size_t i = 0;
         references != nullptr && i < digests.size() && i < references->elements().size(); ++i) {
        const json::JsonValue* const digest = references->elements()[i].find("digest");
        if (digest != nullptr && text.contentOf(digests[i], range)) {
            edits.put(range, test::textOf(*digest, "computed"));
        }
    }
    edits.carryOut(document);

    ClsXmlDSig signer;
    ClsBinData octets;
    DataBuffer code;
    StringBuffer base64;
    LogNull log;
    const SignatureText digestedText(document, signature);
    if (!digestedText.isThere() || !digestedText.contentOf(digestedText.value(), range) ||
        !load(signer, document, signature) || !signer.SignedInfoOctets(octets) ||
        !Hmac::doHMAC(octets.data().getData2(), static_cast<int>(octets.data().getSize()),
                      kSecret.data(), static_cast<int>(kSecret.size()), kHashSha256, code, log) ||
        !code.encodeDB("base64", base64)) {
        return false;
    }
    document.replace(range.start, range.length, base64.view());
    return true;
}

// Whether the reader of places reads the document type right, which is simple-minded there.
bool hasPlainDocumentType(const std::string& document) {
    xml::ParseFailure why;
    const auto parsed = xml::XmlDocument::parse(StringBuffer(document), {}, why);
    if (parsed == nullptr) {
        return false;
    }
    const xml::TextRange type = parsed->doctypeRange();
    const std::size_t first = document.find_first_of("[>", type.start);
    return type.empty() ||
           (document[first] == '[' ? document.find("]>", first) + 2 : first + 1) == type.end();
}

std::shared_ptr<const dsig::Policy> wholeDocumentPolicy() {
    const auto policy = std::make_shared<dsig::Policy>();
    for (const std::string_view word : {"covered", "unambiguous", "all-checked"}) {
        policy->demands.insert(dsig::demandOf(word).value());
    }
    return policy;
}

void checkCovered(const std::string& document, int signature, const json::JsonValue& report) {
    const test::ClaimedCoverage claimed(document, report);
    require(claimed.fault().empty(), claimed.fault());
    const json::JsonValue* const accepted = report.find("accepted");
    const bool isWhole = accepted != nullptr && accepted->kind() == json::JsonValue::Kind::True;
    const xml::TextRange own = SignatureText(document, signature).extent();
    std::vector<std::size_t> covered;
    for (const std::size_t place : test::contentPlaces(document)) {
        if (claimed.holds(place)) {
            covered.push_back(place);
        } else if (isWhole) {
            require(place >= own.start && place < own.end(),
                    "accepted as covered but for " + std::to_string(place) + ":\n" + document);
        }
    }
    require(!covered.empty(), "nothing covered");
    std::uint64_t seed = std::hash<std::string>()(document);
    for (std::size_t i = 0; i < kChangesTried; ++i, seed = seed * 6364136223846793005U + 1) {
        const std::size_t place = covered[(seed >> 20) % covered.size()];
        std::string changed = document;
        test::changeContent(changed, place);
        ClsXmlDSig verifier;
        verifier.SetDeadline(2000);
        if (!load(verifier, changed, signature)) {
            continue;
        }
        require(!verifier.VerifySignature(true),
                "valid with another octet at " + std::to_string(place) + ":\n" + document);
        if (seed >> 61 != 0) {
            continue; // searches take their time
        }
        verifier.SetDeadline(10);
        verifier.ExplainFailures(1);
        const json::JsonValue failed = reportOf(verifier);
        const json::JsonValue* const cause = failed.find("cause");
        require(test::textOf(failed, "status") != "valid" && cause != nullptr &&
                    !test::textOf(*cause, "code").empty(),
                "no cause for octet " + std::to_string(place));
    }
}

// What xmlsec1 finds invalid needed a leniency here, and the report has its name. Signatures of
// profiles have rules of their own.
void checkPeer(const std::string& document, int signature, const json::JsonValue& report) {
    const auto isPlain = [](const json::JsonValue& object) {
        return object.find("accommodations")->elements().empty();
    };
    // The digest of no node at all is none for xmlsec1.
    const auto isComparable = [&](const json::JsonValue& reference) {
        std::int64_t octets = 0;
        return isPlain(reference) && reference.find("octets")->integer(octets) && octets > 0;
    };
    if (!isPlain(report) || !test::textOf(report, "profile").empty() ||
        !std::ranges::all_of(report.find("references")->elements(), isComparable)) {
        return;
    }
    require(fuzz::verdictOfXmlsec(document, signature, kSecret) != fuzz::PeerVerdict::Invalid,
            "valid here, and not by xmlsec1:\n" + document);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kLargest = std::size_t{1} << 15;
    if (size == 0 || size > kLargest) {
        return 0;
    }
    std::string document(asText({data, size}));
    // The offsets of reports do not count it.
    if (document.starts_with("\xEF\xBB\xBF")) {
        document.erase(0, 3);
    }
    // Any but the first only now and then.
    const int signature = size % 4 == 0 ? 1 : 0;
    if (!signBySecret(document, signature)) {
        return 0;
    }
    ClsXmlDSig verifier;
    verifier.SetPolicy(wholeDocumentPolicy());
    if (!load(verifier, document, signature) || !verifier.VerifySignature(true)) {
        return 0;
    }
    const json::JsonValue report = reportOf(verifier);
    checkPeer(document, signature, report);
    if (hasPlainDocumentType(document)) {
        checkCovered(document, signature, report);
    }
    return 0;
}
