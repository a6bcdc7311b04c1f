// SPDX-License-Identifier: MIT
#include "foundation/io/transport_program.h"

#include "foundation/io/deadline.h"
#include "foundation/io/file_handle.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

// The environment of the process, as POSIX has it.
extern char** environ;

namespace vantrel::io {

namespace {

// A pipe holds this much for certain before anybody reads (the room of a Linux pipe is 64 KiB), so
// that the request can be written before the program runs. A time-stamp query has some 100 octets.
constexpr std::size_t kMostRequest = 32768;
// Of an answer, as ClsHttp holds it by default; and of what the program complains.
constexpr std::size_t kMostAnswer = std::size_t{16} << 20U;
constexpr std::size_t kMostComplaint = 4096;

struct Pipe {
    FileHandle read;
    FileHandle write;
};

// Closed on exec: only the ends that the program gets as its own streams outlive it.
bool openPipe(Pipe& pipe) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return false;
    }
    pipe.read.reset(ends[0]);
    pipe.write.reset(ends[1]);
    return true;
}

// Kills the program if it still runs, and takes its exit code.
class Child final {
public:
    explicit Child(pid_t process) noexcept : m_process(process) {}
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        if (m_process > 0) {
            static_cast<void>(kill(m_process, SIGKILL));
            static_cast<void>(wait());
        }
    }

    // The exit code; -1 when there is none, as after a signal.
    int wait() noexcept {
        int status = 0;
        pid_t ended = 0;
        do {
            ended = waitpid(m_process, &status, 0);
        } while (ended < 0 && errno == EINTR);
        m_process = 0;
        // Nothing is known of a process that somebody else has waited for.
        return ended > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t m_process;
};

struct Streams {
    Pipe in;
    Pipe out;
    Pipe errors;
};

bool writeRequest(Pipe& pipe, ByteView body) {
    const bool written =
        write(pipe.write.get(), body.data(), body.size()) == static_cast<ssize_t>(body.size());
    pipe.write.reset(-1); // the end of the request, for the program
    return written;
}

// 0 when the program could not be started; `fault` then is the reason.
pid_t start(std::vector<std::string>& words, const Streams& streams, int& fault) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    fault = posix_spawn_file_actions_init(&actions);
    if (fault != 0) {
        return 0;
    }
    pid_t process = 0;
    const std::array<int, 3> ends = {streams.in.read.get(), streams.out.write.get(),
                                     streams.errors.write.get()};
    for (int stream = 0; stream < 3 && fault == 0; ++stream) {
        fault = posix_spawn_file_actions_adddup2(&actions, ends[static_cast<std::size_t>(stream)],
                                                 stream);
    }
    if (fault == 0) {
        fault = posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    }
    posix_spawn_file_actions_destroy(&actions);
    return fault == 0 ? process : 0;
}

// One piece of what the program writes; at the end the stream is closed.
void readPiece(FileHandle& from, std::string& into) {
    std::array<char, 16384> room;
    const ssize_t count = read(from.get(), room.data(), room.size());
    if (count > 0) {
        into.append(room.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
        from.reset(-1);
    }
}

// Until the program has closed both of its streams. False when it does not in time, or when its
// answer is too large.
bool readAnswer(Streams& streams, Deadline deadline, std::string& answer, std::string& complaint) {
    while (streams.out.read.get() >= 0 || streams.errors.read.get() >= 0) {
        // A descriptor below 0 is passed over by poll().
        std::array<pollfd, 2> waiting = {
            {{streams.out.read.get(), POLLIN, 0}, {streams.errors.read.get(), POLLIN, 0}}};
        if (deadline.passed()) {
            return false;
        }
        if (poll(waiting.data(), waiting.size(), deadline.remainingMs()) < 0) {
            continue; // a signal
        }
        if (waiting[0].revents != 0) {
            readPiece(streams.out.read, answer);
        }
        if (waiting[1].revents != 0) {
            readPiece(streams.errors.read, complaint);
            complaint.resize(std::min(complaint.size(), kMostComplaint));
        }
        if (answer.size() > kMostAnswer) {
            return false;
        }
    }
    return true;
}

// Those of curl. The URL stands behind its option, so that one that begins with a dash is no
// option; what it may reach is said to curl, too, since it knows more schemes than http.
std::vector<std::string> argumentsOf(const std::string& program, const HttpRequest& request) {
    std::vector<std::string> words = {
        program,        "--silent",
        "--show-error", "--fail",
        "--proto",      "=http,https",
        "--max-time",   std::to_string((request.timeoutMs + 999) / 1000),
        "--header",     "Content-Type: " + std::string(request.contentType),
    };
    if (!request.accept.empty()) {
        words.insert(words.end(), {"--header", "Accept: " + std::string(request.accept)});
    }
    words.insert(words.end(), {"--data-binary", "@-", "--url", std::string(request.url)});
    return words;
}

HttpResponse failure(const std::string& why) {
    HttpResponse response;
    response.error = why;
    return response;
}

HttpResponse carryOut(const std::string& program, const HttpRequest& request) {
    Streams streams;
    if (request.body.size() > kMostRequest || !openPipe(streams.in) || !openPipe(streams.out) ||
        !openPipe(streams.errors) || !writeRequest(streams.in, request.body)) {
        return failure("the request could not be handed to " + program);
    }
    std::vector<std::string> words = argumentsOf(program, request);
    int fault = 0;
    const pid_t process = start(words, streams, fault);
    if (process == 0) {
        return failure(program + " could not be started: " + std::strerror(fault));
    }
    Child child(process);
    // Else the ends that are held here would keep the streams open.
    streams.in.read.reset(-1);
    streams.out.write.reset(-1);
    streams.errors.write.reset(-1);
    std::string answer;
    std::string complaint;
    if (!readAnswer(streams, Deadline(request.timeoutMs), answer, complaint)) {
        return failure(program + " did not end in time, or its answer is too large");
    }
    if (const int code = child.wait(); code != 0) {
        const std::string_view line = std::string_view(complaint).substr(0, complaint.find('\n'));
        return failure(program + " failed with exit code " + std::to_string(code) +
                       (line.empty() ? "" : ": " + std::string(line)));
    }
    HttpResponse response;
    response.status = 200; // the program fails for every other
    response.contentType = request.accept;
    if (!response.body.append(asBytes(answer))) {
        return failure("out of memory");
    }
    return response;
}

} // namespace

HttpTransport transportBy(const std::string& program) {
    return [program](const HttpRequest& request) { return carryOut(program, request); };
}

} // namespace vantrel::io
