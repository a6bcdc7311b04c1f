// SPDX-License-Identifier: MIT
#ifndef TESTS_FOUNDATION_CMS_CMS_SUPPORT_H
#define TESTS_FOUNDATION_CMS_CMS_SUPPORT_H

#include "foundation/cms/Pkcs7SignedData.h"
#include "foundation/cms/_clsCades.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/x509/CertMgr.h"
#include "foundation/x509/SystemCerts.h"
#include "tests/support/bytes.h"
#include "tests/support/recording_log.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {

// A certificate store that holds the given files.
class Store final {
public:
    explicit Store(const std::vector<std::string>& files = {}) {
        LogNull log;
        m_certs.addCertVault(m_vault, log);
        for (const std::string& file : files) {
            std::uint32_t added = 0;
            EXPECT_TRUE(m_vault.addAny(readFile(file), added, log)) << file;
        }
    }
    [[nodiscard]] SystemCerts* get() { return &m_certs; }

private:
    CertMgr m_vault;
    SystemCerts m_certs;
};

// What became of loading and verifying one message.
struct Outcome {
    bool loaded = false;
    bool verified = false;
    Bytes content;
    std::string errors;
};

inline Outcome verifyMessage(Pkcs7SignedData& message, const Bytes& der, SystemCerts* store,
                             const char* options = "") {
    Outcome outcome;
    RecordingLog log;
    bool otherType = false;
    outcome.loaded = message.loadPkcs7Der(DataBuffer(der), nullptr, 2, otherType, store, log);
    _clsCades cades;
    cades.put_CmsOptions(XString(options));
    DataBuffer content;
    content.appendChar(1); // must be gone afterwards
    outcome.verified = message.verifyOpaqueSignature(content, cades, store, log);
    outcome.content.assign(content.view().begin(), content.view().end());
    outcome.errors = log.errors;
    return outcome;
}

inline Outcome verifyMessage(const Bytes& der, SystemCerts* store, const char* options = "") {
    Pkcs7SignedData message;
    return verifyMessage(message, der, store, options);
}

} // namespace vantrel::test

#endif
