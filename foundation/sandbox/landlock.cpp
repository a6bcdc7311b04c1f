// SPDX-License-Identifier: MIT
#include "foundation/sandbox/landlock.h"

#if defined(__linux__) && !defined(VANTREL_WITHOUT_SANDBOX)
#include <cstdint>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

// The numbers are those of the kernel's interface and the same on all processors; the headers of
// the machine that builds this may be older than the kernel it runs on.
namespace vantrel::sandbox {

namespace {

constexpr long kCreateRuleset = 444;
constexpr long kAddRule = 445;
constexpr long kRestrictSelf = 446;
constexpr unsigned kAskVersion = 1;
constexpr int kPathBeneath = 1;

// What one may do with files and in folders.
constexpr std::uint64_t kWriteFile = 1U << 1;
constexpr std::uint64_t kReadFile = 1U << 2;
constexpr std::uint64_t kListFolder = 1U << 3;
constexpr std::uint64_t kRemoveFile = 1U << 5;
constexpr std::uint64_t kMakeFile = 1U << 8;
constexpr std::uint64_t kTruncate = 1U << 14; // version 3

// A kernel takes a longer structure than it knows when the rest is zero.
struct RulesetAttributes {
    std::uint64_t files = 0;
    std::uint64_t tcp = 0;    // version 4
    std::uint64_t scoped = 0; // version 6
};

struct PathRule {
    std::uint64_t allowed = 0;
    std::int32_t path = -1; // a descriptor
};

// Closes a descriptor at the end.
class Descriptor {
public:
    explicit Descriptor(int number) noexcept : m_number(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (m_number >= 0) {
            ::close(m_number);
        }
    }
    [[nodiscard]] int get() const noexcept { return m_number; }

private:
    int m_number;
};

// Everything that the version can refuse.
RulesetAttributes everything(int version) noexcept {
    RulesetAttributes all;
    all.files = (std::uint64_t{1} << 13) - 1;
    all.files |= version >= 2 ? std::uint64_t{1} << 13 : 0; // names across folders
    all.files |= version >= 3 ? kTruncate : 0;
    all.files |= version >= 5 ? std::uint64_t{1} << 15 : 0; // ioctl of devices
    all.tcp = version >= 4 ? 3 : 0;                         // bind, connect
    all.scoped = version >= 6 ? 3 : 0;                      // abstract sockets, signals
    return all;
}

// One path and what remains allowed there, of what the rules handle. False when it is not there.
// What has no place in a file system, a pipe by its number say, is none of Landlock's business, and
// a rule about it is refused.
bool allow(const Descriptor& rules, std::uint64_t handled, const std::string& path,
           std::uint64_t ofFile, std::uint64_t ofFolder) {
    const Descriptor place(::open(path.c_str(), O_PATH | O_CLOEXEC));
    struct stat status {};
    if (place.get() < 0 || ::fstat(place.get(), &status) != 0) {
        return false;
    }
    PathRule rule;
    rule.allowed = handled & (S_ISDIR(status.st_mode) ? ofFolder : ofFile);
    rule.path = place.get();
    if (rule.allowed != 0) {
        ::syscall(kAddRule, rules.get(), kPathBeneath, &rule, 0);
    }
    return true;
}

std::string folderOf(const std::string& path) {
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    return folder.empty() ? "." : folder.string();
}

} // namespace

int landlockVersion() noexcept {
    const long version = ::syscall(kCreateRuleset, nullptr, 0, kAskVersion);
    return version > 0 ? static_cast<int>(version) : 0;
}

bool enterLandlock(const Needs& needs, int version) {
    RulesetAttributes handled = everything(version);
    if (needs.anyFile) {
        handled.files &= ~(kReadFile | kListFolder);
    }
    const Descriptor rules(
        static_cast<int>(::syscall(kCreateRuleset, &handled, sizeof handled, 0)));
    if (rules.get() < 0) {
        return false;
    }
    for (const std::string& name : needs.readable) {
        if (!needs.anyFile &&
            !allow(rules, handled.files, name, kReadFile, kReadFile | kListFolder)) {
            allow(rules, handled.files, folderOf(name), 0, kListFolder);
        }
    }
    if (!needs.written.empty()) {
        // A file is written beside the one it replaces, which may be behind a link.
        std::error_code ignored;
        const std::filesystem::path real = std::filesystem::canonical(needs.written, ignored);
        const std::string target = ignored ? needs.written : real.string();
        allow(rules, handled.files, target, kWriteFile | kTruncate, 0);
        allow(rules, handled.files, folderOf(target), 0, kWriteFile | kMakeFile | kRemoveFile);
    }
    return ::syscall(kRestrictSelf, rules.get(), 0) == 0;
}

} // namespace vantrel::sandbox
#else
namespace vantrel::sandbox {

int landlockVersion() noexcept { return 0; }

bool enterLandlock(const Needs& /*needs*/, int /*version*/) { return false; }

} // namespace vantrel::sandbox
#endif
