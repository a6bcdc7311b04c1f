// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_SIGNATURE_PROFILE_H
#define DSIG_TRANSFORM_SIGNATURE_PROFILE_H

#include "dsig/document/selection.h"

#include <cstdint>
#include <string_view>

namespace vantrel::dsig {

// Profiles of one signature, known by where it stands in the loaded document and by what it says
// of itself. Unlike those of a document's text (profile_detection.h) no comment and no other
// element can call for them, and each signature has its own.
enum class SignatureProfile : std::uint8_t {
    None,
    AirPackage,      // packages of AIR: signed without the white space between elements
    NhsPrescription, // signed is a document derived from parts of the prescription
    VietnamInvoice,  // the enveloped-signature transform on an Object of the signature
};

// The profile of the selected signature; None without one. For references that the usual ways do
// not settle: the children of the signature are looked at, whatever the size of the document.
[[nodiscard]] SignatureProfile signatureProfile(const Selection& selection);
// What a report calls the profile of the signature: its own, else `ofDocument`; signatures of the
// Austrian security layer, whose filters need no rule of their own, are named as well. Reads
// SignedInfo, so that it is for reports only. Of static storage.
[[nodiscard]] std::string_view profileName(const Selection& selection, std::string_view ofDocument);
// Its signers leave out the texts of white space alone (element_space.h).
[[nodiscard]] bool leavesOutSpace(SignatureProfile profile) noexcept;

} // namespace vantrel::dsig

#endif
