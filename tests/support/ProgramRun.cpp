#include "tests/support/ProgramRun.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>

namespace {

struct Pipe {
    Pipe() {
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("cannot create a pipe");
        }
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        ::close(ends[0]);
        ::close(ends[1]);
    }
    std::array<int, 2> ends{-1, -1};
};

[[noreturn]] void Become(const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment, const std::string& directory, int out,
                         int err) {
    std::vector<char*> words;
    words.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    for (const auto& [name, value] : environment) {
        ::setenv(name.c_str(), value.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): one thread after fork
    }
    if ((directory.empty() || ::chdir(directory.c_str()) == 0) && ::dup2(out, STDOUT_FILENO) >= 0 &&
        ::dup2(err, STDERR_FILENO) >= 0) {
        ::execv(words[0], words.data());
    }
    ::_exit(127);
}

/// Reads both pipes until both have ended.
void ReadBoth(int out, std::string& outText, int err, std::string& errText) {
    std::array<pollfd, 2> files{{{out, POLLIN, 0}, {err, POLLIN, 0}}};
    const std::array<std::string*, 2> texts{&outText, &errText};
    for (int open = 2; open > 0;) {
        if (::poll(files.data(), files.size(), -1) < 0 && errno != EINTR) {
            return;
        }
        for (std::size_t i = 0; i < files.size(); ++i) {
            if (files[i].fd < 0 || files[i].revents == 0) {
                continue;
            }
            std::array<char, 4096> buffer{};
            const ssize_t length = ::read(files[i].fd, buffer.data(), buffer.size());
            if (length > 0) {
                texts[i]->append(buffer.data(), static_cast<std::size_t>(length));
            } else if (length == 0 || errno != EINTR) {
                files[i].fd = -1;
                --open;
            }
        }
    }
}

}  // namespace

ProgramRun ProgramRun::Of(const std::vector<std::string>& arguments,
                          const std::map<std::string, std::string>& environment, const std::string& directory) {
    ProgramRun run;
    Pipe out;
    Pipe err;
    const pid_t child = ::fork();
    if (child < 0) {
        throw std::runtime_error("cannot create a process");
    }
    if (child == 0) {
        Become(arguments, environment, directory, out.ends[1], err.ends[1]);
    }
    for (Pipe* const pipe : {&out, &err}) {
        ::close(pipe->ends[1]);
        pipe->ends[1] = -1;
    }
    ReadBoth(out.ends[0], run.out, err.ends[0], run.err);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return run;
}
