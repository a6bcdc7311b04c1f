// SPDX-License-Identifier: MIT
#include "foundation/sandbox/sandbox.h"

#include "tests/support/process.h"

#include <cerrno>
#include <csignal>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

// Each test binds a child process, which tries everything in turn and tells by pipe what it could.
namespace vantrel::test {
namespace {

using sandbox::Needs;

// Something that a process may try: a negative result is a refusal.
struct Attempt {
    std::string name;
    bool allowed;
    std::function<long()> run;
};

// A letter for each attempt: '+' it could, '-' it was refused. All bounds that there are must be
// said to hold.
std::string outcomes(const std::vector<Attempt>& attempts, const Needs& needs) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        std::string found;
        const sandbox::Bounds had = sandbox::available();
        const sandbox::Bounds held = sandbox::enter(needs);
        for (const Attempt& attempt : attempts) {
            found += attempt.run() < 0 ? '-' : '+';
        }
        const bool all = held.landlock == had.landlock && held.calls == had.calls;
        const bool told = ::write(ends[1], found.data(), found.size()) > 0;
        ::_exit(told && all ? 0 : 1);
    }
    ::close(ends[1]);
    std::string found(attempts.size() + 1, '\0');
    const ssize_t count = ::read(ends[0], found.data(), found.size());
    ::close(ends[0]);
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    found.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return found;
}

void expectOutcomes(const std::vector<Attempt>& attempts, const Needs& needs) {
    const std::string found = outcomes(attempts, needs);
    ASSERT_EQ(found.size(), attempts.size());
    for (std::size_t i = 0; i < attempts.size(); ++i) {
        EXPECT_EQ(found[i], attempts[i].allowed ? '+' : '-') << attempts[i].name;
    }
}

std::function<long()> opens(const std::string& path, int flags = O_RDONLY) {
    return [path, flags] { return ::open(path.c_str(), flags | O_CLOEXEC, 0600); };
}

long startsThread() {
    int done = 0;
    std::thread([&done] { done = 1; }).join();
    return done - 1;
}

long maps(int protection) {
    void* const place = ::mmap(nullptr, 4096, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return place == MAP_FAILED ? -1 : 0;
}

long makesCode() {
    void* const place =
        ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return ::mprotect(place, 4096, PROT_READ | PROT_EXEC);
}

class Sandbox : public ::testing::Test {
protected:
    void SetUp() override {
        if (!sandbox::isBuilt() || !sandbox::available().calls) {
            GTEST_SKIP() << "no sandbox in this build, or on this kernel";
        }
    }
    // What only Landlock refuses is allowed where the kernel lacks it.
    const bool m_freely = sandbox::available().landlock == 0;
    const TempDir m_dir;
    const std::string m_inside = m_dir.write("inside.xml", "<a/>");
    const std::string m_outside = m_dir.write("outside.xml", "<a/>");
};

// Whoever has taken the process over by a document gets no further.
TEST_F(Sandbox, StartsNothingReachesNobodyAndWritesNowhere) {
    const std::vector<Attempt> attempts = {
        {"memory", true, [] { return maps(PROT_READ | PROT_WRITE); }},
        {"thread", true, startsThread},
        {"size", true,
         [this] {
             struct stat status {};
             return ::stat(m_outside.c_str(), &status);
         }},
        {"code", false, [] { return maps(PROT_READ | PROT_EXEC); }},
        {"memory to code", false, makesCode},
        {"process", false, [] { return ::fork(); }},
        {"process by clone3", false, [] { return ::syscall(435, nullptr, 0); }},
        {"program", false, [] { return ::execl("/bin/true", "true", nullptr); }},
        {"TCP", false, [] { return ::socket(AF_INET, SOCK_STREAM, 0); }},
        {"UDP", false, [] { return ::socket(AF_INET6, SOCK_DGRAM, 0); }},
        {"local socket", false, [] { return ::socket(AF_UNIX, SOCK_STREAM, 0); }},
        {"pair of sockets", false,
         [] {
             int two[2];
             return ::socketpair(AF_UNIX, SOCK_STREAM, 0, two);
         }},
        {"signal", false, [] { return ::kill(::getppid(), 0); }},
        {"signal to a thread", false,
         [] { return ::syscall(SYS_tgkill, ::getppid(), ::getppid(), 0); }},
        {"abort's signal", true, [] { return ::syscall(SYS_tgkill, ::getpid(), ::gettid(), 0); }},
        {"tracing", false, [] { return ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr); }},
        {"typing", false,
         [] {
             const char c = 'x';
             return ::ioctl(0, TIOCSTI, &c) == 0 ? 0 : -1;
         }},
        {"other's memory", false,
         [] { return ::process_vm_readv(::getppid(), nullptr, 0, nullptr, 0, 0); }},
        {"writing", false, opens(m_inside, O_WRONLY)},
        {"new file", false, opens(m_dir.file("new"), O_WRONLY | O_CREAT)},
        {"truncation", false, opens(m_inside, O_RDONLY | O_TRUNC)},
        {"unnamed file", false, opens(m_dir.path(), O_RDWR | O_TMPFILE)},
        {"removal", false, [this] { return ::unlink(m_inside.c_str()); }},
        {"renaming", false, [this] { return ::rename(m_inside.c_str(), m_outside.c_str()); }},
        {"folder", false, [this] { return ::mkdir(m_dir.file("d").c_str(), 0700); }},
        {"rights", false, [this] { return ::chmod(m_inside.c_str(), 0777); }},
    };
    Needs needs;
    needs.readable = {m_inside};
    expectOutcomes(attempts, needs);
    needs.anyFile = true;
    expectOutcomes(attempts, needs);
    EXPECT_EQ(::access(m_inside.c_str(), F_OK), 0);
    EXPECT_NE(::access(m_dir.file("new").c_str(), F_OK), 0);
}

TEST_F(Sandbox, ReadsWhatIsNamedAndNothingElse) {
    ASSERT_EQ(::mkdir(m_dir.file("folder").c_str(), 0700), 0);
    const std::string below = m_dir.write("folder/x.xml", "<a/>");
    const std::string link = m_dir.file("link.xml");
    ASSERT_EQ(::symlink(m_inside.c_str(), link.c_str()), 0);
    Needs needs;
    needs.readable = {link, m_dir.file("folder"), m_dir.file("absent.xml"), "/proc/self/fd/0"};
    const std::vector<Attempt> attempts = {
        {"by a link", true, opens(link)},
        {"behind it", true, opens(m_inside)},
        {"below a folder", true, opens(below)},
        {"the folder", true, opens(m_dir.file("folder"), O_RDONLY | O_DIRECTORY)},
        {"another", m_freely, opens(m_outside)},
        {"of the system", m_freely, opens("/etc/passwd")},
        {"the root", m_freely, opens("/", O_RDONLY | O_DIRECTORY)},
        // For a near name; no file in it.
        {"where one is missing", true, opens(m_dir.path(), O_RDONLY | O_DIRECTORY)},
    };
    expectOutcomes(attempts, needs);
    needs.anyFile = true;
    EXPECT_EQ(outcomes(attempts, needs), std::string(attempts.size(), '+'));
}

// A page is written as a new file that takes the place of the old one, and nowhere else.
TEST_F(Sandbox, WritesTheOneFile) {
    ASSERT_EQ(::mkdir(m_dir.file("out").c_str(), 0700), 0);
    const std::string page = m_dir.write("out/page.html", "old");
    const std::string link = m_dir.file("link.html");
    ASSERT_EQ(::symlink(page.c_str(), link.c_str()), 0);
    for (const std::string& name : {page, link, m_dir.file("out/new.html")}) {
        Needs needs;
        needs.readable = {m_inside};
        needs.written = name;
        expectOutcomes(
            {{"beside", true, opens(m_dir.file("out/x.part"), O_WRONLY | O_CREAT)},
             {"renaming", true,
              [this, page] { return ::rename(m_dir.file("out/x.part").c_str(), page.c_str()); }},
             {"elsewhere", m_freely, opens(m_dir.file("new"), O_WRONLY | O_CREAT)},
             {"another", m_freely, opens(m_outside, O_WRONLY)},
             {"socket", false, [] { return ::socket(AF_INET, SOCK_STREAM, 0); }}},
            needs);
    }
}

} // namespace
} // namespace vantrel::test
