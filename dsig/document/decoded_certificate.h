// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_DECODED_CERTIFICATE_H
#define DSIG_DOCUMENT_DECODED_CERTIFICATE_H

#include "dsig/document/certificate_texts.h"
#include "foundation/base/log_tape.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vantrel::dsig {

// A certificate that the document carries, decoded once. What the decoding wrote to the log is
// replayed for every signature that uses it, failures included.
struct DecodedCertificate {
    StringBuffer source;      // its base64 as the document has it
    StringBuffer base64;      // the same without references to carriage returns, or of its PEM
    bool fromPem = false;     // it stood in the document as PEM, or as the base64 of PEM
    VantrelX509 certificate;  // empty when it cannot be decoded
    StringBuffer thumbprint;  // base64 of the SHA-1 of the bytes; empty until it is asked for
    bool contentFound = true; // false for a token whose content is no certificate path
    // True once decoding the key was tried, whatever came of it, so that a key that nobody can
    // decode is not tried again for every signature.
    bool keyDecoded = false;
    Ref<ClsPublicKey> key; // null until `keyDecoded`, and when it cannot be decoded
    // The lines of each step apart: a signature may stop after any of them, and its log holds those
    // of the steps it took.
    std::vector<LogTape::Line> contentLines;
    std::vector<LogTape::Line> certificateLines;
    std::vector<LogTape::Line> keyLines;
    std::shared_ptr<CertificateTexts> texts = std::make_shared<CertificateTexts>();
};

// The certificates of one document: security tokens by their element, others by their text. A key
// is kept for the most recent ones only, since it may take more memory than its certificate.
// Without it a document with thousands of signatures under one certificate would have it decoded
// thousands of times. Entries are shared: whoever holds one may go on using it after the cache has
// let it go.
class CertificateCache final {
public:
    using Entry = std::shared_ptr<DecodedCertificate>;

    // What a token holds, read as one certificate or as a path of them, and what a text holds. Null
    // when it was not decoded yet, or not kept.
    [[nodiscard]] Entry findToken(xml::ElementId element, bool asPath) const;
    [[nodiscard]] Entry findText(std::string_view source) const;
    // Tokens are all kept: there is at most one entry for each of the two readings of an element,
    // so they stay in proportion to the document.
    void addToken(xml::ElementId element, bool asPath, const Entry& entry);
    // Texts that are long or many are not kept.
    void addText(const Entry& entry);

    // Notes that the entry's key was decoded; the key that was decoded the longest ago may go.
    void keepKey(const Entry& entry);
    // Lets go of all keys, for one is about to leave the library's hands.
    void forgetKeys() noexcept;

    // Work that was done, for measurements.
    [[nodiscard]] std::uint64_t certificatesDecoded() const noexcept { return m_certificates; }
    [[nodiscard]] std::uint64_t keysDecoded() const noexcept { return m_keys; }

private:
    std::map<std::pair<xml::ElementId, bool>, Entry> m_tokens;
    std::unordered_map<std::string_view, Entry> m_texts; // the keys are views of the entries
    std::list<Entry> m_withKey;
    std::uint64_t m_certificates = 0;
    std::uint64_t m_keys = 0;
};

} // namespace vantrel::dsig

#endif
