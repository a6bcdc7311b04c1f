// SPDX-License-Identifier: MIT
#ifndef API_VERIFY_OPTIONS_H
#define API_VERIFY_OPTIONS_H

#include "api/certificate.h"
#include "api/key.h"
#include "api/policy.h"
#include "dsig/document/limits.h"

#include <optional>
#include <string>
#include <vector>

namespace vantrel {

/// Content of an external reference, for all selected signatures.
struct ReferenceData {
    int index = 0;     ///< of the reference, 0 to 100
    std::string file;  ///< path of a file, read when its digest is due; empty: the bytes count
    std::string bytes; ///< the content itself
};

/// Public keys for signatures whose `KeyInfo` names them.
struct NamedKey {
    std::string name; ///< the text of the `KeyName` element; not empty
    Key key;
};

/// What is verified and with what. A value: nothing changes it, and several threads may verify
/// with the same one. Whatever is not set is as the tool `xmldsig verify` has it without options.
struct VerifyOptions {
    /// One signature by its zero-based index, or by its Id (of several the first); else all.
    std::optional<int> signature;
    std::optional<std::string> id;
    /// Of a package, only the signatures in this part; empty for all.
    std::string part;
    /// False: signature values only, so that nothing is known of what they sign.
    bool checkReferences = true;
    /// The digest of this reference alone; the signature value is not checked then.
    std::optional<int> reference;

    /// For every signature, tried after the keys of `KeyInfo`.
    std::vector<Key> keys;
    /// For signatures that name them, tried ahead of `keys`. A key that was found by its name is as
    /// well known to the caller as the others.
    std::vector<NamedKey> namedKeys;
    /// The secret of HMAC signatures, as bytes; empty for none. decodeSecret() reads it from text.
    std::string hmacSecret;
    /// For look-ups by what `KeyInfo` names, and for certification paths to an anchor.
    CertificateStore certificates;
    /// By what signatures are accepted. Without one "valid" says nothing of who signed.
    Policy policy;

    std::vector<ReferenceData> referenceData;
    /// Folders in which external references are looked for; no name may hold a semicolon.
    std::vector<std::string> referenceFolders;
    /// A missing external file is reported and not counted.
    bool ignoreExternal = false;

    /// Encapsulated time-stamps are verified, too.
    bool timestamps = false;
    /// Words for the verifier's uncommon options, such as "ZATCA".
    std::vector<std::string> words;
    /// Budgets of the work on one document.
    dsig::Limits limits;

    /// Threads that one verification may use, the caller's counted. Results are the same with any
    /// number; a digest over 4 MB and more takes less time with two, and more than two are not
    /// used.
    int threads = 1;

    /// The cause of each failure is searched, with `effort` times the usual 2 seconds a document.
    bool explain = false;
    int effort = 1;
    /// Results carry the diagnostic log; `verboseLog` adds the verbose entries.
    bool log = false;
    bool verboseLog = false;
};

/// The bytes of a secret written as text, `encoding` "hex", "base64" or "ascii". False, with
/// `secret` empty, when the text is none in this encoding, or empty.
[[nodiscard]] bool decodeSecret(std::string_view text, std::string_view encoding,
                                std::string& secret);

} // namespace vantrel

#endif
