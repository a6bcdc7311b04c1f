// SPDX-License-Identifier: MIT
#ifndef FUZZ_SECRET_SIGNATURE_H
#define FUZZ_SECRET_SIGNATURE_H

#include "dsig/object/ClsXmlDSig.h"
#include "foundation/xml/scan/xml_document.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Signs any document that has a signature anew, by a secret, so that changes of it reach what lies
// behind a sound signature: first the method, for digests change with it where it is covered, then
// the digests that a verification computes, then the value.
namespace vantrel::fuzz {

constexpr std::string_view kSecret = "secret";

// With the secret, and this signature selected; false where there is none.
[[nodiscard]] bool load(ClsXmlDSig& verifier, std::string_view document, int signature);

// The signature with this index, and what of it is written when it is signed.
class SignatureText {
public:
    SignatureText(const std::string& text, int index);

    [[nodiscard]] bool isThere() const {
        return m_signature != xml::kNoElement && m_signedInfo != xml::kNoElement;
    }
    // From the start tag to the end tag; empty for one from an entity.
    [[nodiscard]] xml::TextRange extent() const;
    // Between the tags; false for an element without an end tag, or from an entity.
    [[nodiscard]] bool contentOf(xml::ElementId element, xml::TextRange& range) const;
    [[nodiscard]] xml::ElementId value() const {
        return m_document->firstChildNamed(m_signature, "SignatureValue");
    }
    // The DigestValue of each reference, those of manifests within the signature behind the others.
    [[nodiscard]] std::vector<xml::ElementId> digests() const;
    // The Algorithm of the method, where it stands.
    [[nodiscard]] bool method(xml::TextRange& range) const;

private:
    std::shared_ptr<const xml::XmlDocument> m_document;
    xml::ElementId m_signature = xml::kNoElement;
    xml::ElementId m_signedInfo = xml::kNoElement;
};

// Each puts its values into the signature with this index; false where there is no place for them.
[[nodiscard]] bool putMethod(std::string& document, int signature);
// In the order of SignatureText::digests; an empty one leaves what stands there.
void putDigests(std::string& document, int signature, std::span<const std::string> digests);
[[nodiscard]] bool putValue(std::string& document, int signature);

} // namespace vantrel::fuzz

#endif
