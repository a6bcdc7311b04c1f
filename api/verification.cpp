// SPDX-License-Identifier: MIT
#include "api/verification.h"

#include "api/make_policy.h"
#include "dsig/object/ClsXmlDSig.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/keyfile/key_file.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/ClsXmlCertVault.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

namespace vantrel {

namespace {

// The verifier's own word for what VerifyOptions::timestamps asks for.
constexpr std::string_view kTimestampWord = "VerifyEncapsulatedTimeStamp";

// The last error line of an operation of the library.
std::string lastError(ClsXmlDSig& verifier) {
    XString line;
    verifier.get_LastErrorLine(line);
    return std::string(line.getUtf8Sb().view());
}

// The verifier takes its lists as one text each.
std::string joined(const std::vector<std::string>& texts, char separator) {
    std::string out;
    for (const std::string& text : texts) {
        if (!out.empty()) {
            out += separator;
        }
        out += text;
    }
    return out;
}

// The verifier searches the text for its words; the separator is for readers.
std::string wordsOf(const VerifyOptions& options) {
    std::string words = joined(options.words, ',');
    if (options.timestamps) {
        words += words.empty() ? "" : ",";
        words += kTimestampWord;
    }
    return words;
}

// The keys of a source, read anew for each verifier, so that no key object is shared. Each goes to
// `add`. False stands for no memory: the bytes were read once before, when the key was made.
template <class Add> bool setKeysOf(const Key& given, ClsXmlDSig& verifier, const Add& add) {
    std::vector<Ref<ClsPublicKey>> keys;
    keyfile::KeyFileFault fault;
    if (!keyfile::loadKeys(asBytes(given.source()), keys, fault)) {
        return false;
    }
    // They name the holders of the keys, and are as well known to the caller as these.
    ClsXmlCertVault* const vault = given.certificates().vault();
    return (vault == nullptr || verifier.UseCertVault(*vault)) &&
           std::all_of(keys.begin(), keys.end(),
                       [&add](const Ref<ClsPublicKey>& key) { return add(*key); });
}

// Tried after the keys of KeyInfo: for every signature of the document, or for those that name
// them.
bool setKeys(const VerifyOptions& options, ClsXmlDSig& verifier) {
    const auto forAll = [&verifier](ClsPublicKey& key) { return verifier.AddPublicKeyForAll(key); };
    return std::all_of(options.keys.begin(), options.keys.end(),
                       [&](const Key& key) { return setKeysOf(key, verifier, forAll); }) &&
           std::all_of(options.namedKeys.begin(), options.namedKeys.end(),
                       [&](const NamedKey& named) {
                           XString name(named.name);
                           return setKeysOf(named.key, verifier, [&](ClsPublicKey& key) {
                               return verifier.AddNamedKey(name, key);
                           });
                       });
}

// The verifier takes a secret as text in an encoding, so its bytes pass as base64.
bool setSecret(const std::string& secret, ClsXmlDSig& verifier) {
    StringBuffer text;
    if (!text::encode(asBytes(secret), text::Encoding::Base64, text)) {
        return false;
    }
    XString key(text.view());
    XString encoding("base64");
    text.secureClear();
    return verifier.SetHmacKey(key, encoding);
}

// Null where nothing asks for acceptance; which a new verifier has anyway.
bool setPolicy(const Policy& asked, ClsXmlDSig& verifier, std::string& error) {
    std::shared_ptr<const dsig::Policy> policy;
    api::OptionFault fault;
    if (!api::makePolicy(asked, policy, fault)) {
        error = api::faultText(fault);
        return false;
    }
    if (policy) {
        verifier.SetPolicy(std::move(policy));
    }
    return true;
}

} // namespace

bool decodeSecret(std::string_view text, std::string_view encoding, std::string& secret) {
    LogNull discard;
    DataBuffer bytes;
    bytes.setSecure(true);
    XString given(text);
    given.setSecureX(true);
    _clsEncode encoder;
    encoder.put_EncodingMode(std::string(encoding).c_str());
    const bool ok = encoder.decodeBinary(given, bytes, false, discard) && !bytes.isEmpty();
    // An empty secret would let everybody sign.
    secret = ok ? asText(bytes.view()) : std::string_view();
    return ok;
}

namespace api {

bool prepareVerifier(const VerifyOptions& options, ClsXmlDSig& verifier, std::string& error) {
    // Nothing is set that was not given: the verifier's own defaults hold, whatever they are.
    if (const std::string given = wordsOf(options); !given.empty()) {
        XString words(given);
        verifier.put_UncommonOptions(words);
    }
    if (!options.referenceFolders.empty()) {
        XString folders(joined(options.referenceFolders, ';'));
        verifier.put_ExternalRefDirs(folders);
    }
    verifier.put_VerboseLogging(options.verboseLog);
    verifier.log().setOneLineValues(true); // what is shown of the log is shown line by line
    verifier.put_IgnoreExternalRefs(options.ignoreExternal);
    verifier.SetLimits(options.limits);
    verifier.SetThreads(options.threads);
    if (!setPolicy(options.policy, verifier, error)) {
        return false;
    }
    if (!setKeys(options, verifier)) {
        error = "the public key was refused";
        return false;
    }
    ClsXmlCertVault* const vault = options.certificates.vault();
    if (vault != nullptr && !verifier.UseCertVault(*vault)) {
        error = lastError(verifier);
        return false;
    }
    if (!options.hmacSecret.empty() && !setSecret(options.hmacSecret, verifier)) {
        error = "the HMAC key was refused";
        return false;
    }
    return true;
}

bool prepareSelected(const VerifyOptions& options, ClsXmlDSig& verifier, std::string& error) {
    for (const ReferenceData& data : options.referenceData) {
        bool ok = false;
        if (data.file.empty()) {
            ClsBinData bytes;
            ok = bytes.data().append(asBytes(data.bytes)) &&
                 verifier.SetRefDataBd(data.index, bytes);
        } else {
            XString name(data.file);
            ok = verifier.SetRefDataFile(data.index, name);
        }
        if (!ok) {
            error = data.file + (data.file.empty() ? "" : ": ") + lastError(verifier);
            return false;
        }
    }
    return true;
}

bool selectSignatures(const VerifyOptions& options, ClsXmlDSig& verifier, std::vector<int>& indexes,
                      std::string& error) {
    const int count = verifier.get_NumSignatures();
    // Of several signatures with one Id the first is meant, as everywhere in the library.
    if (options.id) {
        XString id(*options.id);
        if (!verifier.SelectById(id)) {
            error = noSuchId(*options.id);
            return false;
        }
        indexes.push_back(verifier.get_Selector());
        return true;
    }
    if (options.signature) {
        // put_Selector would take the last one instead, and its verdict pass for that of another.
        if (*options.signature < 0 || *options.signature >= count) {
            error = noSuchSignature(*options.signature, count);
            return false;
        }
        indexes.push_back(*options.signature);
        return true;
    }
    for (int i = 0; i < count; ++i) {
        if (verifier.IsSignature(i)) {
            indexes.push_back(i);
        }
    }
    return true;
}

std::string noSuchId(const std::string& id) {
    return "there is no signature with the Id \"" + id + '"';
}

// Said with the number of those that there are, since most slips are by one.
std::string noSuchSignature(int index, int count) {
    return "there is no signature with index " + std::to_string(index) + "; the document has " +
           std::to_string(count);
}

namespace {

// One signature, or one of its references where that is asked for. False, with the reason, when
// nothing can be said of it. `isLast`: no other attempt follows, so that a failure may be
// explained.
bool attempt(const VerifyOptions& options, ClsXmlDSig& verifier, int index, bool isLast,
             const RunSteps& steps, bool& valid, std::string& error) {
    verifier.put_Selector(index);
    if (!prepareSelected(options, verifier, error)) {
        return false;
    }
    valid = options.reference ? verifier.VerifyReferenceDigest(*options.reference)
                              : verifier.VerifySignature(options.checkReferences);
    if (steps.attempted && !steps.attempted(error)) {
        return false;
    }
    if (!valid && isLast && steps.explains) {
        static_cast<void>(verifier.ExplainFailures(options.effort));
    }
    return true;
}

} // namespace

bool verifySignatures(const VerifyOptions& options, const std::vector<int>& indexes,
                      ClsXmlDSig& verifier, const RunSteps& steps, Status& status,
                      std::string& error) {
    bool allValid = true;
    for (const int index : indexes) {
        bool valid = false;
        // What one signature's verification found out of the document stays in force for the
        // next; a signature that fails gets a second attempt without.
        const bool again = indexes.size() > 1 && verifier.profileName() == "sii";
        if (!attempt(options, verifier, index, !again, steps, valid, error)) {
            return false;
        }
        if (!valid && again) {
            verifier.ResetDocumentRules();
            if (!attempt(options, verifier, index, true, steps, valid, error)) {
                return false;
            }
        }
        allValid = valid && allValid;
        if (steps.finished && !steps.finished(error)) {
            return false;
        }
    }
    status = indexes.empty() ? Status::NoSignature : allValid ? Status::Valid : Status::Invalid;
    return true;
}

} // namespace api
} // namespace vantrel
