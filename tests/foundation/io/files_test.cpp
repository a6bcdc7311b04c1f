// SPDX-License-Identifier: MIT
#include "foundation/io/files.h"

#include "foundation/io/Psdk.h"
#include "foundation/io/_vlDataSource.h"
#include "foundation/io/_vlFilePath.h"
#include "foundation/io/random_access.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/XString.h"
#include "tests/support/bytes.h"
#include "tests/support/process.h"
#include "tests/support/recording_log.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <set>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel::test {
namespace {

// Keeps the info lines as well.
class InfoLog final : public LogBase {
public:
    void LogError(const char* text) override { lines += text; }
    void LogInfo(const char* text) override { lines += text; }
    void enterContext(const char* /*name*/) override {}
    void leaveContext() override {}
    void logText(const char* /*key*/, std::string_view /*value*/) override {}
    void LogBracketed(const char* /*key*/, std::string_view /*text*/) override {}
    void setLastJsonData(const StringBuffer& /*json*/) override {}
    void clearLastJsonData() override {}
    [[nodiscard]] bool isRecording() const noexcept override { return true; }

    std::string lines;
};

TEST(FilePath, JoinsWithOneSeparator) {
    const std::string cases[][3] = {
        {"dir", "a", "dir/a"}, {"dir/", "a", "dir/a"}, {"", "a", "a"}, {"dir", "", "dir"}};
    for (const auto& [dir, name, wanted] : cases) {
        XString out;
        EXPECT_TRUE(_vlFilePath::CombineDirAndFilepath(XString(dir), XString(name), out));
        EXPECT_EQ(out.getUtf8Sb().view(), wanted);
    }
}

// Of ten bytes; the last offset would wrap round with any number of bytes behind it.
TEST(RandomAccess, ReadsNothingThatIsNotThere) {
    const TempDir folder;
    folder.write("ten", "0123456789");
    DataBuffer bytes;
    ASSERT_TRUE(bytes.append("0123456789", 10));
    const io::MemoryAccess memory(bytes);
    io::FileAccess file;
    LogNull log;
    ASSERT_TRUE(file.open(folder.file("ten"), log));
    for (const io::RandomAccess* const access : {static_cast<const io::RandomAccess*>(&memory),
                                                 static_cast<const io::RandomAccess*>(&file)}) {
        EXPECT_EQ(access->size(), 10U);
        std::array<std::uint8_t, 4> room{};
        EXPECT_TRUE(access->read(6, room));
        EXPECT_EQ(room[3], '9');
        EXPECT_TRUE(access->read(10, std::span(room).first(0)));
        for (const std::uint64_t beyond :
             {std::uint64_t{7}, std::uint64_t{11}, ~std::uint64_t{0}}) {
            EXPECT_FALSE(access->read(beyond, room)) << beyond;
        }
    }
}

TEST(FileSys, FindsOnlyRegularFilesBelowTheDirectory) {
    const TempDir root;
    namespace fs = std::filesystem;
    fs::create_directories(root.file("refs/sub"));
    fs::create_directories(root.file("refs-beside"));
    root.write("outside.txt", "secret");
    root.write("refs-beside/a.txt", "secret");
    root.write("refs/a.txt", "a");
    root.write("refs/sub/b.txt", "b");
    fs::create_symlink(root.file("refs/sub/b.txt"), root.file("refs/inside.lnk"));
    fs::create_symlink("../outside.txt", root.file("refs/outside.lnk"));
    fs::create_symlink("../refs-beside", root.file("refs/beside"));
    fs::create_symlink("loop.lnk", root.file("refs/loop.lnk"));
    fs::create_symlink("/dev/zero", root.file("refs/zero.lnk"));
    ASSERT_EQ(::mkfifo(root.file("refs/fifo").c_str(), 0600), 0);
    const std::string real = fs::canonical(root.file("refs")).string();

    const struct {
        std::string name;
        std::string found; // below the directory; empty: not found
        const char* why = "";
    } cases[] = {
        {"a.txt", "/a.txt"},
        {"sub/b.txt", "/sub/b.txt"},
        {"./sub//b.txt", "/sub/b.txt"},
        {"inside.lnk", "/sub/b.txt"},
        {"a..txt", "", "no such file"},
        {"missing", "", "no such file"},
        {"loop.lnk", "", "no such file"},
        {"a.txt/", "", "no such file"},
        {"../outside.txt", "", "\"..\""},
        {"sub/../a.txt", "", "\"..\""},
        {"..", "", "\"..\""},
        {real + "/a.txt", "", "absolute"},
        {"outside.lnk", "", "leads out"},
        {"beside/a.txt", "", "leads out"},
        {"zero.lnk", "", "leads out"},
        {"fifo", "", "no regular file"},
        {"sub", "", "no regular file"},
        {"", "", "no name"},
        {".", "", "leads out"},
        {std::string("a.txt\0x", 7), "", "NUL"},
    };
    for (const auto& known : cases) {
        InfoLog log;
        XString path("before");
        const bool found =
            FileSys::findFileBelow(XString(root.file("refs")), XString(known.name), path, log);
        EXPECT_EQ(found, !known.found.empty()) << known.name;
        EXPECT_EQ(path.getUtf8(), found ? real + known.found : "before") << known.name;
        EXPECT_NE(log.lines.find(known.why), std::string::npos) << known.name << ": " << log.lines;
    }
    InfoLog log;
    XString path;
    EXPECT_FALSE(FileSys::findFileBelow(XString(root.file("none")), XString("a"), path, log));
    EXPECT_TRUE(FileSys::fileExistsX(XString(root.file("refs/a.txt"))));
    EXPECT_FALSE(FileSys::fileExistsX(XString(root.file("refs"))));
    EXPECT_FALSE(FileSys::fileExistsX(XString(root.file("none"))));
}

TEST(FileDataSource, StreamsRegularFilesOnly) {
    const TempDir folder;
    const std::string content = textOf(RandomBytes(5).bytes(100000));
    folder.write("data", content);
    ASSERT_EQ(::mkfifo(folder.file("fifo").c_str(), 0600), 0);
    RecordingLog log;
    _vlFileDataSource source;
    ASSERT_TRUE(source.openDataSourceFile(XString(folder.file("data")), log));
    EXPECT_EQ(source.fileSize(), content.size());
    std::string read;
    std::uint8_t room[777];
    std::size_t count = 0;
    do {
        ASSERT_TRUE(source.readSource(room, count, log));
        read += textOf({room, count});
    } while (count != 0);
    EXPECT_TRUE(read == content);
    for (const char* const name : {"fifo", ".", "none", ""}) {
        EXPECT_FALSE(source.openDataSourceFile(XString(folder.file(name)), log)) << name;
        EXPECT_FALSE(log.errors.empty()) << name;
        log.errors.clear();
        EXPECT_FALSE(source.readSource(room, count, log)) << "closed";
    }
}

TEST(Files, ReadsWholeFilesUpToTheLimit) {
    const TempDir folder;
    RecordingLog log;
    for (const std::size_t size : {0U, 1U, 65535U, 65536U, 65537U, 5000001U}) {
        const Bytes bytes = RandomBytes(size).bytes(size);
        const std::string path = folder.file("data");
        ASSERT_TRUE(io::writeFile(path, bytes, log));
        const auto limit = static_cast<std::uint32_t>(size);
        DataBuffer data;
        ASSERT_TRUE(io::readFile(path, limit, data, log)) << size << log.errors;
        EXPECT_TRUE(textOf(data.view()) == textOf(bytes)) << size;
        if (size > 0) {
            EXPECT_FALSE(io::readFile(path, limit - 1, data, log)) << size;
            EXPECT_TRUE(log.hasError("larger than the limit")) << size;
            EXPECT_TRUE(data.isEmpty());
        }
        // The same through a pipe, whose size nobody knows beforehand.
        const std::string pipe = folder.file("pipe" + std::to_string(size));
        ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
        RecordingLog writerLog;
        std::thread writer([&] { EXPECT_TRUE(io::writeFile(pipe, bytes, writerLog)); });
        EXPECT_TRUE(io::readFile(pipe, limit, data, log)) << size;
        writer.join();
        EXPECT_TRUE(textOf(data.view()) == textOf(bytes)) << size;
    }
    DataBuffer data;
    int systemError = 0;
    EXPECT_FALSE(io::readFile(folder.file("none"), 10, data, systemError, log));
    EXPECT_EQ(systemError, ENOENT);
    EXPECT_FALSE(io::readFile(folder.path(), 10, data, systemError, log));
    EXPECT_EQ(systemError, EISDIR);
    EXPECT_FALSE(io::writeFile(folder.path(), {}, log));
}

// A file that cannot be written whole leaves everything as it was.
TEST(Files, WritesWholeFilesOrNothing) {
    const TempDir folder;
    RecordingLog log;
    const std::string path = folder.write("old", "what was there");
    const std::string link = folder.file("link");
    ASSERT_EQ(::symlink("old", link.c_str()), 0);
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    const auto entries = [&] {
        return std::distance(std::filesystem::directory_iterator(folder.path()), {});
    };

    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{1000, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool written = io::writeFile(path, Bytes(1001, 'x'), log);
    const bool fresh = io::writeFile(folder.file("fresh"), Bytes(1001, 'x'), log);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(written || fresh);
    EXPECT_TRUE(log.hasError("The file cannot be written.")) << log.errors;
    EXPECT_EQ(readText(path), "what was there");
    EXPECT_EQ(entries(), 2);

    ASSERT_TRUE(io::writeFile(link, bytesOf("new"), log)) << log.errors;
    EXPECT_EQ(readText(path), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(path).permissions()), 0640U);
    EXPECT_FALSE(io::writeFile(std::string_view("old\0x", 5), {}, log));
    EXPECT_FALSE(io::writeFile(folder.file("none/file"), {}, log));
    EXPECT_EQ(entries(), 2);
}

TEST(Psdk, GeneratorStaysInItsRange) {
    std::set<std::uint32_t> seen;
    std::uint64_t state = 1;
    for (int i = 0; i < 20000; ++i) {
        state = Psdk::n1() * state % Psdk::n2();
        ASSERT_NE(state, 0U);
        const std::uint32_t number =
            Psdk::toIntRange(static_cast<std::uint32_t>(state), 1000, 9998);
        ASSERT_TRUE(number >= 1000 && number <= 9998);
        seen.insert(number);
    }
    EXPECT_GT(seen.size(), 7000U);
    const std::uint32_t before = Psdk::getTickCount();
    ::usleep(3000);
    EXPECT_GE(Psdk::getTickCount() - before, 2U);
}

} // namespace
} // namespace vantrel::test
