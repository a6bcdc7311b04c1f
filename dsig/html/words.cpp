// SPDX-License-Identifier: MIT
#include "dsig/html/words.h"

#include "dsig/report/codes.h"

namespace vantrel::dsig::html {

namespace {

// Said to people who have never read the standard, in a sentence each. The codes stay beside them.
// A new warning without an entry here shows its code alone.
struct Word {
    std::string_view code;
    std::string_view text;
};

constexpr Word kWarnings[] = {
    {warning::kSha1, "SHA-1 is used, which can be attacked."},
    {warning::kMd5, "MD5 is used, which is broken."},
    {warning::kMd2, "MD2 is used, which is broken."},
    {warning::kRipemd128, "RIPEMD-128 is used, which is too short."},
    {warning::kKeyFromDocument, "The key comes from the document itself: the signature proves that "
                                "nothing was changed, not who signed."},
    {warning::kNameFromDocument,
     "The key is yours, but the name beside it comes from the document."},
    {warning::kKeyNotUsed, "A key that was given verified nothing."},
    {warning::kWeakKey, "The key is too short."},
    {warning::kCertificateOutsideValidity,
     "The certificate is not valid at this time by its own dates."},
    {warning::kDocumentNotCovered, "The signature does not cover the whole document."},
    {warning::kPartsNotCovered,
     "There are parts of the package that the signature does not cover."},
    {warning::kContentExcluded, "Something inside the covered part is not signed."},
    {warning::kCoverageUnknown, "What exactly the signature covers cannot be shown."},
    {warning::kReferencesNotSigned, "The signature value does not vouch for all references."},
    {warning::kDigestTolerated, "A digest does not fit, and an option lets that pass."},
    {warning::kExternalMissing, "An external file was not there to be checked."},
    {warning::kNotAllChecked, "Not all references were checked."},
    {warning::kManifestNotChecked, "There is a manifest, whose digests were not checked."},
    {warning::kSignatureStructure, "The signature holds markup that its schema does not have."},
    {warning::kEncodingMismatch,
     "The document declares another encoding than the one it is written in."},
    {warning::kExternalDtdNotRead, "The document names declarations elsewhere, which were not "
                                   "read; other programs may see another text."},
    {warning::kDtdPresent, "The document has a document type declaration."},
    {warning::kEntitiesUsed, "Text comes from entities: other programs may leave it out."},
    {warning::kCommentsInText,
     "Comments divide a text: other programs may read a part of it only."},
    {warning::kCdataInText,
     "CDATA sections divide a text: other programs may read a part of it only."},
    {warning::kTimestampAuthorityNotChecked,
     "Nothing vouches for the authority of the time-stamp."},
};

} // namespace

// Codes come from a report, so one that is not known is no error.
std::string_view sentenceOf(std::string_view warning) noexcept {
    for (const Word& word : kWarnings) {
        if (word.code == warning) {
            return word.text;
        }
    }
    return {};
}

// Identifiers end in "#sha256", "/xmlenc#sha256" or ":sha256", by the taste of their time. It is
// shown and never compared.
std::string_view shortAlgorithm(std::string_view identifier) noexcept {
    constexpr std::string_view kMarks = "#/:";
    // Some identifiers end in a mark.
    const std::size_t end = identifier.find_last_not_of(kMarks) + 1;
    const std::string_view name = identifier.substr(0, end);
    const std::size_t mark = name.find_last_of(kMarks);
    return mark == std::string_view::npos ? name : name.substr(mark + 1);
}

} // namespace vantrel::dsig::html
