// SPDX-License-Identifier: MIT
#include "tests/dsig/case_setting.h"

#include "foundation/base/ClsBinData.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "tests/dsig/document_case.h"
#include "tests/support/corpus.h"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

const std::string kHmacSecret = "a secret of some length";

// Replaces every occurrence; one there must be, so that no case tests an unchanged document.
void applyChange(std::string& document, const std::string& change, const std::string& where) {
    const std::size_t arrow = change.find(" =>");
    ASSERT_NE(arrow, std::string::npos) << where;
    const std::string from = unescape(change.substr(0, arrow));
    const std::string to =
        unescape(change.substr(std::min(arrow + std::string(" => ").size(), change.size())));
    std::size_t at = document.find(from);
    ASSERT_NE(at, std::string::npos) << where << "nothing to change: " << from;
    for (; at != std::string::npos; at = document.find(from, at + to.size())) {
        document.replace(at, from.size(), to);
    }
}

} // namespace

Setting readSetting(VecCase& c, const std::string& folder) {
    Setting setting;
    setting.document = readText(folder + "/document.xml");
    for (const std::string& change : c.all("Change")) {
        applyChange(setting.document, change, c.where());
    }
    setting.asBytes = c.textOr("Load", "text") == "bytes";
    setting.options = c.textOr("Options", "");
    setting.key = c.textOr("Key", "rsa");
    setting.selector = static_cast<int>(c.integerOr("Selector", 0));
    setting.ignoreExternal = c.booleanOr("Ignore", false);
    setting.data = c.all("Data");
    return setting;
}

namespace {

void supplyKey(ClsXmlDSig& verifier, const std::string& key) {
    if (key == "none") {
        return;
    }
    if (key == "hmac") {
        XString secret(kHmacSecret);
        XString encoding("ascii");
        ASSERT_TRUE(verifier.SetHmacKey(secret, encoding));
        return;
    }
    const Ref<ClsPublicKey> publicKey = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
    ASSERT_TRUE(publicKey->LoadFromFile(XString(vectorPath("dsig/keys/" + key + ".pub"))));
    ASSERT_TRUE(verifier.SetPublicKey(*publicKey));
}

} // namespace

bool load(ClsXmlDSig& verifier, const Setting& setting) {
    if (setting.asBytes) {
        ClsBinData bytes;
        bytes.data().append(ByteView(bytesOf(setting.document)));
        return verifier.LoadSignatureBd(bytes);
    }
    XString text(setting.document);
    return verifier.LoadSignature(text);
}

void prepare(ClsXmlDSig& verifier, const Setting& setting, std::string& loadLog) {
    XString options(setting.options);
    verifier.put_UncommonOptions(options);
    verifier.put_IgnoreExternalRefs(setting.ignoreExternal);
    ASSERT_TRUE(load(verifier, setting)) << logOf(verifier);
    loadLog = logOf(verifier);
    supply(verifier, setting);
}

void supply(ClsXmlDSig& verifier, const Setting& setting) {
    for (int i = verifier.get_NumSignatures(); i-- > 0;) {
        verifier.put_Selector(i);
        supplyKey(verifier, setting.key);
    }
    verifier.put_Selector(setting.selector);
    for (const std::string& entry : setting.data) {
        ClsBinData bytes;
        bytes.data().append(ByteView(bytesOf(entry.substr(entry.find(' ') + 1))));
        ASSERT_TRUE(verifier.SetRefDataBd(std::stoi(entry), bytes));
    }
}

const std::map<std::string, std::vector<std::string>>& casesByGroup() {
    static const std::map<std::string, std::vector<std::string>> cases = [] {
        std::map<std::string, std::vector<std::string>> found;
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(vectorPath("dsig"))) {
            if (entry.path().filename() == "case.vec") {
                const std::filesystem::path folder = entry.path().parent_path();
                found[folder.parent_path().filename().string()].push_back(folder.string());
            }
        }
        return found;
    }();
    return cases;
}

} // namespace vantrel::test
