// SPDX-License-Identifier: MIT
#include "dsig/explain/cause_texts.h"

#include "dsig/explain/codes.h"

#include <algorithm>
#include <iterator>

namespace vantrel::dsig::explain {

namespace {

// In the order of codes.h. The sentences say what was found, not who is to blame: a digest shows
// that two programs disagree, and the standard which of them is right. The words "the signer" stand
// where the document alone cannot have become so on its way.
struct CauseText {
    std::string_view code;
    std::string_view text;
    // To people, in the imperative; the tool shows it behind "try:".
    std::string_view tryThis; // empty for nothing
};

// What helps where the document was damaged on its way, and where its signer erred. Mail programs,
// version control and editors that change line ends all leave binary data alone.
constexpr std::string_view kTransport =
    "get the document as it was signed; send it as binary, not as text";
constexpr std::string_view kSigner =
    "have the signing program corrected, and the document signed anew";

// One remedy each: who has to choose among five chooses none.
constexpr CauseText kTexts[] = {
    {cause::kLineEnds, "The line ends are others than those that were signed.", kTransport},
    {cause::kTrailingWhitespace,
     "White space at the end of lines, texts or the document is other than what was signed.",
     kTransport},
    {cause::kIndentation, "The document was indented otherwise when it was signed.",
     "get the document as it was signed; do not print it anew"},
    {cause::kWhitespace, "White space is other than what was signed.",
     "get the document as it was signed; do not print it anew"},
    {cause::kDeclaration, "The signer digested the XML declaration, which no canonical form has.",
     kSigner},
    {cause::kByteOrderMark, "The signer digested a byte-order mark, which no canonical form has.",
     kSigner},
    {cause::kCharset, "The signer digested octets of another character set than UTF-8.", kSigner},
    {cause::kNormalization, "Letters with marks are written otherwise than they were signed.",
     "get the document as it was signed; do not normalize its text"},
    {cause::kLostCharacters, "Characters were lost in a conversion of character sets.",
     "get the document as it was signed; look for a conversion of its character set"},
    {cause::kContentOnly, "The signer digested the content of the element in place of the element.",
     kSigner},
    {cause::kDecodedContent, "The signer digested what the content decodes to.", kSigner},
    {cause::kChangedText, "One octet was changed since it was signed.",
     "get the document as it was signed"},
    {cause::kOtherCanonicalization,
     "The signer canonicalized by another method than the signature names.", kSigner},
    {cause::kComments, "The signer treated comments otherwise than the signature says.", kSigner},
    {cause::kPrefixList, "The signer used another InclusiveNamespaces prefix list.", kSigner},
    {cause::kNamespaceContext,
     "Other namespace declarations were in scope when the element was signed.",
     "have it signed in its place, or with Exclusive XML Canonicalization"},
    {cause::kXmlAttributes,
     "The signer treated inherited attributes of the prefix xml otherwise than the standard.",
     kSigner},
    {cause::kAttributeOrder, "The signer wrote attributes in another order than the standard.",
     kSigner},
    {cause::kAttributeDefaults, "The signer did not read the document type declaration.",
     "have it signed without a document type declaration"},
    {cause::kEntities, "The signer wrote references to characters or entities otherwise.", kSigner},
    {cause::kEnvelopedNotRemoved,
     "Signatures in the element were there or left out otherwise when it was signed.", kSigner},
    {cause::kRawOctets, "The signer digested the text as it stands.", kSigner},
    {cause::kWrongElement, "The digest is of another part of the document.", kSigner},
    {cause::kOtherHash, "The digest was made with another hash than the signature names.", kSigner},
    {cause::kDigestEncoding, "The digest is written otherwise than in base64.", kSigner},
    {cause::kContentChanged, "Nothing that is known to go wrong gives the digest that was signed.",
     "get the document as it was signed"},
    {cause::kOtherKeyInDocument, "Another key of the document made the signature value.",
     "find out whose key it is; name it by --key if it is to be trusted"},
    {cause::kOtherGivenKey, "Another key that was given made the signature value.",
     "name that key by --key"},
    {cause::kSignedInfoLineEnds, "The line ends of SignedInfo are others than those signed.",
     kTransport},
    {cause::kSignedInfoWhitespace, "White space in SignedInfo is other than what was signed.",
     "get the document as it was signed; do not print it anew"},
    {cause::kSignedInfoContext,
     "Other namespace declarations were in scope when SignedInfo was signed.",
     "have SignedInfo signed in its place, or with Exclusive XML Canonicalization"},
    {cause::kSignedInfoRaw, "The signer did not canonicalize SignedInfo.", kSigner},
    {cause::kSignedInfoOther, "The signer canonicalized SignedInfo otherwise.", kSigner},
    {cause::kOtherSignatureHash, "The value was made with another hash than the method names.",
     kSigner},
    {cause::kOtherPadding, "The value is padded otherwise than the method says.", kSigner},
    {cause::kReversedValue, "The octets of the signature value stand in reverse order.", kSigner},
    {cause::kValueEncoding, "The signature value is written otherwise than in base64.", kSigner},
    {cause::kSecretEncoding, "The secret was read in another encoding.",
     "give the secret with another --hmac-encoding"},
    {cause::kHashOfHash, "The signer hashed a digest once more.", kSigner},
    {cause::kSignedInfoChanged, "SignedInfo is not what was signed.",
     "get the document as it was signed"},
};

} // namespace

// A walk over the table: it is made once for each failure.
Cause makeCause(std::string_view code, std::string evidence) {
    Cause made;
    // A code without a text would be a slip of the table: it is then shown without one.
    const auto* const at = std::find_if(std::begin(kTexts), std::end(kTexts),
                                        [&](const CauseText& each) { return each.code == code; });
    if (at != std::end(kTexts)) {
        made.code = at->code;
        made.text = at->text;
        made.tries.emplace_back(at->tryThis);
    }
    made.evidence = std::move(evidence);
    return made;
}

} // namespace vantrel::dsig::explain
