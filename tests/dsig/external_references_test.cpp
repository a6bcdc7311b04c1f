// SPDX-License-Identifier: MIT
// References to data outside the document: supplied by the caller, or found in directories out of
// which no name may lead.

#include "dsig/object/ClsXmlDSig.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/base/ClsStringBuilder.h"
#include "tests/dsig/document_case.h"
#include "tests/support/bytes.h"
#include "tests/support/corpus.h"
#include "tests/support/process.h"

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vantrel::test {
namespace {

// SHA-256, by openssl.
const char* const kDetached = "iONOTNu1xgZssbDQq+dHFL1y+GJZQzvIKHYU5K4FJgU=";
const char* const kLatin1 = "EdpN9lQQC++pREoAjZTwIZ2zNG8SZlQoDy7E0W8JoMo=";
const char* const kUtf8 = "/iYwZLoC6urEgqrxMJVTd5vbeOOFyxN0ZU3ik+GR14U=";

std::string signatureOver(const std::string& uri, const std::string& digest, int count = 1) {
    std::string references;
    for (int i = 0; i < count; ++i) {
        references += "<Reference URI=\"" + uri +
                      "\"><DigestMethod Algorithm=\"http://www.w3.org/2001/04/xmlenc#sha256\"/>"
                      "<DigestValue>" +
                      digest + "</DigestValue></Reference>";
    }
    return "<Signature xmlns=\"http://www.w3.org/2000/09/xmldsig#\"><SignedInfo>" + references +
           "</SignedInfo></Signature>";
}

// The reason, "" standing for success, and the log.
void expectReason(ClsXmlDSig& verifier, int index, int reason, const std::string& line,
                  const std::string& what) {
    EXPECT_EQ(verifier.VerifyReferenceDigest(index), reason == 0) << what;
    EXPECT_EQ(verifier.get_RefFailReason(), reason) << what << "\n" << logOf(verifier);
    EXPECT_NE(logOf(verifier).find(line), std::string::npos) << what << "\n" << logOf(verifier);
}

TEST(ExternalReferences, AreFoundInDirectoriesAndNowhereElse) {
    const TempDir outside;
    const TempDir first;
    const TempDir second;
    outside.write("secret", "detached");
    first.write("both", "detached");
    second.write("both", "other");
    second.write("only second", "detached");
    second.write("a%20b", "detached");
    first.write("wrong", "other");
    std::filesystem::create_directory(first.file("sub"));
    first.write("sub/file", "detached");
    std::filesystem::create_symlink("../both", first.file("sub/inside"));
    std::filesystem::create_symlink(outside.file("secret"), first.file("leading out"));
    std::filesystem::create_directory_symlink(outside.path(), first.file("folder out"));
    std::filesystem::create_symlink("/dev/zero", first.file("zero"));
    ASSERT_EQ(::mkfifo(first.file("pipe").c_str(), 0600), 0);
    const std::string sibling = std::filesystem::path(outside.path()).filename().string();

    struct Case {
        std::string uri;
        int reason;
        const char* line;
    };
    const Case cases[] = {
        {"both", 0, "usingFile"},
        {"only second", 0, "The directory holds no such file."},
        {" only second ", 0, "usingFile"},
        {"a%20b", 0, "usingFile"},
        {"a b", 2, "No external data defined for this reference."},
        {"wrong", 1, "usingFile"},
        {"sub/file", 0, "usingFile"},
        {"./sub/../both", 2, "climbs"},
        {"sub/inside", 0, "usingFile"},
        {"sub", 2, "it is no regular file"},
        {"../" + sibling + "/secret", 2, "climbs"},
        {outside.file("secret"), 2, "its path is absolute"},
        {"file://" + outside.file("secret"), 2, "The directory holds no such file."},
        {"leading out", 2, "a link leads out"},
        {"folder out/secret", 2, "a link leads out"},
        {"zero", 2, "a link leads out"},
        {"pipe", 2, "it is no regular file"},
        {"missing", 2, "Hint 2: Set the ExternalRefDirs property"},
    };
    XString dirs(first.path() + "; ;" + second.path() + "/;" + first.file("none"));
    for (const Case& c : cases) {
        ClsXmlDSig verifier;
        verifier.put_ExternalRefDirs(dirs);
        ASSERT_NO_FATAL_FAILURE(loadText(verifier, signatureOver(c.uri, kDetached)));
        expectReason(verifier, 0, c.reason, c.line, c.uri);
    }
    ClsXmlDSig verifier;
    ASSERT_NO_FATAL_FAILURE(loadText(verifier, signatureOver("both", kDetached)));
    expectReason(verifier, 0, 2, "No external data", "no directories");
    XString devices("/dev");
    verifier.put_ExternalRefDirs(devices);
    ASSERT_NO_FATAL_FAILURE(loadText(verifier, signatureOver("zero", kDetached)));
    expectReason(verifier, 0, 2, "it is no regular file", "a device");
}

TEST(ExternalReferences, AreWhatTheCallerSetLast) {
    const TempDir folder;
    XString file(folder.write("file", "detached"));
    XString missing(folder.file("missing"));
    XString pipe(folder.file("pipe"));
    ASSERT_EQ(::mkfifo(pipe.getUtf8(), 0600), 0);
    ClsBinData detached;
    detached.data().append(ByteView(bytesOf("detached")));
    ClsBinData other;
    other.data().append(ByteView(bytesOf("other")));
    ClsBinData empty;
    ClsXmlDSig verifier;
    ASSERT_NO_FATAL_FAILURE(loadText(verifier, signatureOver("x", kDetached)));

    EXPECT_TRUE(verifier.SetRefDataFile(0, file));
    expectReason(verifier, 0, 0, "", "a file");
    EXPECT_TRUE(verifier.SetRefDataBd(0, other));
    expectReason(verifier, 0, 1, "", "bytes after a file");
    EXPECT_TRUE(verifier.SetRefDataFile(0, file));
    expectReason(verifier, 0, 0, "", "a file after bytes");
    EXPECT_TRUE(verifier.SetRefDataFile(0, missing));
    expectReason(verifier, 0, 99, "Failed to open the file.", "a file that is not there");
    EXPECT_TRUE(verifier.SetRefDataFile(0, pipe));
    expectReason(verifier, 0, 99, "Not a regular file.", "a pipe");
    EXPECT_TRUE(verifier.SetRefDataBd(0, detached));
    expectReason(verifier, 0, 0, "", "bytes");
    ASSERT_NO_FATAL_FAILURE(loadText(verifier, signatureOver("x", kDetached)));
    expectReason(verifier, 0, 0, "", "data survives a load");
    EXPECT_TRUE(verifier.SetRefDataBd(0, empty));
    expectReason(verifier, 0, 99, "", "no bytes are no data");

    for (const auto& [charset, digest] :
         {std::pair{"iso-8859-1", kLatin1}, {"windows-1252", kLatin1}, {"utf-8", kUtf8}}) {
        ASSERT_NO_FATAL_FAILURE(loadText(verifier, signatureOver("x", digest)));
        ClsStringBuilder text;
        text.xstring().setFromUtf8("gr\xC3\xBCn");
        XString name(charset);
        EXPECT_TRUE(verifier.SetRefDataSb(0, text, name)) << charset;
        expectReason(verifier, 0, 0, "", charset);
        XString unknown("no such set");
        EXPECT_FALSE(verifier.SetRefDataSb(0, text, unknown));
        expectReason(verifier, 0, 99, "", "text in an unknown set is no data");
    }
}

TEST(ExternalReferences, BelongToOneSignatureAndOneIndex) {
    ClsBinData detached;
    detached.data().append(ByteView(bytesOf("detached")));
    ClsStringBuilder text;
    text.xstring().setFromUtf8("detached");
    XString utf8("utf-8");
    XString path("x");
    ClsXmlDSig verifier;
    const std::string signature = signatureOver("x", kDetached, 102);
    ASSERT_NO_FATAL_FAILURE(loadText(verifier, "<r>" + signature + "\n" + signature + "</r>"));
    EXPECT_TRUE(verifier.SetRefDataBd(100, detached));
    expectReason(verifier, 100, 0, "", "the last index");
    expectReason(verifier, 99, 2, "", "the index before");
    for (const int refused : {101, -1, INT_MIN}) {
        EXPECT_FALSE(verifier.SetRefDataBd(refused, detached)) << refused;
        EXPECT_FALSE(verifier.SetRefDataSb(refused, text, utf8)) << refused;
        EXPECT_FALSE(verifier.SetRefDataFile(refused, path)) << refused;
    }
    expectReason(verifier, 101, 2, "", "beyond the last index");
    verifier.put_Selector(1);
    expectReason(verifier, 100, 2, "", "the other signature");
    EXPECT_TRUE(verifier.SetRefDataSb(3, text, utf8));
    expectReason(verifier, 3, 0, "", "the other signature's own");
    verifier.put_Selector(0);
    expectReason(verifier, 3, 2, "", "not the first signature's");
}

std::size_t peakMemory() {
    struct rusage usage {};
    return ::getrusage(RUSAGE_SELF, &usage) == 0 ? static_cast<std::size_t>(usage.ru_maxrss) : 0;
}

// In a process of its own: 0 when the signature verifies and takes little memory.
int verifySparseFile(const std::string& folder) {
    constexpr std::size_t kMostKilobytes = 64 * 1024;
    const std::size_t before = peakMemory();
    ClsXmlDSig verifier;
    XString dirs(folder);
    verifier.put_ExternalRefDirs(dirs);
    XString secret("a secret of some length");
    XString encoding("ascii");
    loadDocument(verifier, vectorPath("dsig/references/external-sparse/document.xml"));
    if (!verifier.SetHmacKey(secret, encoding) || !verifier.VerifySignature(true)) {
        return 1;
    }
    return peakMemory() - before < kMostKilobytes ? 0 : 2;
}

// A folder in memory where there is one: reading the holes of a file there costs nothing.
std::unique_ptr<TempDir> folderInMemory() {
    const char* const shared = "/dev/shm";
    if (::access(shared, W_OK) != 0) {
        return std::make_unique<TempDir>();
    }
    const char* const usual = std::getenv("TMPDIR");
    const std::string before = usual != nullptr ? usual : "";
    ::setenv("TMPDIR", shared, 1);
    auto folder = std::make_unique<TempDir>();
    if (usual != nullptr) {
        ::setenv("TMPDIR", before.c_str(), 1);
    } else {
        ::unsetenv("TMPDIR");
    }
    return folder;
}

TEST(ExternalReferences, AreStreamedInLittleMemory) {
    constexpr std::uint64_t kSize = (std::uint64_t{2} << 30) + 1;
    const std::unique_ptr<TempDir> folder = folderInMemory();
    const std::string path = folder->write("big.bin", "");
    std::error_code error;
    std::filesystem::resize_file(path, kSize, error);
    if (error) {
        GTEST_SKIP() << "no sparse file of 2 GiB can be made here: " << error.message();
    }
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::_exit(verifySparseFile(folder->path()));
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << "1: does not verify; 2: takes more than 64 MB";
}

} // namespace
} // namespace vantrel::test
