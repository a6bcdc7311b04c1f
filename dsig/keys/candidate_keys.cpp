// SPDX-License-Identifier: MIT
#include "dsig/keys/candidate_keys.h"

#include "dsig/keys/key_info.h"
#include "dsig/keys/key_info_keys.h"
#include "dsig/keys/known_to_caller.h"
#include "foundation/base/LogContextExitor.h"

namespace vantrel::dsig {

namespace {

// Appends a key of the caller's (null for none). A key of the document that is equal to it does not
// rest on the document alone any more.
void appendGivenKey(ClsPublicKey* key, const KeySource& source, std::vector<CandidateKey>& keys) {
    if (key == nullptr) {
        return;
    }
    // The document's key keeps its earlier place, and the caller's own is appended even so: of two
    // equal keys only the first is checked, and what is said of its origin is true of both.
    for (CandidateKey& candidate : keys) {
        candidate.keyGiven = candidate.keyGiven || isSameKey(candidate.key->key(), key->key());
    }
    keys.push_back({.key = Ref<ClsPublicKey>::share(key),
                    .source = source,
                    .certificate = {},
                    .certificateTexts = nullptr,
                    .keyGiven = true});
}

// The caller says which key a name means, the document only that it means this name.
void appendNamedKeys(const KeyQuery& query, std::vector<CandidateKey>& keys) {
    if (query.namedKeys == nullptr || query.namedKeys->empty() ||
        query.selection.signature == nullptr) {
        return;
    }
    const Ref<ClsXml> keyInfo =
        Ref<ClsXml>::adopt(query.selection.signature->findChild("*:KeyInfo"));
    if (!keyInfo) {
        return;
    }
    for (const std::string& name : keyNames(*keyInfo)) {
        const auto found = query.namedKeys->find(name);
        if (found == query.namedKeys->end()) {
            continue;
        }
        for (const Ref<ClsPublicKey>& key : found->second) {
            appendGivenKey(key.get(), keysource::kKeyName, keys);
        }
    }
}

// Keys found before a failure stay candidates.
void appendKeyInfoKeys(const KeyQuery& query, std::vector<CandidateKey>& keys, CodeSet& leniencies,
                       LogBase& log) {
    if (const Ref<ClsXml> keyInfo = keyInfoOf(query.selection, query.numSignatures, log)) {
        static_cast<void>(keysFromKeyInfo(query, *keyInfo, keys, leniencies, log));
        if (log.verbose()) {
            log.LogDataLong("numPublicKeys", static_cast<std::int64_t>(keys.size()));
        }
    }
}

} // namespace

std::vector<CandidateKey> candidateKeys(const KeyQuery& query, CodeSet& leniencies, LogBase& log) {
    const LogContextExitor context(log, "getXmlDsigPublicKey");
    if (log.verbose()) {
        log.LogDataLong("bKeyInfoOnly", query.keyInfoOnly ? 1 : 0);
    }
    std::vector<CandidateKey> keys;
    // KeyInfo comes first: there the signer says which key is meant.
    if (query.keyInfoOnly || !query.callerKeysOnly) {
        appendKeyInfoKeys(query, keys, leniencies, log);
    }
    // The key of the index is more likely to be the right one than that of all. Whoever puts a key
    // of his own into KeyInfo has it tried before these and may get a verified value; that such a
    // key is the document's alone is what the report then says.
    // A key that the signer named comes ahead of those that were given for whoever signed.
    if (!query.keyInfoOnly) {
        appendNamedKeys(query, keys);
        appendGivenKey(query.keyOfSignature, keysource::kExplicit, keys);
        for (const Ref<ClsPublicKey>& key : query.keysForAll) {
            appendGivenKey(key.get(), keysource::kExplicit, keys);
        }
    }
    return keys;
}

} // namespace vantrel::dsig
