#include "agent/cvtagentd/access/PassPhrase.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>

#include "agent/cvtagentd/process/StartError.h"

namespace cvtagentd {
namespace {

void Show(const std::string& text) {
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
}

void OnSignal(int /*signal*/) {}

/// Another attempt may be better.
class Unsuitable : public StartError {
public:
    using StartError::StartError;
};

}  // namespace

/// While one exists the terminal does not echo what is typed. A signal that would end the program ends only the wait
/// for input, so that the terminal is never left without echo.
class PassPhrase::MuteTerminal {
public:
    MuteTerminal() {
        sigset_t signals;
        ::sigemptyset(&signals);
        struct sigaction action {};
        action.sa_handler = &OnSignal;
        for (std::size_t at = 0; at < kSignals.size(); ++at) {
            ::sigaddset(&signals, kSignals[at]);
            ::sigaction(kSignals[at], &action, &m_actions[at]);
        }
        ::pthread_sigmask(SIG_BLOCK, &signals, &m_mask);
        ::tcgetattr(STDIN_FILENO, &m_settings);
        termios mute = m_settings;
        mute.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &mute);
    }
    ~MuteTerminal() {
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_settings);
        ::pthread_sigmask(SIG_SETMASK, &m_mask, nullptr);
        for (std::size_t at = 0; at < kSignals.size(); ++at) {
            ::sigaction(kSignals[at], &m_actions[at], nullptr);
        }
        Show("\n");
    }
    MuteTerminal(const MuteTerminal&) = delete;
    MuteTerminal& operator=(const MuteTerminal&) = delete;

    /// Returns false when a signal came. Signals are delivered only here, so none is lost between two reads.
    bool WaitForInput() const {
        pollfd input{STDIN_FILENO, POLLIN, 0};
        return ::ppoll(&input, 1, nullptr, &m_mask) > 0;
    }

private:
    static constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP};

    std::array<struct sigaction, kSignals.size()> m_actions{};
    sigset_t m_mask{};
    termios m_settings{};
};

PassPhrase PassPhrase::Read(const std::string& purpose) {
    PassPhrase phrase;
    if (::isatty(STDIN_FILENO) == 0) {
        phrase.ReadLine(purpose, nullptr);
        phrase.Check(purpose);
        return phrase;
    }
    const MuteTerminal mute;
    for (int attempt = 1; attempt < kAttempts; ++attempt) {
        try {
            return AskTwice(purpose, mute);
        } catch (const Unsuitable& error) {
            Show("\n" + std::string(error.what()) + "; try again\n");
        }
    }
    return AskTwice(purpose, mute);
}

PassPhrase PassPhrase::AskTwice(const std::string& purpose, const MuteTerminal& terminal) {
    PassPhrase phrase;
    Show(purpose + " pass phrase: ");
    phrase.ReadLine(purpose, &terminal);
    phrase.Check(purpose);
    PassPhrase again;
    Show("\nrepeat it: ");
    again.ReadLine(purpose, &terminal);
    if (again.m_text != phrase.m_text) {
        throw Unsuitable("the two " + purpose + " pass phrases differ; nothing is changed");
    }
    return phrase;
}

PassPhrase::~PassPhrase() { ::explicit_bzero(m_text.data(), m_text.size()); }

const unsigned char* PassPhrase::Data() const { return reinterpret_cast<const unsigned char*>(m_text.data()); }

/// A line that is too long is cut one octet after the limit.
void PassPhrase::ReadLine(const std::string& purpose, const MuteTerminal* terminal) {
    for (;;) {
        char octet = 0;
        const bool ready = terminal == nullptr || terminal->WaitForInput();
        if (!ready || ::read(STDIN_FILENO, &octet, 1) <= 0) {
            throw StartError("the input ended before the " + purpose +
                             " pass phrase was complete; nothing is changed (it reads two lines: the authentication "
                             "and the privacy pass phrase)");
        }
        if (octet == '\n') {
            return;
        }
        if (m_text.size() <= kLongest) {
            m_text.push_back(octet);
        }
    }
}

void PassPhrase::Check(const std::string& purpose) const {
    const std::string which = "the " + purpose + " pass phrase ";
    if (m_text.size() < kShortest) {
        throw Unsuitable(which + "is too short; nothing is changed (it needs at least 8 characters)");
    }
    if (m_text.size() > kLongest) {
        throw Unsuitable(which + "is too long; nothing is changed (it may have up to 256 characters)");
    }
    if (std::any_of(m_text.begin(), m_text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; })) {
        throw Unsuitable(which + "has a control character in it; nothing is changed (leave out tabs and the like)");
    }
}

}  // namespace cvtagentd
