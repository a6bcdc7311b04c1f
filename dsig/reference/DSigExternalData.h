// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_DSIGEXTERNALDATA_H
#define DSIG_REFERENCE_DSIGEXTERNALDATA_H

#include "foundation/text/DataBuffer.h"
#include "foundation/text/VantrelObject.h"
#include "foundation/text/XString.h"
#include "foundation/text/arrays.h"

namespace vantrel {

// The data of one external reference: bytes, or the path of a file to be read. At most one of the
// two is in use; an empty m_data counts as none. The bytes are digested as they are; the file is
// opened only when its reference is checked.
class DSigRefExternalData final : public VantrelObject {
public:
    void useFile(const XString& path) {
        m_data.clear();
        m_filePath.copyFromX(path);
    }
    void clear() {
        m_data.clear();
        m_filePath.clear();
    }

    DataBuffer m_data;
    XString m_filePath;
};

// The external data of one signature. Places without data are null; the array owns what it holds.
class DSigExternalData final : public VantrelObject {
public:
    ExtPtrArray m_refData; // DSigRefExternalData by reference index
};

} // namespace vantrel

#endif
