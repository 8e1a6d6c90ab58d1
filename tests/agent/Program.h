#pragma once

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/ScratchFolder.h"

namespace agent_test {

/// Waits until this child has ended; false when it has not after 30 seconds. The child can still be waited for.
inline bool WaitForEnd(pid_t child) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    for (;;) {
        siginfo_t info{};
        if (::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
            info.si_pid == child) {
            return true;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        ::poll(nullptr, 0, 1);
    }
}

/// Waits for this child and returns the signal that ended it. One that has not ended after 30 seconds is killed, and
/// the test fails.
inline int SignalThatEnds(pid_t child) {
    if (!WaitForEnd(child)) {
        ADD_FAILURE() << "process " << child << " has not ended";
        ::kill(child, SIGKILL);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

/// A program in its own process, whose standard output and standard error go to one file. The destructor kills it if it
/// still runs.
class Program {
public:
    /// The first argument is the program, which is found through PATH. `settings` ("NAME=value") override the
    /// environment of this process. Standard input is `inputFile`.
    Program(std::vector<std::string> arguments, const std::string& outputFile, std::vector<std::string> settings = {},
            const std::string& inputFile = "/dev/null")
        : m_output(outputFile) {
        std::vector<char*> argv = Pointers(arguments);
        AddEnvironment(settings);
        std::vector<char*> environment = Pointers(settings);
        posix_spawn_file_actions_t files;
        ::posix_spawn_file_actions_init(&files);
        ::posix_spawn_file_actions_addopen(&files, STDIN_FILENO, inputFile.c_str(), O_RDONLY, 0);
        ::posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                           0600);
        ::posix_spawn_file_actions_adddup2(&files, STDOUT_FILENO, STDERR_FILENO);
        const int failed = ::posix_spawnp(&m_pid, argv[0], &files, nullptr, argv.data(), environment.data());
        ::posix_spawn_file_actions_destroy(&files);
        if (failed != 0) {
            throw std::runtime_error("cannot start " + arguments.front());
        }
    }
    ~Program() {
        if (!m_ended) {
            Signal(SIGKILL);
            Wait();
        }
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void Signal(int signal) const { ::kill(m_pid, signal); }
    pid_t Pid() const { return m_pid; }

    /// The exit status, or 128 plus the signal that ended it. A program that has not ended after 30 seconds is killed,
    /// and the test fails.
    int Wait() {
        if (!m_ended) {
            int status = 0;
            if (!WaitForEnd(m_pid)) {
                ADD_FAILURE() << "killed, since it did not end:\n" << Output();
                Signal(SIGKILL);
            }
            while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
            }
            m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            m_ended = true;
        }
        return m_status;
    }

    bool HasBeenWaitedFor() const { return m_ended; }
    bool HasEnded() {
        siginfo_t info{};
        return m_ended || (::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
                           info.si_pid == m_pid);
    }

    /// What it has written so far.
    std::string Output() const {
        std::ifstream in(m_output, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

    /// Waits until the output holds `text`; false when the program has ended without it, or after 20 seconds.
    bool WaitForOutput(const std::string& text) {
        for (int tries = 0; tries < 4000; ++tries) {
            const bool ended = HasEnded();
            if (Output().find(text) != std::string::npos) {
                return true;
            }
            if (ended) {
                return false;
            }
            ::poll(nullptr, 0, 5);
        }
        return false;
    }

private:
    /// No name occurs twice: programs do not agree on which entry counts.
    static void AddEnvironment(std::vector<std::string>& settings) {
        std::set<std::string> names;
        for (const std::string& setting : settings) {
            names.insert(setting.substr(0, setting.find('=')));
        }
        for (char** variable = environ; *variable != nullptr; ++variable) {
            const std::string setting = *variable;
            if (names.insert(setting.substr(0, setting.find('='))).second) {
                settings.push_back(setting);
            }
        }
    }

    static std::vector<char*> Pointers(std::vector<std::string>& texts) {
        std::vector<char*> pointers;
        pointers.reserve(texts.size() + 1);
        for (std::string& text : texts) {
            pointers.push_back(text.data());
        }
        pointers.push_back(nullptr);
        return pointers;
    }

    const std::string m_output;
    pid_t m_pid = 0;
    bool m_ended = false;
    int m_status = -1;
};

/// The output and the exit status of a program that has ended.
struct Outcome {
    int status = -1;
    std::string output;
};

/// Runs a program to its end.
inline Outcome RunToEnd(const std::vector<std::string>& arguments, const ScratchFolder& scratch,
                        const std::vector<std::string>& settings = {}, const std::string& inputFile = "/dev/null") {
    static int number = 0;
    Program program(arguments, scratch / ("output-" + std::to_string(++number)), settings, inputFile);
    const int status = program.Wait();
    return {status, program.Output()};
}

}  // namespace agent_test
