// SPDX-License-Identifier: MIT
#include "foundation/sandbox/call_filter.h"

#if defined(__linux__) && !defined(VANTREL_WITHOUT_SANDBOX) &&                                     \
    (defined(__x86_64__) || defined(__aarch64__)) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <span>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <termios.h>
#include <unistd.h>

// The filter is a program of the kernel's packet filter over the call's number and arguments
// (seccomp(2)). Calls whose arguments do not matter are answered by the kernel from a bitmap, so
// the length of the list costs nothing but when it is installed.
namespace vantrel::sandbox {

namespace {

#if defined(__x86_64__)
constexpr std::uint32_t kProcessor = AUDIT_ARCH_X86_64;
#else
constexpr std::uint32_t kProcessor = AUDIT_ARCH_AARCH64;
#endif

// A call that is allowed where the bits of `mask` in an argument are those of `value`. Its lower
// half is looked at: the arguments meant here have 32 bits. Without a mask it is always allowed.
struct ConditionalCall {
    std::uint32_t number;
    std::uint32_t argument;
    std::uint32_t mask;
    std::uint32_t value;
};

constexpr std::uint32_t kAllBits = 0xFFFFFFFF;
constexpr std::uint32_t kOpensToWrite = O_WRONLY | O_RDWR | O_CREAT | O_TRUNC | O_APPEND;

// Threads, but no processes: clone3, whose flags a filter cannot see, is not there, and libraries
// then take clone. No memory becomes code. Of terminals only what they are is asked.
constexpr ConditionalCall kConditionalCalls[] = {
    {SYS_mmap, 2, PROT_EXEC, 0},
    {SYS_mprotect, 2, PROT_EXEC, 0},
    {SYS_clone, 0, CLONE_THREAD, CLONE_THREAD},
    {SYS_ioctl, 1, kAllBits, TCGETS},
    {SYS_ioctl, 1, kAllBits, TIOCGWINSZ},
    {SYS_ioctl, 1, kAllBits, FIONREAD},
    {SYS_fcntl, 1, kAllBits, F_GETFD},
    {SYS_fcntl, 1, kAllBits, F_SETFD},
    {SYS_fcntl, 1, kAllBits, F_GETFL},
};

// Opening files is a condition of its own unless some may be written.
constexpr ConditionalCall kOpeningCalls[] = {
    {SYS_openat, 2, kOpensToWrite, 0},
#ifdef SYS_open
    {SYS_open, 1, kOpensToWrite, 0},
#endif
};

// Files that are open or may be looked at, memory, threads, signals of the process's own, time.
constexpr std::uint32_t kAllowedCalls[] = {
    SYS_read,
    SYS_pread64,
    SYS_readv,
    SYS_write,
    SYS_writev,
    SYS_close,
    SYS_lseek,
    SYS_fstat,
    SYS_newfstatat,
    SYS_statx,
    SYS_faccessat,
    SYS_readlinkat,
    SYS_getdents64,
    SYS_getcwd,
    SYS_fadvise64,
    SYS_ppoll,
#ifdef SYS_stat
    SYS_stat,
    SYS_lstat,
    SYS_access,
    SYS_readlink,
    SYS_poll,
    SYS_time,
#endif
    SYS_brk,
    SYS_munmap,
    SYS_mremap,
    SYS_madvise,
    SYS_futex,
    SYS_set_robust_list,
    SYS_gettid,
    SYS_getpid,
    SYS_sched_yield,
    SYS_sched_getaffinity,
    SYS_getcpu,
    SYS_sysinfo,
    SYS_rt_sigaction,
    SYS_rt_sigprocmask,
    SYS_rt_sigreturn,
    SYS_sigaltstack,
    SYS_clock_gettime,
    SYS_clock_getres,
    SYS_clock_nanosleep,
    SYS_nanosleep,
    SYS_gettimeofday,
    SYS_getrandom,
    SYS_restart_syscall,
    SYS_exit,
    SYS_exit_group,
#ifdef SYS_rseq
    SYS_rseq,
#endif
};

// For writing a file as a new one that then takes the name.
constexpr std::uint32_t kWritingCalls[] = {
    SYS_openat,    SYS_fchmod, SYS_fsync,  SYS_renameat, SYS_unlinkat,
#ifdef SYS_renameat2
    SYS_renameat2,
#endif
#ifdef SYS_open
    SYS_open,      SYS_rename, SYS_unlink,
#endif
};

// One filter, step by step. A jump passes over as many steps as it says: where its test holds by
// its first number, where not by its second. The kernel tries the filter with every call there is,
// and translates each step, when it is installed: a number is looked up by halves, and all share
// the two answers at the end.
class FilterProgram {
public:
    // Numbers mean other calls on another processor.
    FilterProgram() {
        load(offsetof(seccomp_data, arch));
        add(BPF_JMP | BPF_JEQ | BPF_K, kProcessor, 1, 0);
        add(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS);
        load(offsetof(seccomp_data, nr));
    }

    // Refuses what none of the calls is; called once.
    std::span<sock_filter> allowOnly(std::vector<ConditionalCall> calls) {
        std::stable_sort(calls.begin(), calls.end(),
                         [](const auto& a, const auto& b) { return a.number < b.number; });
        lookUp(stretchesOf(calls));
        answer(m_allowed, SECCOMP_RET_ALLOW);
        answer(m_refused, SECCOMP_RET_ERRNO | ENOSYS);
        return m_steps;
    }

private:
    // Numbers from `first` on that are treated alike: refused where there are no conditions,
    // allowed where the only one has no mask.
    struct Stretch {
        std::uint32_t first;
        std::span<const ConditionalCall> conditions;

        [[nodiscard]] bool isAllowed() const noexcept {
            return !conditions.empty() && conditions.front().mask == 0;
        }
    };

    // One of a jump's two ways.
    struct Way {
        std::size_t jump;
        bool holds;
    };

    static std::vector<Stretch> stretchesOf(std::span<const ConditionalCall> calls) {
        std::vector<Stretch> stretches{{0, {}}};
        const auto begin = [&stretches](const Stretch& next) {
            if (stretches.back().first == next.first) {
                stretches.pop_back();
            }
            // One allowed call behind another goes on with its stretch.
            if (stretches.empty() || !stretches.back().isAllowed() || !next.isAllowed()) {
                stretches.push_back(next);
            }
        };
        for (std::size_t first = 0, next = 0; first < calls.size(); first = next) {
            const std::uint32_t number = calls[first].number;
            while (next < calls.size() && calls[next].number == number) {
                ++next;
            }
            begin({number, calls.subspan(first, next - first)});
            stretches.push_back({number + 1, {}});
        }
        return stretches;
    }

    // As deep as the number of stretches can be halved; there are at least two.
    void lookUp(std::span<const Stretch> stretches) {
        const std::size_t half = stretches.size() / 2;
        const std::size_t jump = add(BPF_JMP | BPF_JGE | BPF_K, stretches[half].first);
        goOn({jump, false}, stretches.first(half));
        goOn({jump, true}, stretches.subspan(half));
    }

    void goOn(Way way, std::span<const Stretch> stretches) {
        const Stretch& only = stretches.front();
        if (stretches.size() == 1 && only.isAllowed()) {
            m_allowed.push_back(way);
        } else if (stretches.size() == 1 && only.conditions.empty()) {
            m_refused.push_back(way);
        } else {
            leadHere(way);
            stretches.size() == 1 ? decide(only.conditions) : lookUp(stretches);
        }
    }

    void decide(std::span<const ConditionalCall> conditions) {
        std::size_t jump = 0;
        for (const ConditionalCall& call : conditions) {
            load(static_cast<std::uint32_t>(offsetof(seccomp_data, args) +
                                            sizeof(std::uint64_t) * call.argument));
            add(BPF_ALU | BPF_AND | BPF_K, call.mask);
            jump = add(BPF_JMP | BPF_JEQ | BPF_K, call.value);
            m_allowed.push_back({jump, true});
        }
        m_refused.push_back({jump, false});
    }

    void answer(std::span<const Way> ways, std::uint32_t action) {
        for (const Way& way : ways) {
            leadHere(way);
        }
        add(BPF_RET | BPF_K, action);
    }

    // All lists here together make fewer steps than the 255 that a jump passes over at most.
    void leadHere(Way way) {
        const std::size_t passed = m_steps.size() - way.jump - 1;
        assert(passed <= std::numeric_limits<std::uint8_t>::max());
        (way.holds ? m_steps[way.jump].jt : m_steps[way.jump].jf) =
            static_cast<std::uint8_t>(passed);
    }

    void load(std::uint32_t offset) { add(BPF_LD | BPF_W | BPF_ABS, offset); }

    std::size_t add(std::uint16_t code, std::uint32_t value, std::uint8_t onTrue = 0,
                    std::uint8_t onFalse = 0) {
        m_steps.push_back({code, onTrue, onFalse, value});
        return m_steps.size() - 1;
    }

    std::vector<sock_filter> m_steps;
    std::vector<Way> m_allowed; // the ways that lead to each answer
    std::vector<Way> m_refused;
};

} // namespace

bool filtersCalls() noexcept {
    const std::uint32_t action = SECCOMP_RET_ERRNO;
    return ::syscall(SYS_seccomp, SECCOMP_GET_ACTION_AVAIL, 0, &action) == 0;
}

bool enterCallFilter(bool writes) {
    std::vector<ConditionalCall> calls(std::begin(kConditionalCalls), std::end(kConditionalCalls));
    const auto add = [&calls](std::span<const std::uint32_t> numbers) {
        for (const std::uint32_t number : numbers) {
            calls.push_back({number, 0, 0, 0});
        }
    };
    add(kAllowedCalls);
    if (writes) {
        add(kWritingCalls);
    } else {
        calls.insert(calls.end(), std::begin(kOpeningCalls), std::end(kOpeningCalls));
    }
    // So that the process can abort; a signal to another one would be a message.
    calls.push_back({SYS_tgkill, 0, kAllBits, static_cast<std::uint32_t>(::getpid())});
    FilterProgram program;
    const std::span<sock_filter> steps = program.allowOnly(std::move(calls));
    const sock_fprog filter{static_cast<unsigned short>(steps.size()), steps.data()};
    // Without this flag older kernels slow the process down, against others on the same machine
    // that measure it; there is nothing secret in it.
    return ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_SPEC_ALLOW,
                     &filter) == 0;
}

} // namespace vantrel::sandbox
#else
namespace vantrel::sandbox {

bool filtersCalls() noexcept { return false; }

bool enterCallFilter(bool /*writes*/) { return false; }

} // namespace vantrel::sandbox
#endif
