// SPDX-License-Identifier: MIT
#ifndef DSIG_EXPLAIN_CODES_H
#define DSIG_EXPLAIN_CODES_H

#include <string_view>

namespace vantrel::dsig::explain {

// The causes that a search finds, by their fixed words. What each claims was tried: the octets so
// changed have the stored digest, or make the value verify. The words are part of the report's
// format: scripts read them, so none is ever renamed. Sentences and remedies stand in
// cause_texts.cpp and may be improved.
namespace cause {
// The octets digested, as a text: what a verification digests is not what was signed.
// CR LF, LF, CR and &#xD; exchanged, as transfer between systems does it.
inline constexpr std::string_view kLineEnds = "line-ends";
// At the ends of lines, of texts and of the whole.
inline constexpr std::string_view kTrailingWhitespace = "trailing-whitespace";
// Whole lines between tags: the document was printed anew, or was not any more.
inline constexpr std::string_view kIndentation = "indentation";
// Everything else of white space: trimmed, collapsed, wrapped, exchanged.
inline constexpr std::string_view kWhitespace = "whitespace";
inline constexpr std::string_view kDeclaration = "declaration-included";
inline constexpr std::string_view kByteOrderMark = "byte-order-mark";
// Another character set, UTF-8 twice over, or references in place of characters.
inline constexpr std::string_view kCharset = "charset";
inline constexpr std::string_view kNormalization = "unicode-normalization";
// Letters that a conversion could not write: "?", U+FFFD, or nothing is there instead.
inline constexpr std::string_view kLostCharacters = "lost-characters";
inline constexpr std::string_view kContentOnly = "content-only";
// What the base64 content stands for, for which there is a transform of its own.
inline constexpr std::string_view kDecodedContent = "decoded-content";
// One octet of the form, found by trying them all.
inline constexpr std::string_view kChangedText = "changed-text";
// How the octets were made of the document. From here on the deviation is one of XML processing,
// not of text.
inline constexpr std::string_view kOtherCanonicalization = "other-canonicalization";
inline constexpr std::string_view kComments = "comments";
inline constexpr std::string_view kPrefixList = "prefix-list";
// Declarations of outer elements, which inclusive canonicalization takes in.
inline constexpr std::string_view kNamespaceContext = "namespace-context";
// xml:lang, xml:space and the like, inherited from outer elements.
inline constexpr std::string_view kXmlAttributes = "xml-attributes";
inline constexpr std::string_view kAttributeOrder = "attribute-order";
// Values that a document type declaration adds to a tag.
inline constexpr std::string_view kAttributeDefaults = "attribute-defaults";
inline constexpr std::string_view kEntities = "entities";
inline constexpr std::string_view kEnvelopedNotRemoved = "enveloped-not-removed";
inline constexpr std::string_view kRawOctets = "raw-octets";
// Another element of the document, or all of it: an Id that names the wrong one.
inline constexpr std::string_view kWrongElement = "wrong-element";
// How the digest was made of the octets.
// By a hash that the reference does not name, SHA-1 for SHA-256 say.
inline constexpr std::string_view kOtherHash = "other-hash";
// Hexadecimal, base64 of base64, reversed, cut: the digest is right and its text is not.
inline constexpr std::string_view kDigestEncoding = "digest-encoding";
// Nothing of all that. The content or the digest was changed since: the honest answer when all
// hypotheses fail.
inline constexpr std::string_view kContentChanged = "content-changed";
// The signature value. The first two say whose key it was, the rest what was done with it.
inline constexpr std::string_view kOtherKeyInDocument = "other-key-in-document";
inline constexpr std::string_view kOtherGivenKey = "other-given-key";
inline constexpr std::string_view kSignedInfoLineEnds = "signed-info-line-ends";
inline constexpr std::string_view kSignedInfoWhitespace = "signed-info-whitespace";
inline constexpr std::string_view kSignedInfoContext = "signed-info-namespace-context";
inline constexpr std::string_view kSignedInfoRaw = "signed-info-not-canonicalized";
inline constexpr std::string_view kSignedInfoOther = "signed-info-other-canonicalization";
inline constexpr std::string_view kOtherSignatureHash = "other-signature-hash";
// PKCS #1 v1.5 and RSASSA-PSS exchanged, or a block without its DigestInfo.
inline constexpr std::string_view kOtherPadding = "other-padding";
// Least octet first, as some cryptographic interfaces hand numbers out.
inline constexpr std::string_view kReversedValue = "reversed-value";
inline constexpr std::string_view kValueEncoding = "value-encoding";
// The secret of an HMAC was taken as text by one side and as octets by the other.
inline constexpr std::string_view kSecretEncoding = "secret-encoding";
// A digest was given to an interface that hashes what it signs.
inline constexpr std::string_view kHashOfHash = "hash-of-hash";
inline constexpr std::string_view kSignedInfoChanged = "signed-info-changed";
} // namespace cause

} // namespace vantrel::dsig::explain

#endif
