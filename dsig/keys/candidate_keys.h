// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_CANDIDATE_KEYS_H
#define DSIG_KEYS_CANDIDATE_KEYS_H

#include "dsig/document/certificate_texts.h"
#include "dsig/keys/key_query.h"
#include "dsig/keys/key_sources.h"
#include "dsig/report/codes.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/ClsPublicKey.h"

#include <memory>
#include <vector>

namespace vantrel::dsig {

// A key that a signature value may be checked with. A verified value proves that whoever holds the
// private half signed; whether that is somebody to trust depends on where the key came from, so the
// origin travels with the key. An attacker can sign a changed document anew with a key that he puts
// into its KeyInfo: the value verifies, and only the origin tells.
struct CandidateKey {
    Ref<ClsPublicKey> key; // shared with the document's cache and with the caller who gave it
    KeySource source{};
    VantrelX509 certificate;                            // that the key came from; empty for none
    std::shared_ptr<CertificateTexts> certificateTexts; // of it; null for none
    bool certificateGiven = false;                      // the caller's store holds the certificate
    bool keyGiven = false; // the caller handed over an equal key as well

    // Nothing but the document vouches for the key. A value that verifies with it proves that the
    // signed octets are unchanged since somebody signed them, and not who that was.
    [[nodiscard]] bool isFromDocument() const noexcept {
        return source.inDocument && !certificateGiven && !keyGiven;
    }
    // The caller knows the key; what its holder is called, the document alone says.
    [[nodiscard]] bool isNameFromDocument() const noexcept {
        return source.inDocument && !certificateGiven && keyGiven && certificate.isLoaded();
    }
};

// The candidate keys in the order in which they are tried: those of KeyInfo, then the caller's that
// it names, then that of the signature's index, then those of all signatures. `leniencies` gets
// what had to be overlooked. No key of the result is null; the result is empty when there is none.
// It shares what it needs and outlives the query.
[[nodiscard]] std::vector<CandidateKey> candidateKeys(const KeyQuery& query, CodeSet& leniencies,
                                                      LogBase& log);

} // namespace vantrel::dsig

#endif
