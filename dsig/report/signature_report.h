// SPDX-License-Identifier: MIT
#ifndef DSIG_REPORT_SIGNATURE_REPORT_H
#define DSIG_REPORT_SIGNATURE_REPORT_H

#include "dsig/document/certificate_texts.h"
#include "dsig/report/cause.h"
#include "dsig/report/codes.h"
#include "dsig/report/coverage.h"
#include "dsig/report/ref_reason.h"
#include "dsig/report/value_check.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/boxed.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/element_text.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::json {
class JsonWriter;
} // namespace vantrel::json

namespace vantrel::dsig {

// One entry of a Transforms list as the document has it.
struct TransformReport {
    // One expression of an XPath transform; `filter` is empty unless it is one of XPath Filter 2.0.
    struct Expression {
        std::string filter;
        std::string xpath;
    };

    std::string algorithm;
    std::string prefixList; // of Exclusive XML Canonicalization; empty for none
    std::vector<Expression> expressions;
};

// What a reference has in the document.
struct ReferenceText {
    StringBuffer digest; // the stored one, without white space
    std::vector<TransformReport> transforms;
};

// Where an external reference led.
struct FoundData {
    std::string name;     // below a folder that the caller named, or of a part; empty: given
    bool isPart = false;  // of the package that the signature stands in
    bool isWhole = false; // all of the part was digested
    std::size_t part = 0; // its index
};

// Which parts of its package a valid signature covers, by their names; each list in the package's
// order.
struct PartCoverage {
    std::vector<std::string> covered;
    std::vector<std::size_t> coveredIndexes;
    std::vector<std::string>
        missing; // not covered, though the kind of package does not exempt them
};

// What was found out about one reference.
// A value: it owns its texts, and names elements by ids of the loaded document.
struct ReferenceResult {
    int index = 0;
    StringBuffer uri;
    bool external = false;
    StringBuffer digestMethod;
    // What the reference says of itself, and its digest, which is right, are what the document has:
    // they are taken from there before a report is written (verify/complete_report.h).
    bool asWritten = false;
    bool checked = false;
    // Means something only when `checked` is true.
    RefReason reason = RefReason::Match; // of the last attempt
    bool dataMissing = false;            // external data that nobody gave
    // Its digest may match all the same. By the ZATCA rules the value is over the first reference's
    // digest alone, so that anybody may replace the others and what they are of.
    bool isSigned = true; // false: the signature value does not vouch for it
    // "document", "element", "elements" or "external"; empty when unknown. What was digested of it
    // is less by what is excluded.
    std::string_view covers;
    ElementList coveredElements; // in the order in which they are digested
    std::vector<Exclusion> excluded;
    bool coverageKnown = true;
    // Base64 of the digest of the octets that were digested by the attempt that matched, else by
    // the first, and their number; empty and 0 when there was nothing to digest.
    StringBuffer computedDigest;
    std::uint64_t octetCount = 0;
    CodeSet accommodations;
    text::Boxed<CodeSet> standards; // constructs beyond the usual ones that led to the digest
    // A report can have very many of these; what few need, or nobody before the report is written
    // (verify/complete_report.h), takes no room until then.
    text::Boxed<ReferenceText> text;
    text::Boxed<Cause> cause;
    text::Boxed<FoundData> found; // of an external reference whose data was found by its name
    DataBuffer octets; // that were digested by the attempt that matched, else by the first; where
                       // they were asked for

    [[nodiscard]] bool matched() const noexcept { return checked && reason == RefReason::Match; }
    // What the reference says of itself.
    void describe(const StringBuffer& itsUri, const StringBuffer& itsDigestMethod);
};

// Names and paths of elements as reports show them, made when a report is written.
// The paths belong to the document, which must outlive the object; what they work out for one
// report serves the next.
class DocumentNames {
public:
    explicit DocumentNames(xml::ElementPaths& paths) noexcept : m_paths(paths) {}

    // The qualified name; a very long one is cut, so that many references stay in proportion.
    [[nodiscard]] std::string name(xml::ElementId element);
    [[nodiscard]] std::string path(xml::ElementId element);

private:
    xml::ElementPaths& m_paths;
};

// A candidate key, tried or not: reports list all, in the order in which they are tried.
struct KeyReport {
    std::string_view source; // "KeyValue", "X509Certificate", ..., "explicit"
    std::string type;        // "RSA", "DSA", "EC", "HMAC"
    int bits = 0;
    // Name of an elliptic curve; empty for the other kinds.
    std::string curve;
    bool weak = false;
    // Nothing but the document vouches for the key.
    bool fromDocument = false;
    // The key that verified the value; true for one at most.
    bool used = false;
    // The certificate's dates against the clock of this machine. Dates that cannot be read count as
    // outside.
    bool outsideValidity = false;
    VantrelX509 certificate;                            // that the key came from; empty for none
    std::shared_ptr<CertificateTexts> certificateTexts; // of it; null for none
    // A key without a certificate, for its fingerprint; null for others and for HMAC.
    Ref<ClsPublicKey> key;
    bool keyGiven = false;         // the caller handed over this key, or an equal one
    bool nameFromDocument = false; // the caller gave the key, the document its certificate

    // Lower-case hexadecimal SHA-256 of the SubjectPublicKeyInfo: the certificate's own octets
    // where there is one. Empty for HMAC.
    [[nodiscard]] std::string spkiSha256() const;
};

// Whose key verified the value, with a certificate that has this key, wherever one was found.
struct SignerReport {
    std::string_view source; // of the certificate, else of the key; of static storage
    std::string spkiSha256;  // empty: the value did not verify, or by a secret
    VantrelX509 certificate; // empty for none
    std::shared_ptr<CertificateTexts> certificateTexts; // of it; null for none
};

// Of a valid time-stamp: what its authority is judged by.
struct StampReport {
    std::int64_t time = 0; // seconds since 1970
    VantrelX509 authority; // the certificate of its signer
    DataBuffer token;      // the CMS message, which may carry certificates
};

// What one verification found out: the operation's structured result.
// Valid says that the value fits one of the keys and, where that was asked for, the digests fit the
// references. Whether the key is somebody's to trust is not in it: see the warnings.
struct SignatureReport {
    bool present = false; // false until an operation began to fill it
    int index = 0;
    StringBuffer id;
    xml::ElementId signatureElement = xml::kNoElement;
    bool valid = false;
    bool tooLarge = false; // to be written down
    // Why it is not valid: a line of the log; empty for a valid one.
    std::string reason;
    StringBuffer signatureMethod;
    StringBuffer canonicalizationMethod;
    // Name of the recognised profile; empty for an ordinary document. Of static storage.
    std::string_view profile;
    std::vector<ReferenceResult> references;
    // In a package: of the manifests that those cover, in document order; not empty only then.
    std::vector<ReferenceResult> manifest;
    std::string part;   // the part of a package that the signature stands in; empty outside
    int firstIndex = 0; // number of signatures in the package's parts before that
    std::optional<PartCoverage> parts; // filled in when a report is written, in a package
    std::vector<KeyReport> keys;
    // A key must be found for the value, for a report even where the outcome is settled before.
    bool valueWanted = false;
    bool referencesFailed = false; // that is why it is not valid
    bool givenRulesOnly = false;   // the caller wanted no further constructs of the recommendations
    ValueCheck value = ValueCheck::NotReached;
    // "absent", "not-checked", "valid" or "invalid"; the next three are set only once it was
    // checked.
    std::string_view timestamp = "absent";
    std::string timestampTime;      // ISO 8601
    std::string timestampAuthority; // subject of the signer's certificate
    bool timestampTrusted = false;
    std::shared_ptr<const StampReport> stamp; // null unless the time-stamp is valid
    CodeSet warnings;
    CodeSet accommodations;
    CodeSet standards; // constructs beyond the usual ones that were needed
    // What follows, the warnings and the causes are filled in when a report is written.
    bool complete = false;
    int referenceCount = 0; // in SignedInfo; `references` may be fewer
    SignerReport signer;
    Cause cause; // empty for a valid signature

    // The reference's entry, added when it is not there.
    ReferenceResult& reference(int refIndex);
};

// The codes as the member `name` of a JSON object.
void writeCodes(std::string_view name, const CodeSet& codes, json::JsonWriter& out);
// The candidate keys as the member "keys" of a JSON object.
void writeKeys(const std::vector<KeyReport>& keys, json::JsonWriter& out);
// Writes members of the report's object that are of a room above this one.
using MoreMembers = std::function<void(json::JsonWriter& out)>;
// The report as one JSON object; `names` are those of the loaded document, null without one; `more`
// (may be empty) writes what stands behind its own members. False, and the text of no use, when it
// has more than `most` bytes.
[[nodiscard]] bool writeReport(const SignatureReport& report, DocumentNames* names,
                               std::uint64_t most, StringBuffer& json,
                               const MoreMembers& more = {});
// What stands for such a report: an object with the status "error" and this reason, which says
// nothing else of the signature.
inline constexpr const char* kReportTooLarge =
    "The report is larger than its limit (reportOctets).";
void writeTooLargeReport(const SignatureReport& report, StringBuffer& json);

} // namespace vantrel::dsig

#endif
