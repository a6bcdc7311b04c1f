// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_PROFILE_MARKERS_H
#define DSIG_TRANSFORM_PROFILE_MARKERS_H

#include <string_view>

// The texts by which documents of national and industry systems are recognised. Every such value of
// the verifier stands here. Most are plain, case-sensitive substrings of the document, found
// wherever they stand, so a document that only mentions one is taken for a document of that system;
// the last ones are names and values at one place of its structure (signature_profile.h).
namespace vantrel::dsig::marker {

// Chilean tax service.
inline constexpr std::string_view kSii = "sii.cl";
// Peruvian tax administration, UBL documents.
inline constexpr std::string_view kPeruUbl = "urn:sunat:names:specification:ubl:peru";
// Polish finance ministry, and the central repository of document templates that its declarations
// name.
inline constexpr std::string_view kPolishFinance1 = "mf.gov.pl";
inline constexpr std::string_view kPolishFinance2 = "crd.gov.pl";
// Polish social insurance institution; some of its namespaces have no "www.".
inline constexpr std::string_view kPolishSocialInsurance = "zus.pl";
// Health Level Seven, clinical documents; the name of a version follows.
inline constexpr std::string_view kHl7 = "urn:hl7-org:";
// Italian electronic health record.
inline constexpr std::string_view kItalianHealthRecord = "fascicolosanitario.gov.it";
// Polish health registry.
inline constexpr std::string_view kPolishHealthRegistry = "ezdrowie.gov.pl";
// Polish health IT centre.
inline constexpr std::string_view kPolishHealthItCentre = "csioz.gov.pl";
// Messages whose whole-document references mean their Document element.
inline constexpr std::string_view kCmaStp = "urn:cma:stp:xsd:stp";
// Mexican tax service; counts only together with the element that its signers sign.
inline constexpr std::string_view kSat = "sat.gob.mx";
// The element itself, without attributes; its end tag is not needed for recognition.
inline constexpr std::string_view kDodaStart = "<doda>";
inline constexpr std::string_view kDodaEnd = "</doda>";
// SK-XML signed documents.
inline constexpr std::string_view kSignedDoc = "<SignedDoc ";
inline constexpr std::string_view kSkXml = "SK-XML";
// SWIFT messages with a local authentication block.
inline constexpr std::string_view kSwift = "urn:swift:saa:xsd:saa.2.0";
inline constexpr std::string_view kLauStart = "<LAU";
inline constexpr std::string_view kLauEnd = "</LAU>";
// XAdES (ETSI TS 101 903): what holds a time-stamp, an element by its local name.
inline constexpr std::string_view kTimeStamp = "EncapsulatedTimeStamp";
// ebXML messaging: header blocks for the next actor, by the SOAP 1.1 name and by ebXML's own.
inline constexpr std::string_view kSoapNextActor = "http://schemas.xmlsoap.org/soap/actor/next";
inline constexpr std::string_view kEbXmlNextActor = "urn:oasis:names:tc:ebxml-msg:actor:nextMSH";

// Of the structure. Packages of AIR: the Id of the signature and its method.
inline constexpr std::string_view kAirSignatureId = "PackageSignature";
inline constexpr std::string_view kAirSignatureMethod =
    "http://www.w3.org/TR/xmldsig-core#rsa-sha1";
// Prescriptions of the English health service: the namespace of all elements around the signature.
inline constexpr std::string_view kHl7Version3 = "urn:hl7-org:v3";
// Vietnamese electronic invoices: the list of signatures, and the Ids of an Object with the time.
inline constexpr std::string_view kVietnamSignatures = "DSCKS";
inline constexpr std::string_view kVietnamTimeStamp = "TimeStamp";
inline constexpr std::string_view kVietnamSigningTime = "SigningTime";
// Austrian security layer: the type of the reference to the signed properties (XAdES 1.1.1).
inline constexpr std::string_view kSignedProperties111 =
    "http://uri.etsi.org/01903/v1.1.1#SignedProperties";

} // namespace vantrel::dsig::marker

#endif
