#ifndef DSIG_OBJECT_VERIFICATION_REPORT_H
#define DSIG_OBJECT_VERIFICATION_REPORT_H

#include "dsig/document/certificate_texts.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::json {
class JsonWriter;
} // namespace vantrel::json

namespace vantrel::dsig {

// Every leniency that a verification used, by its fixed code.
namespace accommodation {
inline constexpr std::string_view kAttrSortEmulated = "c14n.attr-sort-emulated";
inline constexpr std::string_view kUnknownInclusive = "c14n.unknown-inclusive";
inline constexpr std::string_view kDigestHex = "digest.hex";
inline constexpr std::string_view kDigestUnknownSha1 = "digest.unknown-sha1";
inline constexpr std::string_view kDigestTolerated = "digest.tolerated";
inline constexpr std::string_view kZatcaRules = "zatca.rules";
inline constexpr std::string_view kZatcaAuto = "zatca.auto";
inline constexpr std::string_view kEnvelopedExtraRemoved = "enveloped.extra-removed";
inline constexpr std::string_view kTokenIdMismatch = "token.id-mismatch";
inline constexpr std::string_view kReferencesUnchecked = "refs.unchecked";
inline constexpr std::string_view kLimit100 = "limit.100";
inline constexpr std::string_view kProfileCutOut = "profile.cut-out";
inline constexpr std::string_view kProfileRemoval = "profile.removal";
} // namespace accommodation

// A set of short fixed words, in the order in which they were first added.
class CodeSet {
public:
    void add(std::string_view code);
    [[nodiscard]] const std::vector<std::string_view>& codes() const noexcept { return m_codes; }
    [[nodiscard]] bool contains(std::string_view code) const noexcept;

private:
    std::vector<std::string_view> m_codes; // of static storage
};

// Notes a leniency where somebody keeps a record.
inline void noteAccommodation(CodeSet* accommodations, std::string_view code) {
    if (accommodations != nullptr) {
        accommodations->add(code);
    }
}

struct ReferenceReport {
    int index = 0;
    StringBuffer uri;
    bool external = false;
    StringBuffer digestMethod;
    bool checked = false;
    bool matched = false;
    bool dataMissing = false;
    int reason = 0;          // RefFailReason of the last attempt
    std::string_view covers; // "document", "element" or "external"; empty when unknown
    xml::ElementId coveredElement = xml::kNoElement;
    std::string element; // qualified name of the digested element
    std::string path;    // its path from the root
    CodeSet accommodations;

    // What the reference says of itself.
    void describe(const StringBuffer& itsUri, const StringBuffer& itsDigestMethod);
};

struct KeyReport {
    std::string_view source; // "KeyValue", "X509Certificate", ..., "explicit"
    std::string type;        // "RSA", "DSA", "EC", "HMAC"
    int bits = 0;
    std::string curve;
    bool weak = false;
    bool fromDocument = false;
    bool used = false;
    bool outsideValidity = false;
    VantrelX509 certificate;                            // that the key came from; empty for none
    std::shared_ptr<CertificateTexts> certificateTexts; // of it; null for none
    bool nameFromDocument = false; // the caller gave the key, the document its certificate
};

// What one verification found out: the operation's structured result.
struct SignatureReport {
    bool present = false; // false until an operation began to fill it
    int index = 0;
    StringBuffer id;
    xml::ElementId signatureElement = xml::kNoElement;
    std::string path;
    bool valid = false;
    bool tooLarge = false; // to be written down
    std::string reason;
    StringBuffer signatureMethod;
    StringBuffer canonicalizationMethod;
    std::string_view profile;
    std::vector<ReferenceReport> references;
    std::vector<KeyReport> keys;
    std::string_view timestamp = "absent";
    std::string timestampTime;      // ISO 8601
    std::string timestampAuthority; // subject of the signer's certificate
    bool timestampTrusted = false;
    CodeSet warnings;
    CodeSet accommodations;

    // The reference's entry, added when it is not there.
    ReferenceReport& reference(int refIndex);
};

// The codes as the member `name` of a JSON object.
void writeCodes(std::string_view name, const CodeSet& codes, json::JsonWriter& out);
// The candidate keys as the member "keys" of a JSON object.
void writeKeys(const std::vector<KeyReport>& keys, json::JsonWriter& out);
// The report as one JSON object. False, and the text of no use, when it has more than `most` bytes.
[[nodiscard]] bool writeReport(const SignatureReport& report, std::uint64_t most,
                               StringBuffer& json);
// What stands for such a report: an object with the status "error" and this reason, which says
// nothing else of the signature.
inline constexpr const char* kReportTooLarge =
    "The report is larger than its limit (reportOctets).";
void writeTooLargeReport(const SignatureReport& report, StringBuffer& json);

} // namespace vantrel::dsig

#endif
