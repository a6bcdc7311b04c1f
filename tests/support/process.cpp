// SPDX-License-Identifier: MIT
#include "tests/support/process.h"

#include "tests/support/bytes.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vantrel::test {

namespace {

using Clock = std::chrono::steady_clock;

struct Pipe {
    std::array<int, 2> ends{-1, -1};

    Pipe() {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe");
        }
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        closeEnd(0);
        closeEnd(1);
    }
    void closeEnd(std::size_t end) {
        if (ends[end] >= 0) {
            close(ends[end]);
            ends[end] = -1;
        }
    }
};

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (const std::string& text : texts) {
        pointers.push_back(const_cast<char*>(text.c_str())); // execve never writes to them
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> environmentWith(const std::vector<std::string>& settings) {
    std::vector<std::string> all = settings;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view current(*entry);
        const std::string_view name = current.substr(0, current.find('=') + 1);
        bool replaced = false;
        for (const std::string& setting : settings) {
            replaced = replaced || setting.starts_with(name);
        }
        if (!replaced) {
            all.emplace_back(current);
        }
    }
    return all;
}

pid_t start(const std::vector<std::string>& arguments, const ProcessOptions& options, Pipe& input,
            Pipe& output, Pipe& errors) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input.ends[0], 0);
    posix_spawn_file_actions_adddup2(&actions, output.ends[1], 1);
    posix_spawn_file_actions_adddup2(&actions, errors.ends[1], 2);
    if (!options.folder.empty()) {
        posix_spawn_file_actions_addchdir_np(&actions, options.folder.c_str());
    }
    const std::vector<std::string> environment = environmentWith(options.environment);
    pid_t child = -1;
    const int failed = posix_spawnp(&child, arguments[0].c_str(), &actions, nullptr,
                                    pointersTo(arguments).data(), pointersTo(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    return failed == 0 ? child : -1;
}

// Reads what is there; closes the end when the program closed its own.
void drain(Pipe& from, std::string& into) {
    std::array<char, 65536> buffer;
    const ssize_t count = read(from.ends[0], buffer.data(), buffer.size());
    if (count > 0) {
        into.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
        from.closeEnd(0);
    }
}

void feed(Pipe& to, std::string_view& rest) {
    const ssize_t count = rest.empty() ? 0 : write(to.ends[1], rest.data(), rest.size());
    if (count > 0) {
        rest.remove_prefix(static_cast<std::size_t>(count));
    } else if (count < 0 && errno != EAGAIN && errno != EINTR) {
        rest = {};
    }
    if (rest.empty()) {
        to.closeEnd(1);
    }
}

// Feeds and drains the three pipes until the program has closed its own ends; false on timeout.
bool exchange(const ProcessOptions& options, Pipe& input, Pipe& output, Pipe& errors,
              ProcessResult& result) {
    const auto end = Clock::now() + std::chrono::seconds(options.timeoutSeconds);
    std::string_view rest = options.input;
    feed(input, rest);
    while (output.ends[0] >= 0 || errors.ends[0] >= 0) {
        if (Clock::now() > end) {
            return false;
        }
        std::array<pollfd, 3> waits{{{output.ends[0], POLLIN, 0},
                                     {errors.ends[0], POLLIN, 0},
                                     {input.ends[1], POLLOUT, 0}}};
        if (poll(waits.data(), waits.size(), 200) < 0 && errno != EINTR) {
            return false;
        }
        if (waits[0].revents != 0) {
            drain(output, result.output);
        }
        if (waits[1].revents != 0) {
            drain(errors, result.errors);
        }
        if (waits[2].revents != 0) {
            feed(input, rest);
        }
    }
    return true;
}

} // namespace

ProcessResult runProgram(const std::vector<std::string>& arguments, const ProcessOptions& options) {
    ProcessResult result;
    std::signal(SIGPIPE, SIG_IGN);
    Pipe input;
    Pipe output;
    Pipe errors;
    fcntl(input.ends[1], F_SETFL, O_NONBLOCK);
    const pid_t child = start(arguments, options, input, output, errors);
    if (child < 0) {
        result.exitCode = 127;
        result.errors = "cannot start " + arguments[0];
        return result;
    }
    input.closeEnd(0);
    output.closeEnd(1);
    errors.closeEnd(1);
    if (!exchange(options, input, output, errors, result)) {
        ADD_FAILURE() << arguments[0] << " ran longer than " << options.timeoutSeconds << " s";
        kill(child, SIGKILL);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {}
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

std::string findProgram(const std::string& name) {
    const char* const variable = std::getenv("PATH");
    std::string_view rest = variable != nullptr ? variable : "/usr/bin:/bin";
    while (!rest.empty()) {
        const std::size_t colon = rest.find(':');
        const std::string path = std::string(rest.substr(0, colon)) + "/" + name;
        if (access(path.c_str(), X_OK) == 0) {
            return path;
        }
        rest = colon == std::string_view::npos ? std::string_view() : rest.substr(colon + 1);
    }
    return "";
}

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vantrel-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "mkdtemp");
    }
    m_path = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string TempDir::write(const std::string& name, std::string_view content) const {
    const std::string path = file(name);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    writeFile(path, content);
    return path;
}

} // namespace vantrel::test
