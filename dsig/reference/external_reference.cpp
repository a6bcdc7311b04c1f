// References to data outside the document: bytes or files that the caller supplies, or files in the
// directories that the caller named. The data is digested as it is.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/reference/DSigExternalData.h"
#include "dsig/reference/DSigReference.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/io/_vlDataSource.h"
#include "foundation/io/_vlFilePath.h"
#include "foundation/log/ClsBinData.h"
#include "foundation/log/ClsStringBuilder.h"
#include "foundation/log/LogContextExitor.h"
#include "foundation/log/MethodFrame.h"
#include "foundation/text/_vlCharset.h"

#include <memory>
#include <new>

namespace vantrel {

namespace {

constexpr int kReasonMatch = 0;
constexpr int kReasonMismatch = 1;
constexpr int kReasonNoData = 2;

constexpr unsigned kLastExternalIndex = 100;

} // namespace

DSigRefExternalData* ClsXmlDSig::getExtRef(int index, bool create, LogBase& log) {
    const LogContextExitor context(log, "getExtRef");
    log.LogDataLong("index", index);
    if (static_cast<unsigned>(index) > kLastExternalIndex) {
        return nullptr;
    }
    auto* ofSignature = static_cast<DSigExternalData*>(m_externalData.elementAt(m_selector));
    if (ofSignature == nullptr) {
        ofSignature = new DSigExternalData();
        m_externalData.setAt(m_selector, ofSignature);
    }
    auto* data = static_cast<DSigRefExternalData*>(ofSignature->m_refData.elementAt(index));
    if (data == nullptr && create) {
        data = new DSigRefExternalData();
        ofSignature->m_refData.setAt(index, data);
    }
    return data;
}

bool ClsXmlDSig::SetRefDataFile(int index, XString& path) {
    MethodFrame frame(*this, "SetRefDataFile");
    frame.begin();
    try {
        DSigRefExternalData* const data = getExtRef(index, true, m_log);
        if (data == nullptr) {
            return false;
        }
        data->useFile(path);
        return frame.finish(true);
    } catch (const std::bad_alloc&) {
        return frame.outOfMemory();
    }
}

bool ClsXmlDSig::SetRefDataSb(int index, ClsStringBuilder& sb, XString& charset) {
    MethodFrame frame(*this, "SetRefDataSb");
    frame.begin();
    try {
        DSigRefExternalData* const data = getExtRef(index, true, m_log);
        if (data == nullptr) {
            return false;
        }
        data->clear();
        _vlCharset target;
        return frame.finish(target.setByName(charset.getUtf8()) &&
                            sb.xstring().getConverted(target, data->m_data));
    } catch (const std::bad_alloc&) {
        return frame.outOfMemory();
    }
}

bool ClsXmlDSig::SetRefDataBd(int index, ClsBinData& bd) {
    MethodFrame frame(*this, "SetRefDataBd");
    frame.begin();
    try {
        DSigRefExternalData* const data = getExtRef(index, true, m_log);
        if (data == nullptr) {
            return false;
        }
        data->clear();
        return frame.finish(data->m_data.append(bd.data()));
    } catch (const std::bad_alloc&) {
        return frame.outOfMemory();
    }
}

bool ClsXmlDSig::verifyExternalReference(const StringBuffer& uri, int index,
                                         const DSigReference& ref, bool& externalMissing,
                                         const ExtPtrArraySb& dirs, LogBase& log) {
    m_report.reference(index).covers = "external";
    log.LogDataSb("externalUri", uri);
    DSigRefExternalData* data = getExtRef(index, false, log);
    DSigRefExternalData found;
    if (data == nullptr && findExternalFile(uri, dirs, found.m_filePath, log)) {
        data = &found;
    }
    if (data == nullptr) {
        log.LogError("No external data defined for this reference.");
        log.LogInfo(
            "Hint 1: Set the IgnoreExternalRefs property to verify without checking digests for external file references.");
        log.LogInfo(
            "Hint 2: Set the ExternalRefDirs property to specify a set of directories to look for the referenced file.");
        externalMissing = true;
        m_refFailReason = kReasonNoData;
        return false;
    }

    DataBuffer digest;
    if (!digestExternalData(*data, ref.getHashAlg(), digest, log)) {
        return false;
    }
    StringBuffer calculated;
    digest.encodeDB("base64", calculated);
    const bool equal = isStoredDigest(calculated, ref, "calculatedDigest", log);
    m_refFailReason = equal ? kReasonMatch : kReasonMismatch;
    return equal;
}

bool ClsXmlDSig::findExternalFile(const StringBuffer& uri, const ExtPtrArraySb& dirs, XString& path,
                                  LogBase& log) {
    if (dirs.getSize() == 0) {
        return false;
    }
    log.LogDataSb("externalRefFileName", uri);
    for (int i = 0; i < dirs.getSize(); ++i) {
        log.LogDataSb("externalRefDir", *dirs.sbAt(i));
        const XString dir(dirs.sbAt(i)->view());
        const XString name(uri.view());
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

bool ClsXmlDSig::digestExternalData(const DSigRefExternalData& data, int hashAlg,
                                    DataBuffer& digest, LogBase& log) {
    if (!data.m_data.isEmpty()) {
        keepDigestInput(data.m_data.view());
        _vlHash::doHash(data.m_data.getData2(), data.m_data.getSize(), hashAlg, digest);
        return true;
    }
    _vlFileDataSource file;
    if (!file.openDataSourceFile(data.m_filePath, log)) {
        return false;
    }
    if (!_vlHash::hashDataSource(file, hashAlg, m_digestInputCopy, digest, nullptr, log)) {
        log.LogError("Failed to hash the external file data.");
        m_refFailReason = kReasonNoData;
        return false;
    }
    return true;
}

} // namespace vantrel
