// SPDX-License-Identifier: MIT
#ifndef API_DOCUMENT_H
#define API_DOCUMENT_H

#include "api/certificate.h"
#include "api/result.h"
#include "api/signature_info.h"
#include "api/verify_options.h"
#include "api/verify_result.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// How a canonical form is made; by default that of Canonical XML 1.0 of the whole document.
struct CanonicalForm {
    bool exclusive = false; ///< Exclusive XML Canonicalization 1.0
    bool withComments = false;
    std::string id;       ///< only the element with this Id and its subtree; empty: the document
    std::string prefixes; ///< InclusiveNamespaces prefix list, for the exclusive form only
};

/// A loaded document, for several operations on one text. It keeps a copy of the text. One thread
/// at a time may use an object; different objects are independent. No operation throws anything but
/// std::bad_alloc. After it was moved from it may only be destroyed or assigned to.
class Document final {
public:
    /// Loads a document from its octets, in the encoding that it declares, to be verified with
    /// `options`. The error says why it is not loaded: not well-formed, over a limit, or something
    /// of the options was refused. A document without signatures loads. Of a package it is the only
    /// signature document, or the one that VerifyOptions::part names; verifications then are those
    /// of the package as far as that document signs it.
    [[nodiscard]] static Result<Document> load(std::string_view document,
                                               const VerifyOptions& options = {});
    [[nodiscard]] static Result<Document> loadFile(const std::string& path,
                                                   const VerifyOptions& options = {});

    Document(Document&&) noexcept;
    Document& operator=(Document&&) noexcept;
    ~Document();

    [[nodiscard]] int signatureCount() const;
    /// The recognised document profile; empty for an ordinary document.
    [[nodiscard]] std::string profile() const;

    /// Verifies the signatures that the options select. Every call begins anew; what was found out
    /// by one before does not count.
    [[nodiscard]] VerifyResult verify();
    /// Verifies one signature, whatever the options select.
    [[nodiscard]] VerifyResult verify(int signature);
    /// The same as the first with a search for the cause of each failure. `effort` multiplies the
    /// usual budget; it counts when the document's first search is made.
    [[nodiscard]] VerifyResult explain(int effort = 1);

    /// What the signatures say of themselves, in document order.
    [[nodiscard]] Result<std::vector<SignatureInfo>> signatures();
    /// The certificates that KeyInfo of a signature carries or names, in document order; there may
    /// be none.
    [[nodiscard]] Result<std::vector<Certificate>> certificates(int signature);
    /// The octets over which the digest of a reference is computed, by a verification with the
    /// options.
    [[nodiscard]] Result<std::string> digestInput(int signature, int reference);
    /// The octets over which the signature value is computed.
    [[nodiscard]] Result<std::string> signedInfoOctets(int signature);
    [[nodiscard]] Result<std::string> canonicalize(const CanonicalForm& form = {});
    /// Verifies, and gives a stand-alone page of HTML about the result, headed `title`.
    [[nodiscard]] Result<std::string> htmlReport(std::string_view title);

private:
    struct State;

    explicit Document(std::unique_ptr<State> state) noexcept;
    [[nodiscard]] static Result<Document> loaded(std::unique_ptr<State> state,
                                                 const VerifyOptions& options);

    std::unique_ptr<State> m_state;
};

} // namespace vantrel

#endif
