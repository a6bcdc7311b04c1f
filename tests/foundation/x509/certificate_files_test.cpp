// SPDX-License-Identifier: MIT
// Keys and certificates from files and directories.
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/x509/ClsXmlCertVault.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "tests/support/bytes.h"
#include "tests/support/process.h"
#include "tests/support/vectors.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace vantrel {

namespace {

std::string pemOf(const test::Bytes& der) {
    return "-----BEGIN CERTIFICATE-----\n" + test::toBase64(der) + "\n-----END CERTIFICATE-----\n";
}

} // namespace

TEST(CertificateFiles, FilesBundlesAndDirectories) {
    std::vector<test::VecCase> cases = test::readVectors("x509/certificates.vec", "Certificates");
    ASSERT_GE(cases.size(), 2U);
    const test::Bytes one = cases[0].hex("Der");
    const test::Bytes two = cases[1].hex("Der");
    const test::TempDir folder;
    const std::string bundle = folder.write("b.pem", pemOf(one) + pemOf(two));
    const std::string der = folder.write("a.der", test::textOf(one));
    const std::string junk = folder.write("readme.txt", "not a certificate");
    folder.write("empty", "");
    std::filesystem::create_directory(folder.file("sub"));
    test::writeFile(folder.file("sub") + "/c.der", test::textOf(two));

    ClsXmlCertVault vault;
    EXPECT_TRUE(vault.AddCertFile(XString(bundle)));
    EXPECT_EQ(vault.get_NumCerts(), 2U);
    EXPECT_TRUE(vault.AddCertFile(XString(der)));
    EXPECT_EQ(vault.get_NumCerts(), 3U);
    EXPECT_TRUE(vault.AddCertDirectory(XString(folder.path())));
    EXPECT_EQ(vault.get_NumCerts(), 6U); // not the one of the subdirectory
    for (const std::string& bad :
         {junk, folder.file("empty"), folder.file("absent"), folder.path()}) {
        EXPECT_FALSE(vault.AddCertFile(XString(bad))) << bad;
        XString error;
        vault.get_LastErrorLine(error);
        EXPECT_FALSE(error.isEmpty()) << bad;
    }
    std::filesystem::remove(folder.file("sub") + "/c.der");
    EXPECT_FALSE(vault.AddCertDirectory(XString(folder.file("sub"))));
    EXPECT_FALSE(vault.AddCertDirectory(XString(junk)));
    EXPECT_EQ(vault.get_NumCerts(), 6U);

    const Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
    EXPECT_TRUE(key->LoadFromFile(XString(bundle)));
    EXPECT_EQ(key->curveName(), "P-256");
    EXPECT_TRUE(key->LoadFromFile(XString(der)));
    EXPECT_FALSE(key->LoadFromFile(XString(folder.file("absent"))));
    EXPECT_TRUE(key->isEmpty());
    EXPECT_FALSE(key->LoadFromFile(XString(junk)));
}

} // namespace vantrel
