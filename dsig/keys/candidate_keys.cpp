#include "dsig/keys/candidate_keys.h"

#include "dsig/keys/key_info.h"
#include "dsig/keys/key_info_keys.h"
#include "dsig/keys/known_to_caller.h"
#include "foundation/base/LogContextExitor.h"

namespace vantrel::dsig {

namespace {

// Appends a key of the caller's (null for none). A key of the document that is equal to it does not
// rest on the document alone any more.
void appendExplicitKey(ClsPublicKey* key, std::vector<CandidateKey>& keys) {
    if (key == nullptr) {
        return;
    }
    // The document's key keeps its earlier place, and the caller's own is appended even so: of two
    // equal keys only the first is checked, and what is said of its origin is true of both.
    for (CandidateKey& candidate : keys) {
        candidate.keyGiven = candidate.keyGiven || isSameKey(candidate.key->key(), key->key());
    }
    keys.push_back({.key = Ref<ClsPublicKey>::share(key),
                    .source = keysource::kExplicit,
                    .certificate = {},
                    .certificateTexts = nullptr,
                    .keyGiven = true});
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
    if (!query.keyInfoOnly) {
        appendExplicitKey(query.keyOfSignature, keys);
        for (const Ref<ClsPublicKey>& key : query.keysForAll) {
            appendExplicitKey(key.get(), keys);
        }
    }
    return keys;
}

} // namespace vantrel::dsig
