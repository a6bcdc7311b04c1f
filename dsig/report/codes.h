// SPDX-License-Identifier: MIT
#ifndef DSIG_REPORT_CODES_H
#define DSIG_REPORT_CODES_H

#include <string_view>
#include <vector>

namespace vantrel::dsig {

// Every leniency that a verification used, by its fixed code.
// The digest or the value that was accepted is right by the rule that the code names, except for
// kDigestTolerated. A caller who wants the letter of the standards refuses a report that has any.
namespace accommodation {
// A digest matched with attributes in an order other than Canonical XML 1.0, section 2.2, has.
inline constexpr std::string_view kAttrSortEmulated = "c14n.attr-sort-emulated";
// The canonicalization method of SignedInfo is not known, and the inclusive one was tried.
inline constexpr std::string_view kUnknownInclusive = "c14n.unknown-inclusive";
// The stored digest is hexadecimal text where XML Signature, 4.4.3.6, has base64.
inline constexpr std::string_view kDigestHex = "digest.hex";
// The digest method is not known, and SHA-1 was tried.
inline constexpr std::string_view kDigestUnknownSha1 = "digest.unknown-sha1";
// A digest does not match, and an option of the caller lets that pass.
inline constexpr std::string_view kDigestTolerated = "digest.tolerated";
// The rules of ZATCA invoices, asked for by option or found to be needed for a digest.
inline constexpr std::string_view kZatcaRules = "zatca.rules";
inline constexpr std::string_view kZatcaAuto = "zatca.auto";
// Signatures directly behind the enveloped one were left out of the digest with it.
inline constexpr std::string_view kEnvelopedExtraRemoved = "enveloped.extra-removed";
// No security token has the Id that KeyInfo refers to; the first one was taken.
inline constexpr std::string_view kTokenIdMismatch = "token.id-mismatch";
// The caller asked for the signature value only, so nothing is known of what the references cover.
inline constexpr std::string_view kReferencesUnchecked = "refs.unchecked";
// A rule stopped at its fixed number of elements, and others stayed.
inline constexpr std::string_view kLimit100 = "limit.100";
inline constexpr std::string_view kLimit13 = "limit.13";
// A profile had a part of the document digested or canonicalized in place of the whole, or a piece
// of it left out.
inline constexpr std::string_view kProfileCutOut = "profile.cut-out";
inline constexpr std::string_view kProfileRemoval = "profile.removal";
// The digest, or the value, is over a canonical form without its texts of white space alone.
inline constexpr std::string_view kProfileSpace = "profile.space-left-out";
// The digest is over a document that is derived from parts of this one.
inline constexpr std::string_view kProfileDerived = "profile.derived";
// The enveloped-signature transform of a reference into the signature itself removed nothing.
inline constexpr std::string_view kEnvelopedNotRemoved = "enveloped.not-removed";
// The element of a certificate holds a PEM text, or the base64 of one.
inline constexpr std::string_view kCertificatePem = "certificate.pem";
// The base64 transform decoded an element that has child elements; these were passed over.
inline constexpr std::string_view kBase64Children = "base64.children-ignored";
// These are found when a report is completed (verify/bent_readings.h): the octets are not those of
// the reference or of SignedInfo as the recommendations have them.
// Canonical XML 1.1 was carried out as 1.0.
inline constexpr std::string_view kC14n11As10 = "c14n.11-as-10";
// Comments of a reference to "" or to an Id were digested.
inline constexpr std::string_view kCommentsKept = "c14n.comments-kept";
// The signature was left out of the whole document without the enveloped-signature transform.
inline constexpr std::string_view kEnvelopedImplied = "enveloped.implied";
// What an XPath transform takes out was known by pieces of its expression; it asks for other nodes.
inline constexpr std::string_view kXPathByShape = "xpath.by-shape";
// The whole HMAC matched, though HMACOutputLength asks for another length.
inline constexpr std::string_view kHmacLengthIgnored = "hmac.length-ignored";
} // namespace accommodation

// Constructs of the recommendations beyond the usual ones: each was processed exactly as its
// recommendation says, after the usual way had not led to the digest.
namespace standard {
inline constexpr std::string_view kXPath = "xpath";                // XML Signature 1.1, 6.6.3
inline constexpr std::string_view kXPathFilter2 = "xpath-filter2"; // XPath Filter 2.0
inline constexpr std::string_view kC14n11 = "c14n11";              // Canonical XML 1.1
inline constexpr std::string_view kXPointer = "xpointer";          // XML Signature 1.1, 4.4.3.3
// A reference into the document loses its comments before any transform (the same section).
inline constexpr std::string_view kCommentFree = "comment-free";
inline constexpr std::string_view kExternalTransforms = "external-transforms";
// None of these, but the transforms as they are written, without what signers leave out or add.
inline constexpr std::string_view kPlainTransforms = "plain-transforms";
} // namespace standard

// What a caller should know of a verification besides its outcome, by its fixed word.
namespace warning {
// Weak hashes, of the signature method or of a digest.
inline constexpr std::string_view kSha1 = "sha1";
inline constexpr std::string_view kMd5 = "md5";
inline constexpr std::string_view kMd2 = "md2";
inline constexpr std::string_view kRipemd128 = "ripemd128";
// The key that verified.
// Whoever wrote the document chose the key, so the signature proves that it is whole, not whose it
// is. "name-from-document": the caller knows the key, not the certificate that names its holder.
inline constexpr std::string_view kKeyFromDocument = "key-from-document";
inline constexpr std::string_view kNameFromDocument = "name-from-document";
// The caller gave a key, and another one verified the value.
inline constexpr std::string_view kKeyNotUsed = "key-not-used";
inline constexpr std::string_view kWeakKey = "weak-key";
inline constexpr std::string_view kCertificateOutsideValidity = "certificate-outside-validity";
// What the digests cover, and what they were not asked for.
// These answer a signature that is right over something else than what is read (XML Signature,
// 8.1.1): content beside the covered element, or taken out of it by a transform.
inline constexpr std::string_view kDocumentNotCovered = "document-not-covered";
// Of a package: there are parts besides those that the digests cover.
inline constexpr std::string_view kPartsNotCovered = "parts-not-covered";
inline constexpr std::string_view kContentExcluded = "content-excluded";
inline constexpr std::string_view kCoverageUnknown = "coverage-unknown";
inline constexpr std::string_view kReferencesNotSigned = "references-not-signed";
inline constexpr std::string_view kDigestTolerated = "digest-tolerated";
inline constexpr std::string_view kExternalMissing = "external-missing";
// A reference's digest was not asked for, not computed or did not have to match.
inline constexpr std::string_view kNotAllChecked = "not-all-checked";
// Digests in a Manifest are the application's to check (XML Signature, 5.1).
inline constexpr std::string_view kManifestNotChecked = "manifest-not-checked";
inline constexpr std::string_view kSignatureStructure = "signature-structure";
// What other readers of the document may see otherwise.
inline constexpr std::string_view kEncodingMismatch = "encoding-mismatch";
inline constexpr std::string_view kExternalDtdNotRead = "external-dtd-not-read";
inline constexpr std::string_view kDtdPresent = "dtd-present";
inline constexpr std::string_view kEntitiesUsed = "entities-used";
inline constexpr std::string_view kCommentsInText = "comments-in-text";
inline constexpr std::string_view kCdataInText = "cdata-in-text";
// The time-stamp is right, but nothing that the caller gave vouches for its signer.
inline constexpr std::string_view kTimestampAuthorityNotChecked = "timestamp-authority-not-checked";
} // namespace warning

// A set of short fixed words, in the order in which they were first added.
class CodeSet {
public:
    // A code that is there already is not added again. `code` must be of static storage, such as
    // the constants above.
    void add(std::string_view code);
    void remove(std::string_view code);
    [[nodiscard]] const std::vector<std::string_view>& codes() const noexcept { return m_codes; }
    [[nodiscard]] bool contains(std::string_view code) const noexcept;

private:
    std::vector<std::string_view> m_codes; // of static storage
};

} // namespace vantrel::dsig

#endif
