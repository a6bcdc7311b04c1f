// SPDX-License-Identifier: MIT
#ifndef API_VERIFY_RESULT_H
#define API_VERIFY_RESULT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What a verification found out, as values. Names and words are those of docs/report.md, where each
// is explained; toString() gives an enumerator's word.
namespace vantrel {

/// Of a document. Error: nothing can be said of it, and VerifyResult::error says why.
enum class Status : std::uint8_t { Valid, Invalid, NoSignature, Error };
/// Whether the signature value holds over SignedInfo.
enum class ValueStatus : std::uint8_t { Valid, Invalid, NotChecked };
/// Of a reference. Missing: external data that is not available; Error: nothing could be digested.
enum class ReferenceStatus : std::uint8_t { Match, Mismatch, Missing, Error, NotChecked };
enum class TimestampStatus : std::uint8_t { Absent, Valid, Invalid, NotChecked };
/// What a reference covers, but for what it excludes. Elements: several, one behind the other.
enum class Covers : std::uint8_t { Unknown, Document, Element, Elements, External };

/// What the caller's policy says (docs/accept.md). NotAsked: there is none.
enum class Acceptance : std::uint8_t { NotAsked, Accepted, Refused };
/// XAdES: whether the certificate for which the signer signed is that of the key that verified.
/// Absent: no signed property names one.
enum class SigningCertificate : std::uint8_t { Absent, Match, Mismatch };

[[nodiscard]] std::string_view toString(Status status) noexcept;
[[nodiscard]] std::string_view toString(ValueStatus status) noexcept;
[[nodiscard]] std::string_view toString(ReferenceStatus status) noexcept;
[[nodiscard]] std::string_view toString(TimestampStatus status) noexcept;
[[nodiscard]] std::string_view toString(Covers covers) noexcept; ///< empty for Unknown
[[nodiscard]] std::string_view toString(Acceptance acceptance) noexcept;
[[nodiscard]] std::string_view toString(SigningCertificate value) noexcept;

/// Why something does not verify.
struct Cause {
    std::string code; ///< a fixed word
    std::string text; ///< a sentence for people
    /// What may mend it, in terms of the tool `xmldsig`.
    std::vector<std::string> remedies;
    std::string evidence; ///< what a search found to be changed; else empty
};

/// A stretch of the loaded UTF-8 text that lies in what a reference covers and was not digested.
struct Exclusion {
    std::string path;
    std::uint64_t start = 0;
    std::uint64_t length = 0; ///< octets, both
    std::string why;
};

struct ReferenceResult {
    int index = 0;
    std::string uri; ///< as written
    /// Where an external one led: the name of a part of the package, or of a file below one of the
    /// folders; empty for others.
    std::string target;
    bool external = false;
    /// False: the signature value does not vouch for it.
    bool isSigned = true;
    std::string digestMethod;
    ReferenceStatus status = ReferenceStatus::NotChecked;
    int reason = 0;             ///< the code of RefFailReason
    std::string storedDigest;   ///< without white space
    std::string computedDigest; ///< base64; empty where there was nothing to digest
    std::uint64_t octets = 0;   ///< digested
    Covers covers = Covers::Unknown;
    /// Of the covered elements, from the root, in the order in which they are digested.
    std::vector<std::string> paths;
    std::vector<Exclusion> excluded;
    std::vector<std::string> accommodations;
    std::optional<Cause> cause; ///< only where it does not match
};

/// A key, with the certificate that it came from or, of a signer, that was found for it. What the
/// certificate lacks is empty, and all of it where there is none.
struct KeyResult {
    std::string source; ///< "X509Certificate", "KeyValue", "explicit", ...
    std::string type;   ///< "RSA", "DSA", "EC", "EdDSA", "ML-DSA-65", ..., "HMAC"
    int bits = 0;
    std::string curve;
    std::string spkiSha256; ///< lower-case hexadecimal; empty for a secret
    std::string certificateSha256;
    std::string subject;
    std::string issuer;
    std::string serial;
    std::string notBefore; ///< RFC 3339
    std::string notAfter;
    bool nameFromDocument = false; ///< the caller gave the key, the document alone its certificate
    bool used = false;             ///< this key verified the value
};

/// Why a policy does not accept a signature.
struct Refusal {
    std::string code; ///< a fixed word
    std::string text; ///< a sentence for people
};

/// What is wrong with a certification path, or is to be known of one that holds.
struct TrustProblem {
    std::string code;        ///< a fixed word
    std::string certificate; ///< the subject of the one concerned; empty for none
    std::string text;        ///< a sentence for people
};

/// Whether the signer's certificate leads to an anchor (RFC 5280, 6).
struct TrustResult {
    bool trusted = false;
    std::string time; ///< RFC 3339; as of when it was judged
    /// Subjects from the signer to the anchor; of an untrusted one those of the path that came
    /// closest.
    std::vector<std::string> path;
    std::vector<std::string> policies; ///< certificate policies for which it holds
    std::vector<TrustProblem> problems;
};

struct SignatureResult {
    int index = 0;
    std::string id;
    std::string path;
    std::string part; ///< of a package, which the signature stands in; empty outside
    /// Of all that was asked for: value, digests, time-stamps.
    bool valid = false;
    std::string reason; ///< empty for a valid one
    std::optional<Cause> cause;
    ValueStatus value = ValueStatus::NotChecked;
    /// Whose key verified the value; nothing for a secret. Type, bits and curve are among `keys`.
    std::optional<KeyResult> signer;
    std::string profile; ///< empty for an ordinary document
    std::string signatureMethod;
    std::string canonicalizationMethod;
    std::vector<ReferenceResult> references;
    /// In a package: those of the manifests that the references cover; they count like these.
    std::vector<ReferenceResult> manifest;
    std::vector<KeyResult> keys; ///< in the order in which they are tried
    TimestampStatus timestamp = TimestampStatus::Absent;
    std::vector<std::string> warnings;
    std::vector<std::string> accommodations;
    std::vector<std::string> standards;
    /// Whether the policy accepts the signature, and if not, why not; without a policy nothing.
    Acceptance acceptance = Acceptance::NotAsked;
    std::vector<Refusal> refusals;
    SigningCertificate signingCertificate = SigningCertificate::Absent;
    std::optional<TrustResult> trust; ///< only where the policy has anchors
    std::string log;                  ///< where it was asked for
    std::string json; ///< the same as a JSON object, with members that have no place above

    [[nodiscard]] bool hasWarning(std::string_view word) const noexcept;
    /// Whether the policy refuses it with this code.
    [[nodiscard]] bool hasRefusal(std::string_view code) const noexcept;
};

/// A part of a package.
struct ContainerPart {
    std::string name;
    std::uint64_t size = 0; ///< octets, uncompressed
    bool covered = false;   ///< all of it, by a valid signature
    std::vector<int> by;    ///< the indexes of those
    bool exempt = false;    ///< the kind of package does not ask for it to be covered
};

/// What a document is that is a package.
struct Container {
    std::string kind; ///< "asic-e", "asic-s", "odf", "opc", "epub", "air", "widget", "zip"
    std::vector<ContainerPart> parts;
    std::vector<std::string> warnings; ///< `parts-not-covered`: by no valid signature
};

/// What the verification of a document found out.
class [[nodiscard]] VerifyResult final {
public:
    Status status = Status::Error;
    std::string error;      ///< why the document could not be judged; else empty
    std::uint64_t size = 0; ///< octets of the document
    std::string sha256;     ///< of these octets, lower-case hexadecimal
    std::vector<SignatureResult> signatures;
    std::optional<Container> container; ///< nothing for a document that is no package
    /// Whether the policy accepts the document, and if not, why not: what is said of its
    /// signatures, each code once. Nothing is accepted that could not be judged.
    Acceptance acceptance = Acceptance::NotAsked;
    std::vector<Refusal> refusals;
    /// The policy is content with one accepted signature (Accept::Any).
    bool oneSuffices = false;
    std::string log; ///< of loading, where it was asked for
    /// False where less than whole signatures was asked for: a single reference, or the values
    /// alone.
    bool wholeSignatures = true;

    /// True only when there is a signature and every selected one is valid, its value and its
    /// references, and accepted by the policy, where there is one. With Accept::Any it is enough
    /// that one is valid and accepted. Less than that is never true, also where an option of the
    /// caller tolerates a digest (missing external data apart, where that is ignored). Without a
    /// policy this says nothing of who signed; see SignatureResult::signer and the warning
    /// `key-from-document`.
    [[nodiscard]] explicit operator bool() const noexcept;
    /// One JSON object on one line, without a line end, as `xmldsig verify --json` writes it for a
    /// file of this name.
    [[nodiscard]] std::string json(std::string_view name = {}) const;
};

} // namespace vantrel

#endif
