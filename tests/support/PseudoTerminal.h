#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>

/// A pseudo terminal that nobody watches, with lines of a given width.
class PseudoTerminal {
public:
    explicit PseudoTerminal(unsigned short columns) : m_master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        std::array<char, 64> name{};
        if (m_master < 0 || ::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0 ||
            ::ptsname_r(m_master, name.data(), name.size()) != 0) {
            return;
        }
        m_file = name.data();
        m_slave = ::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        const struct winsize window = {24, columns, 0, 0};
        EXPECT_EQ(::ioctl(m_slave, TIOCSWINSZ, &window), 0);
    }
    ~PseudoTerminal() {
        ::close(m_slave);
        ::close(m_master);
    }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    /// False where the host has no pseudo terminals.
    bool IsOpen() const { return m_slave >= 0; }
    /// The side that programs write to; valid as long as this object.
    int Descriptor() const { return m_slave; }
    const std::string& File() const { return m_file; }

    /// Returns what was written, as soon as it has that many lines, or after ten seconds without more.
    std::string Lines(std::ptrdiff_t count) const {
        std::string text;
        struct pollfd readable = {m_master, POLLIN, 0};
        while (std::count(text.begin(), text.end(), '\n') < count && ::poll(&readable, 1, 10'000) > 0) {
            std::array<char, 4096> some{};
            const ssize_t length = ::read(m_master, some.data(), some.size());
            if (length <= 0) {
                break;
            }
            text.append(some.data(), static_cast<std::size_t>(length));
        }
        std::erase(text, '\r');  // the terminal adds one before each end of line
        return text;
    }

private:
    int m_master;
    int m_slave = -1;
    std::string m_file;
};
