// SPDX-License-Identifier: MIT
// Any document with a signature, signed here by a secret, so that changes of it reach what lies
// behind a sound signature. What its report then calls covered cannot change without the
// signature failing, and of the failure the search for causes says something. What is accepted as
// covered is called covered to the last character. xmlsec1, where it is
// installed, finds the signature as valid unless it needed a leniency.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/trust/demands.h"
#include "foundation/json/json_value.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/xml/scan/xml_document.h"
#include "fuzz/secret_signature.h"
#include "fuzz/xmlsec_peer.h"
#include "tests/dsig/truth/places.h"
#include "tests/support/report_values.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>

using namespace vantrel;
using namespace vantrel::fuzz;

namespace {

constexpr std::size_t kChangesTried = 2;

void require(bool holds, const std::string& what) {
    if (!holds) {
        std::fprintf(stderr, "%s\n", what.c_str());
        std::abort();
    }
}

json::JsonValue reportOf(ClsXmlDSig& verifier) {
    XString text;
    json::JsonValue report;
    std::size_t faultAt = 0;
    verifier.get_LastJsonData(text);
    static_cast<void>(json::parseJson(text.getUtf8Sb().view(), report, faultAt));
    return report;
}

bool signBySecret(std::string& document, int signature) {
    ClsXmlDSig digested;
    if (!putMethod(document, signature) || !load(digested, document, signature)) {
        return false;
    }
    digested.VerifySignature(true);
    const json::JsonValue report = reportOf(digested);
    const json::JsonValue* const references = report.find("references");
    std::vector<std::string> digests;
    if (references != nullptr) {
        for (const json::JsonValue& reference : references->elements()) {
            const json::JsonValue* const digest = reference.find("digest");
            digests.push_back(digest != nullptr ? test::textOf(*digest, "computed") : "");
        }
    }
    putDigests(document, signature, digests);
    return putValue(document, signature);
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

// Where xmlsec1 and the library beneath it do otherwise than the recommendations: base64 is decoded
// without what stands in CDATA; among nodes that were chosen an element inherits an attribute xml:*
// that it has itself and that was not chosen, and where the document element was not chosen, an
// instruction or comment within it ends in a line feed (Canonical XML 1.0, 2.4 and 2.3).
bool isReadOtherwiseByPeer(std::string_view document) {
    const auto has = [document](const char* words) {
        return document.find(words) != std::string_view::npos;
    };
    const bool choosesNodes = has("REC-xpath-19991116") || has("xmldsig-filter2");
    const bool hasOtherNodes = document.find("<?", 1) != std::string_view::npos || has("<!--");
    return (has("<![CDATA[") && has("xmldsig#base64")) ||
           (choosesNodes && (has(" xml:") || hasOtherNodes));
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
    if (isReadOtherwiseByPeer(document) || !isPlain(report) ||
        !test::textOf(report, "profile").empty() ||
        !std::ranges::all_of(report.find("references")->elements(), isComparable)) {
        return;
    }
    require(verdictOfXmlsec(document, signature, kSecret) != PeerVerdict::Invalid,
            "valid here, and not by xmlsec1:\n" + document);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kLargest = std::size_t{1} << 15;
    if (size == 0 || size > kLargest) {
        return 0;
    }
    // The offsets of reports are those of the text in UTF-8, without a byte-order mark.
    DataBuffer text;
    LogNull log;
    if (!text.append(ByteView(data, size)) || !text.convertXmlToUtf8(log)) {
        return 0;
    }
    std::string document(asText(text.view()));
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
