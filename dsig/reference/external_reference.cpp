// SPDX-License-Identifier: MIT
#include "dsig/reference/external_reference.h"

#include "dsig/reference/digest_comparison.h"
#include "dsig/reference/external_name.h"
#include "dsig/reference/external_parts.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/io/_vlDataSource.h"
#include "foundation/io/_vlFilePath.h"
#include "foundation/xml/scan/limits.h"

#include <memory>
#include <vector>

namespace vantrel::dsig {

namespace {

// The index comes from a caller; the array grows up to it, so it has an end.
constexpr unsigned kLastExternalIndex = 100;
// Octets that are read from a file at once.
constexpr std::size_t kReadSize = std::size_t{64} << 10;

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

namespace {

// What the caller gave for this reference goes before any file of that name, whose path `found`
// then holds, and `name` what of the URI named it. Null without either.
const DSigRefExternalData* dataOf(const ReferenceQuery& query, const StringBuffer& uri,
                                  DSigRefExternalData& found, std::string& name, LogBase& log) {
    const DSigRefExternalData* const data = givenData(query.external, query.index, false, log);
    const bool isFile =
        data == nullptr && findExternalFile(uri, *query.external.dirs, found.m_filePath, name, log);
    return isFile ? &found : data;
}

} // namespace

bool readExternalData(const ReferenceQuery& query, const StringBuffer& uri, DataBuffer& octets,
                      LogBase& log) {
    DSigRefExternalData found;
    std::string name;
    // The parts of a package are digested by its own rules, and no file stands in for them.
    const DSigRefExternalData* const data =
        query.external.parts == nullptr ? dataOf(query, uri, found, name, log) : nullptr;
    WorkAccount& account = query.document->account;
    if (data == nullptr) {
        return false;
    }
    if (!data->m_data.isEmpty()) {
        octets = data->m_data;
        return account.takeOctets(octets.getSize(), log);
    }
    _vlFileDataSource file;
    if (!file.openDataSourceFile(data->m_filePath, log) ||
        file.fileSize() > xml::kMaxDocumentSize || !account.takeOctets(file.fileSize(), log)) {
        return false;
    }
    std::vector<std::uint8_t> room(kReadSize);
    std::size_t count = 0;
    do {
        // A file that grows meanwhile is not read beyond the size that it was charged with.
        if (!file.readSource(room, count, log) || file.octetsRead() > file.fileSize() ||
            !octets.append(ByteView(room).first(count))) {
            return false;
        }
    } while (count != 0);
    return true;
}

void checkExternalReference(const ReferenceQuery& query, const DSigReference& reference,
                            const StringBuffer& uri, ReferenceResult& result, LogBase& log) {
    result.covers = "external";
    log.LogDataSb("externalUri", uri);
    if (query.external.parts != nullptr) {
        query.external.parts->check(query, reference, uri, result, log);
        return;
    }
    DSigRefExternalData found;
    std::string name;
    const DSigRefExternalData* const data = dataOf(query, uri, found, name, log);
    if (data == &found) {
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
    compareDigest(digest, reference, result, log);
}

} // namespace vantrel::dsig
