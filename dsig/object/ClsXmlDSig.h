// SPDX-License-Identifier: MIT
#ifndef DSIG_OBJECT_CLSXMLDSIG_H
#define DSIG_OBJECT_CLSXMLDSIG_H

#include "dsig/object/_clsXmlDSigBase.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/text/arrays.h"
#include "foundation/x509/SystemCerts.h"
#include "foundation/x509/VantrelX509.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace vantrel {

class ClsBinData;
class ClsHttp;
class ClsJsonObject;
class ClsPublicKey;
class ClsStringArray;
class ClsStringBuilder;
class ClsXml;
class ClsXmlCertVault;
class DSigRefExternalData;
class DSigReference;

namespace text {
struct XmlEncoding;
} // namespace text

namespace dsig {
class ExternalParts;
class SeenCertificates;
struct Document;
struct KeyQuery;
struct Limits;
struct ObjectState;
struct Policy;
struct Rules;
struct Selection;
struct VerifyRun;
} // namespace dsig

/// Verifier of XML digital signatures (XML Signature 1.0 and 1.1).
///
/// Load a signed document, choose one of its signatures with the selector, hand over keys,
/// certificates or external data where the document does not carry them, and verify:
///
///     vantrel::ClsXmlDSig verifier;
///     vantrel::XString xml(text);
///     if (verifier.LoadSignature(xml) && verifier.VerifySignature(true)) { ... }
///
/// Operations return true on success and leave a diagnostic log (LastErrorText) and, for a
/// verification, a structured result (LastJsonData). No exception leaves them. An object may be
/// used by several threads; each operation holds the object's lock. Without a policy
/// (SetPolicy) certificates are not checked for trust, dates or revocation: LastJsonData says whose
/// key it was and where it came from.
class ClsXmlDSig final : public _clsXmlDSigBase, public SystemCertsHolder {
public:
    ClsXmlDSig();
    ~ClsXmlDSig() override;

    /// A new verifier that the caller deletes; null when out of memory.
    [[nodiscard]] static ClsXmlDSig* createNewCls();

    // Loading and selection.

    /// Loads a document from text. False when it is not well-formed XML, refers to an entity whose
    /// declaration is not read, or declares an encoding that is not known or in which ASCII bytes
    /// are no ASCII characters; a document without signatures loads.
    bool LoadSignature(XString& xml);
    bool LoadSignatureSb(ClsStringBuilder& sb);
    /// Loads from bytes in the encoding that the document itself declares. False as well when that
    /// is not supported, contradicted by the bytes, or the bytes are not valid in it.
    bool LoadSignatureBd(ClsBinData& bd);
    /// Says that the loaded document is a part of a package, until the next load: external
    /// references then lead to the other parts and never to files, and manifests count. `part` is
    /// its name, `firstIndex` the number of signatures in parts before it, from which reports count
    /// on.
    void SetPackage(std::shared_ptr<dsig::ExternalParts> package, std::string_view part,
                    int firstIndex);
    /// The parts of the package, by their indexes, that the last verification covers; none unless
    /// it found the signature valid. Throws std::bad_alloc.
    [[nodiscard]] std::vector<std::size_t> CoveredParts();
    /// Number of Signature elements, at any depth.
    [[nodiscard]] int get_NumSignatures();
    /// False for an element that has only the name of a signature: one in no namespace without a
    /// SignedInfo, as business documents have them. It counts, but there is nothing to verify.
    [[nodiscard]] bool IsSignature(int index);
    /// What reports call the profile of a signature: its own (signature_profile.h), else that of
    /// the document. Of static storage.
    [[nodiscard]] std::string_view ProfileOf(int index);
    /// Zero-based index, in document order, of the signature that operations address. Setting a
    /// value past the end selects the last, a negative one the first.
    [[nodiscard]] int get_Selector() const noexcept { return m_selector; }
    void put_Selector(int index);
    /// Selects the first signature whose Id attribute equals `id`; false, selector unchanged, if
    /// none.
    bool SelectById(XString& id);

    /// CMS options as JSON text, e.g. {"requireTrustedTsa": true}.
    void get_VerifyOptions(XString& options);
    void put_VerifyOptions(XString& options);
    /// Directories, separated by ";", in which files named by external references are looked for.
    void get_ExternalRefDirs(XString& dirs);
    void put_ExternalRefDirs(XString& dirs);
    /// Why the last reference digest failed: 0 match, 1 mismatch, 2 external data missing or
    /// not to be read to its end, 3 no such reference, 5 canonicalization failed, 99 other.
    [[nodiscard]] int get_RefFailReason() const noexcept { return m_refFailReason; }
    /// Missing external data is reported but does not fail a verification.
    [[nodiscard]] bool get_IgnoreExternalRefs() const noexcept { return m_ignoreExternalRefs; }
    void put_IgnoreExternalRefs(bool ignore) noexcept { m_ignoreExternalRefs = ignore; }
    /// A setting that is kept and given back. No operation reads it: whether comments are digested
    /// is for the signature to say.
    [[nodiscard]] bool get_WithComments() const noexcept { return m_withCommentsOption; }
    void put_WithComments(bool withComments) noexcept { m_withCommentsOption = withComments; }

    // References of the selected signature.

    [[nodiscard]] int get_NumReferences();
    /// URI attribute as written, empty when there is none; false when there is no such reference.
    bool ReferenceUri(int index, XString& outUri);
    /// True when the URI is neither empty nor begins with "#".
    bool IsReferenceExternal(int index);
    /// Data of an external reference of the selected signature, index 0 to 100: a file's path, text
    /// in a character set, or bytes.
    bool SetRefDataFile(int index, XString& path);
    bool SetRefDataSb(int index, ClsStringBuilder& sb, XString& charset);
    bool SetRefDataBd(int index, ClsBinData& bd);

    // Verification.

    /// Puts the rules of the loaded document back to what loading set: what earlier verifications
    /// found out and kept (an attribute order, a cut of the text, ZATCA rules) is forgotten.
    void ResetDocumentRules();
    /// Checks the digest of one reference; RefFailReason tells why it failed.
    bool VerifyReferenceDigest(int index);
    /// Checks the selected signature: its value over the canonical SignedInfo and, when asked, the
    /// digest of every reference first.
    bool VerifySignature(bool verifyReferenceDigests);
    /// The structured result of the last verification: one JSON object with status, references,
    /// keys, warnings and accommodations. Empty when there is none.
    void get_LastJsonData(XString& json);
    /// The policy by which signatures are accepted, besides being valid or not; null for none. It
    /// acts on the verifications that follow, and survives loads.
    void SetPolicy(std::shared_ptr<const dsig::Policy> policy);
    /// Whether the last verification is accepted by the policy, and if not, why not, as a JSON
    /// object: `accepted`, `refusals`, `signingCertificate`, and `trust` where the policy has
    /// anchors. The structured result has the same members. False, with an empty text, without a
    /// policy or a verification, and where the object passes the limit reportOctets.
    bool LastAcceptance(XString& outJson);
    /// Searches why the last verification failed and puts what it finds into its structured result:
    /// the `cause` of each reference and of the signature, with evidence. What it claims was tried:
    /// it reproduces the stored digest, or makes the value verify. `effort` multiplies the budget
    /// of 2 seconds that all searches of one document share; it counts when the first is made. The
    /// verdict, the rules in force and the selection stay. False when there is nothing to explain:
    /// no verification, or one that succeeded.
    bool ExplainFailures(int effort);
    /// Keeps the result of the last verification for HtmlReport, until the next load. False when
    /// there is none, or the results together pass the limit reportOctets.
    bool KeepForHtmlReport();
    /// One stand-alone HTML page about the loaded document and the results that were kept, headed
    /// `title`: verdict, signers, warnings and causes, and the text with what each signature
    /// covers. Safe for any content: it carries no script and forbids any.
    bool HtmlReport(XString& title, XString& outHtml);
    /// Describes the selected signature without verifying it, as one JSON object.
    bool DescribeSignature(XString& outJson);
    /// Appends the octets over which the reference's digest is computed.
    bool DigestInput(int index, ClsBinData& out);
    /// Appends the canonical SignedInfo of the selected signature.
    bool SignedInfoOctets(ClsBinData& out);

    // Limits.

    /// Sets a limit of the work on one document, by its name in docs/limits.md; `value` is a
    /// decimal number. False for a name or value that is none. Limits survive loads; set them
    /// before a document is loaded.
    bool SetLimit(XString& name, XString& value);
    /// The same for all limits at once. A deadline that is set stays.
    void SetLimits(const dsig::Limits& limits);
    /// How many threads a verification may use, the caller's counted (1, the default: no other). No
    /// result depends on it: digests over much of a large document are ready earlier. It survives
    /// loads; set it before a document is loaded.
    void SetThreads(int threads);
    /// Gives up on the document `ms` milliseconds from now (at least 1); set it before the document
    /// is loaded. The time is looked at before each piece of work on a reference and in searches
    /// for causes; once it is up verifications fail, and TimeIsUp tells that this says nothing of
    /// the signature. Parsing, reading a file and checking a value's keys are not interrupted.
    void SetDeadline(int ms);
    /// Whether the time of SetDeadline has passed.
    [[nodiscard]] bool TimeIsUp();

    // Canonicalization. `version` "EXCL_C14N" (any case) is Exclusive XML Canonicalization 1.0,
    // anything else Canonical XML 1.0.

    bool CanonicalizeXml(XString& xml, XString& version, bool withComments, XString& outXml);
    /// Only the element with the Id `fragmentId` and its subtree, with the namespaces it inherits.
    bool CanonicalizeFragment(XString& xml, XString& fragmentId, XString& version,
                              XString& prefixList, bool withComments, XString& outXml);

    // Keys and certificates.

    /// The KeyInfo element of the selected signature, which the caller releases; null if none.
    [[nodiscard]] ClsXml* GetKeyInfo();
    /// The first key that KeyInfo yields, which the caller releases; null if none.
    [[nodiscard]] ClsPublicKey* GetPublicKey();
    /// A key for the selected signature's index, tried after the keys of KeyInfo. It survives
    /// loads.
    bool SetPublicKey(ClsPublicKey& key);
    /// A key for every signature, tried after that of the signature's index, in place of those set
    /// or added before. It survives loads.
    bool SetPublicKeyForAll(ClsPublicKey& key);
    /// One more such key, tried after those that are there.
    bool AddPublicKeyForAll(ClsPublicKey& key);
    /// A key for signatures whose KeyInfo names it by a KeyName element with this text, tried after
    /// the keys of KeyInfo. Several may have one name. It survives loads. False for an empty name.
    bool AddNamedKey(XString& name, ClsPublicKey& key);
    /// The secret of HMAC signatures, in the named encoding ("hex", "base64", "ascii", ...). The
    /// caller's text is marked secure.
    bool SetHmacKey(XString& key, XString& encoding);
    /// Makes the vault's certificates available for look-ups.
    bool UseCertVault(ClsXmlCertVault& vault);
    /// Appends the certificates that KeyInfo carries or names, as base64 of their DER form.
    bool GetCerts(ClsStringArray& outCerts);

    // Time-stamps.

    /// The connection to the time-stamp authority. Not owned; must outlive its use.
    void SetHttpObj(ClsHttp& http);
    [[nodiscard]] bool HasEncapsulatedTimeStamp();
    /// Adds a signature time-stamp to the selected XAdES signature; the whole document goes to
    /// `sbOut`, the loaded one stays.
    bool AddEncapsulatedTimeStamp(ClsJsonObject& json, ClsStringBuilder& sbOut);

    // Text helpers of the time-stamp check.

    /// The text behind the first tag whose text contains `tagStart`, up to the next tag, trimmed.
    static bool captureUniqueTagContent(const char* tagStart, const StringBuffer& xml,
                                        StringBuffer& out, LogBase& log);
    /// The value of an attribute of that tag, which must stand in double quotes.
    static bool captureUniqueAttrContent(const char* tagStart, const char* attrName,
                                         const StringBuffer& xml, StringBuffer& out, LogBase& log);

private:
    friend struct ClsXmlDSigTestAccess;

    // object/
    bool loadSignature(XString& xml, LogBase& log);
    void unloadDocument();
    // Lets go of the document and its elements, and of nothing else.
    void releaseDocument();
    bool parseLoadedText(const text::XmlEncoding& encoding, LogBase& log);
    [[nodiscard]] bool readDocument(LogBase& log);
    bool selectBySignatureId(const StringBuffer& id, LogBase& log);
    bool selectedSignatureId(StringBuffer& out, LogBase& log);
    void checkSetZatca(LogBase& log);
    [[nodiscard]] int numReferences(const ClsXml& signature, LogBase& log) const;
    [[nodiscard]] ClsXml* selectedSignature() const;
    [[nodiscard]] ClsXml* getReference(int index, LogBase& log);
    bool getReferenceUri(int index, StringBuffer& outUri, LogBase& log);
    bool getCanonicalizationMethod(StringBuffer& outAlgorithm, StringBuffer& outPrefixList,
                                   LogBase& log);
    bool getSignatureMethod(StringBuffer& outAlgorithm, LogBase& log);
    bool getSignedInfoField(const char* childName, const char* attrName, StringBuffer& out,
                            LogBase& log);
    bool getSignatureValue(StringBuffer& outBase64, LogBase& log);
    dsig::Document& structure();
    // The loaded document; null when no signature is selected.
    dsig::Document* document();
    [[nodiscard]] dsig::Selection selection();
    void setZatca(const StringBuffer& options, LogBase& log);
    void beginReport(const dsig::Selection& selected);
    void finishReport();
    void completeReport();
    // Judges the last verification, once. False without a policy.
    bool judgeReport();
    // Calls use(query) with what the last verification was made with, whatever is selected now.
    template <class Use> void withVerified(const Use& use);

    // reference/
    // Logs the options; the rules in force by them.
    [[nodiscard]] dsig::Rules logRulesByOptions(LogBase& log) const;
    bool verifyReferenceDigest(int index, bool& externalMissing, ExtPtrArraySb& dirs, LogBase& log);
    bool verifyReferenceDigest2(int index, bool& externalMissing, ExtPtrArraySb& dirs,
                                LogBase& log);
    bool verifyInternalReference(int index, StringBuffer& fragmentId, DSigReference& ref,
                                 LogBase& log);
    template <class Step>
    bool checkReferenceBy(Step step, int index, bool& externalMissing, ExtPtrArraySb& dirs,
                          LogBase& log);
    // Borrowed from the arrays; null when out of range, or absent and not to be created.
    DSigRefExternalData* getExtRef(int index, bool create, LogBase& log);
    // Takes the selected signature, and those directly behind it, out of the text. Always true.
    bool transformEnvelopedSignature(StringBuffer& workingText, StringBuffer& unused1,
                                     StringBuffer& unused2, DSigReference& ref, LogBase& log);
    bool removeSignatureAndFollowingSigs(StringBuffer& text, std::uint32_t start,
                                         std::uint32_t length, LogBase& log);

    // keys/
    [[nodiscard]] dsig::KeyQuery keyQuery(bool keyInfoOnly);
    // The candidate keys in the order in which they are tried: those of KeyInfo, then the explicit
    // ones. True when there is one.
    bool getPublicKey(bool keyInfoOnly, ExtPtrArrayRc& keys, LogBase& log);
    [[nodiscard]] ClsXml* getKeyInfo(LogBase& log);
    bool publicKeyFromKeyInfo(ClsXml& keyInfo, ExtPtrArrayRc& keys, LogBase& log);
    [[nodiscard]] ClsPublicKey* publicKeyFromX509(VantrelX509& cert, LogBase& log);
    // Look-ups in the certificate store: a new key, or the certificate as base64.
    [[nodiscard]] ClsPublicKey* getPublicKeyByIssuerNameAndSerial(const StringBuffer& issuerCn,
                                                                  const StringBuffer& serialHex,
                                                                  LogBase& log);
    [[nodiscard]] ClsPublicKey* getPublicKeyBySubjectName(const StringBuffer& subject,
                                                          LogBase& log);
    [[nodiscard]] ClsPublicKey* getPublicKeyBySKI(const StringBuffer& ski, LogBase& log);
    bool getCertByIssuerNameAndSerial(const StringBuffer& issuerCn, const StringBuffer& serialHex,
                                      StringBuffer& out, LogBase& log);
    bool getCertBySubjectName(const StringBuffer& subject, StringBuffer& out, LogBase& log);
    bool getCertBySKI(const StringBuffer& ski, StringBuffer& out, LogBase& log);
    bool certsFromKeyInfo(ClsXml& keyInfo, ClsStringArray& out, LogBase& log);
    // Cleans the text, and notes its certificate as seen.
    bool processCertBase64(StringBuffer& base64, dsig::SeenCertificates& seen, LogBase& log);

    // xades/
    // True when there is no time-stamp to check, or the check passes.
    bool verifyEncapsulatedTimeStamp(const StringBuffer& sigXml, const ClsXml& sigElem,
                                     LogBase& log);
    bool hasEncapsulatedTimeStamp(LogBase& log);
    // `out` becomes the whole document with a time-stamp added; empty on failure.
    bool addEncapsulatedTimeStamp(ClsJsonObject& json, XString& out, LogBase& log);

    // Read and written without the lock, from any thread.
    std::atomic<bool> m_withCommentsOption = false;
    std::atomic<bool> m_ignoreExternalRefs = false;
    std::atomic<std::int32_t> m_refFailReason = 0;
    StringBuffer m_xmlText;      // the whole document as UTF-8, as handed to the parser
    ClsXml* m_xmlRoot = nullptr; // one reference held
    XString m_externalRefDirs;
    ExtPtrArrayRc m_signatures; // ClsXml of every Signature element, in document order
    ExtPtrArrayRc m_publicKeys; // ClsPublicKey by signature index
    ExtPtrArray m_externalData; // DSigExternalData by signature index
    bool m_externalDataOwned = true;
    DataBuffer m_hmacKey;
    std::atomic<std::int32_t> m_selector = 0;   // written under the lock only
    std::unique_ptr<dsig::ObjectState> m_state; // all that is not prescribed
};

} // namespace vantrel

#endif
