// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_DOCUMENT_H
#define DSIG_DOCUMENT_DOCUMENT_H

#include "dsig/document/decoded_certificate.h"
#include "dsig/document/id_rivals.h"
#include "dsig/document/key_account.h"
#include "dsig/document/parsed_transforms.h"
#include "dsig/document/reference_form.h"
#include "dsig/document/rsa_look_ahead.h"
#include "dsig/document/token_index.h"
#include "dsig/document/work_account.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/ClsXml.h"
#include "foundation/xml/tree/element_text.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vantrel::xml {
class NodeIndex;
class WorkBudget;
} // namespace vantrel::xml

namespace vantrel::dsig {

class DigestAhead;
class RepeatedReference;
class SignedInfoPattern;

// The key of a KeyValue that was read last: the signatures of a document often carry the same one,
// and setting up a key costs a good part of using it. Empty before the first.
struct LastKeyValue {
    StringBuffer text; // of the element that holds the numbers, which alone makes the key
    Ref<ClsPublicKey> key;
};

// Places in the loaded text where a text of one element is in two pieces for some readers, each in
// ascending order, by what divides it.
struct TextSplits {
    std::vector<std::uint32_t> comments;
    std::vector<std::uint32_t> sections;
};

// The loaded document: its text and structure, and what is computed once from it and used again by
// every reference of every signature. It lives until the next load; what is read of it does not
// change.
struct Document final {
    Document(std::shared_ptr<const xml::XmlDocument> loaded, const Limits& limits)
        : structure(std::move(loaded)), paths(*structure),
          account(structure->textBuffer().getSize(), limits) {}

    // The Reference elements of a signature's SignedInfo, in document order; collected once for the
    // signature that was asked for last.
    const std::vector<xml::ElementId>& referencesOf(const ClsXml& signature);

    // The Id of a signature, empty for none; shared with the one that was asked for last.
    const StringBuffer& idOf(const ClsXml& signature);
    // Its security tokens (WS-Security), indexed when they are first asked for.
    const TokenIndex& tokens();
    // The Transforms element of a Reference, by its text; null after an error line. Valid until the
    // next call.
    const ParsedTransforms* parsedTransforms(xml::ElementId reference, const StringBuffer& text,
                                             LogBase& log);
    // The nodes of the document as XPath sees them, made when they are first asked for, within the
    // budget; null where that is too small.
    std::shared_ptr<const xml::NodeIndex> nodes(xml::WorkBudget& budget);
    // The Manifest elements of XML Signature, in document order.
    const std::vector<xml::ElementId>& manifests();
    // Which attribute values are ambiguous; looked for when first asked.
    const IdRivals& idRivals();

    // Keys that were decoded are decoded anew when they are next asked for.
    void forgetKeys() {
        certificates.forgetKeys();
        lastKeyValue = {};
    }

    // First, since the members below are made from it and refer to it.
    std::shared_ptr<const xml::XmlDocument> structure;
    unsigned threads = 1;          // that a verification may use, the caller's counted
    bool encodingMismatch = false; // the declared encoding is not the one that was read
    xml::ElementPaths paths;
    // What the signatures of this document have cost so far; a new load starts again from nothing.
    WorkAccount account;
    CertificateCache certificates;
    LastKeyValue lastKeyValue;
    ReferenceForm lastReference;
    // What was hashed while it was read (dsig/reference/digest_ahead.h); null for nothing.
    std::shared_ptr<DigestAhead> digestAhead;
    // What the references that matched have in common (dsig/reference/repeated_reference.h); null
    // until there were two of them.
    std::shared_ptr<RepeatedReference> repeatedReference;
    RepeatedRun repeatedRun; // the last one
    // How SignedInfo with such references is canonicalized (dsig/verify/signed_info_pattern.h).
    std::shared_ptr<SignedInfoPattern> signedInfoPattern;
    const char* matchedTail = nullptr; // of the form of the one that matched last
    std::uint64_t repeatedMatches = 0; // references that were found to match by it
    // False: each reference is checked step by step, and each value by itself.
    bool mayRepeat = true;
    // The elements that hold certificates, by the SHA-256 of their public keys' octets; made when a
    // report needs it, and by the digests of a hash algorithm (dsig/keys/carried_certificates.h).
    std::optional<std::map<std::string, xml::ElementId, std::less<>>> certificatesByKey;
    std::map<int, std::map<std::string, xml::ElementId, std::less<>>> certificatesByDigest;
    KeyAccount keyAccount;
    RsaLookAhead rsaLookAhead;
    // What judging the trust in its signatures has cost so far (dsig/trust/signer_trust.h).
    std::uint64_t trustWork = 0;
    // Where texts are in pieces; found when a report needs it (dsig/report/split_text.h).
    std::optional<TextSplits> textSplits;
    // Of XAdES (ETSI TS 101 903, EncapsulatedTimeStamp), by local name in any namespace.
    ElementSearch timeStamps{"EncapsulatedTimeStamp"};

private:
    [[nodiscard]] Ref<ClsXml> transformsInPlace(xml::ElementId reference,
                                                const StringBuffer& text) const;

    // The signature that m_id belongs to.
    xml::ElementId m_idOwner = xml::kNoElement;
    StringBuffer m_id;
    // Empty until asked for: most documents are verified without.
    std::optional<TokenIndex> m_tokens;
    // References often carry the same Transforms, so the last one parsed is kept.
    StringBuffer m_transformsText;
    ParsedTransforms m_transforms;
    std::shared_ptr<const xml::NodeIndex> m_nodes;
    std::optional<std::vector<xml::ElementId>> m_manifests;
    std::optional<IdRivals> m_idRivals;
    // The signature that m_references belongs to.
    xml::ElementId m_signature = xml::kNoElement;
    std::vector<xml::ElementId> m_references;
};

} // namespace vantrel::dsig

#endif
