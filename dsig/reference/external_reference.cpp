#include "dsig/reference/external_reference.h"

#include "dsig/reference/digest_comparison.h"
#include "dsig/reference/external_name.h"
#include "dsig/reference/external_parts.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/io/_vlDataSource.h"
#include "foundation/io/_vlFilePath.h"

#include <memory>

namespace vantrel::dsig {

namespace {

// The index comes from a caller; the array grows up to it, so it has an end.
constexpr unsigned kLastExternalIndex = 100;

// Looks through the folders in their order; the first that has the file decides.
bool findNamedFile(std::string_view fileName, const ExtPtrArraySb& dirs, XString& path,
                   LogBase& log) {
    log.logText("externalRefFileName", fileName);
    for (int i = 0; i < dirs.getSize(); ++i) {
        log.LogDataSb("externalRefDir", *dirs.sbAt(i));
        const XString dir(dirs.sbAt(i)->view());
        const XString name(fileName);
        XString candidate;
        _vlFilePath::CombineDirAndFilepath(dir, name, candidate);
        log.LogDataX("pathToCheck", candidate);
        if (FileSys::findFileBelow(dir, name, path, log)) {
            log.LogDataX("usingFile", path);
            return true;
        }
    }
    return false;
}

// By the name that the URI means; where no file has it, by the URI as it is written, since many
// signers write names that way. Without folders nothing is looked for: a document cannot make the
// verifier open files on its own. `name` := the one that was found.
bool findExternalFile(const StringBuffer& uri, const ExtPtrArraySb& dirs, XString& path,
                      std::string& name, LogBase& log) {
    if (dirs.getSize() == 0) {
        return false;
    }
    name = nameOfUri(uri.view());
    if (findNamedFile(name, dirs, path, log)) {
        return true;
    }
    if (name == uri.view()) {
        return false;
    }
    name = uri.view();
    return findNamedFile(name, dirs, path, log);
}

// Bytes go before a file. An empty byte buffer means that there is none, so data of no bytes can
// only be given as an empty file.
// `count` := the number of octets.
RefReason digestExternalData(const DSigRefExternalData& data, int hashAlg, DataBuffer* octets,
                             std::uint64_t& count, DataBuffer& digest, LogBase& log) {
    if (!data.m_data.isEmpty()) {
        count = data.m_data.getSize();
        if (octets != nullptr) {
            octets->append(data.m_data);
        }
        _vlHash::doHash(data.m_data.getData2(), data.m_data.getSize(), hashAlg, digest);
        return RefReason::Match;
    }
    _vlFileDataSource file;
    if (!file.openDataSourceFile(data.m_filePath, log)) {
        return RefReason::ExternalUnreadable;
    }
    if (!_vlHash::hashDataSource(file, hashAlg, octets, digest, nullptr, log)) {
        log.LogError("Failed to hash the external file data.");
        return RefReason::ExternalMissing;
    }
    count = file.octetsRead();
    return RefReason::Match;
}

} // namespace

DSigRefExternalData* givenData(const ExternalData& external, int index, bool create, LogBase& log) {
    const LogContextExitor context(log, "getExtRef");
    log.LogDataLong("index", index);
    // As an unsigned number a negative index is beyond the last one too.
    if (static_cast<unsigned>(index) > kLastExternalIndex) {
        return nullptr;
    }
    auto* ofSignature =
        static_cast<DSigExternalData*>(external.bySignature->elementAt(external.signature));
    if (ofSignature == nullptr) {
        ofSignature = new DSigExternalData();
        external.bySignature->setAt(external.signature, ofSignature);
    }
    auto* data = static_cast<DSigRefExternalData*>(ofSignature->m_refData.elementAt(index));
    if (data == nullptr && create) {
        data = new DSigRefExternalData();
        ofSignature->m_refData.setAt(index, data);
    }
    return data;
}

void checkExternalReference(const ReferenceQuery& query, const DSigReference& reference,
                            const StringBuffer& uri, ReferenceResult& result, LogBase& log) {
    result.covers = "external";
    log.LogDataSb("externalUri", uri);
    if (query.external.parts != nullptr) {
        query.external.parts->check(query, reference, uri, result, log);
        return;
    }
    const DSigRefExternalData* data = givenData(query.external, query.index, false, log);
    DSigRefExternalData found;
    // What the caller gave for this reference goes before any file of that name.
    std::string name;
    if (data == nullptr &&
        findExternalFile(uri, *query.external.dirs, found.m_filePath, name, log)) {
        data = &found;
        result.found.edit().name = std::move(name);
    }
    if (data == nullptr) {
        log.LogError("No external data defined for this reference.");
        log.LogInfo(
            "Hint 1: Set the IgnoreExternalRefs property to verify without checking digests for external file references.");
        log.LogInfo(
            "Hint 2: Set the ExternalRefDirs property to specify a set of directories to look for the referenced file.");
        result.reason = RefReason::ExternalMissing;
        result.dataMissing = true;
        return;
    }

    DataBuffer digest;
    result.reason = digestExternalData(*data, reference.getHashAlg(),
                                       query.keepOctets ? &result.octets : nullptr,
                                       result.octetCount, digest, log);
    if (result.reason != RefReason::Match) {
        return;
    }
    digest.encodeDB("base64", result.computedDigest);
    const bool equal = isStoredDigest(result.computedDigest, reference, log);
    result.reason = equal ? RefReason::Match : RefReason::Mismatch;
}

} // namespace vantrel::dsig
