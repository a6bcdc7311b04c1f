// SPDX-License-Identifier: MIT
#include "bench/process_runner.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vantrel::bench {

namespace {

void mustHold(bool holds, const char* what) {
    if (!holds) {
        std::perror(what);
        std::abort();
    }
}

bool readAll(int from, void* to, std::size_t size) {
    auto* at = static_cast<char*>(to);
    while (size > 0) {
        const ssize_t got = read(from, at, size);
        if (got <= 0) {
            return false;
        }
        at += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

bool writeAll(int to, const void* from, std::size_t size) {
    const auto* at = static_cast<const char*>(from);
    while (size > 0) {
        const ssize_t put = write(to, at, size);
        if (put <= 0) {
            return false;
        }
        at += put;
        size -= static_cast<std::size_t>(put);
    }
    return true;
}

double secondsOf(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// As a shell's `command >/dev/null 2>&1`. By posix_spawn: fork would copy the tables of this
// process's memory, which is no part of what is measured.
pid_t start(std::vector<char*>& words) {
    posix_spawn_file_actions_t actions;
    mustHold(posix_spawn_file_actions_init(&actions) == 0, "posix_spawn");
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    pid_t child = -1;
    if (posix_spawnp(&child, words[0], &actions, nullptr, words.data(), environ) != 0) {
        child = -1;
    }
    posix_spawn_file_actions_destroy(&actions);
    return child;
}

ProcessFigures startAndWait(std::vector<char*>& words) {
    ProcessFigures figures;
    const auto begin = std::chrono::steady_clock::now();
    const pid_t child = start(words);
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) != child) {
        return figures;
    }
    figures.wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    figures.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    figures.processor = secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
    figures.peakMegabytes = static_cast<double>(usage.ru_maxrss) / 1024;
    return figures;
}

// Requests are a size and that many octets, each word ended by a NUL.
[[noreturn]] void serve(int requests, int answers) {
    std::uint32_t size = 0;
    while (readAll(requests, &size, sizeof size)) {
        std::string text(size, '\0');
        if (!readAll(requests, text.data(), size)) {
            break;
        }
        std::vector<char*> words;
        for (std::size_t at = 0; at < text.size(); at = text.find('\0', at) + 1) {
            words.push_back(text.data() + at);
        }
        words.push_back(nullptr);
        const ProcessFigures figures = startAndWait(words);
        if (!writeAll(answers, &figures, sizeof figures)) {
            break;
        }
    }
    _exit(0);
}

} // namespace

ProcessRunner::ProcessRunner() {
    std::array<int, 2> requests{};
    std::array<int, 2> answers{};
    mustHold(pipe2(requests.data(), O_CLOEXEC) == 0 && pipe2(answers.data(), O_CLOEXEC) == 0,
             "pipe");
    m_starter = fork();
    mustHold(m_starter >= 0, "fork");
    if (m_starter == 0) {
        close(requests[1]);
        close(answers[0]);
        serve(requests[0], answers[1]);
    }
    close(requests[0]);
    close(answers[1]);
    m_requests = requests[1];
    m_answers = answers[0];
}

ProcessRunner::~ProcessRunner() {
    close(m_requests);
    close(m_answers);
    waitpid(m_starter, nullptr, 0);
}

ProcessFigures ProcessRunner::run(const std::vector<std::string>& command) {
    std::string text;
    for (const std::string& word : command) {
        text += word + '\0';
    }
    const auto size = static_cast<std::uint32_t>(text.size());
    ProcessFigures figures;
    mustHold(writeAll(m_requests, &size, sizeof size) &&
                 writeAll(m_requests, text.data(), text.size()) &&
                 readAll(m_answers, &figures, sizeof figures),
             "run a process");
    return figures;
}

} // namespace vantrel::bench
