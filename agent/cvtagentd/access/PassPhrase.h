#pragma once

#include <string>

namespace cvtagentd {

/// A secret that a user types. The destructor wipes its memory.
class PassPhrase {
public:
    /// Asks for it twice, without echo, when standard input is a terminal, and again when the two inputs differ or it
    /// is not suitable; otherwise reads a line of standard input. `purpose` says what it is for, as in
    /// "authentication". Throws StartError when the last of three attempts failed so, or when the input ends. It is not
    /// suitable with fewer than 8 or more than 256 octets or with a control character.
    static PassPhrase Read(const std::string& purpose);

    PassPhrase(PassPhrase&&) = default;
    PassPhrase(const PassPhrase&) = delete;
    PassPhrase& operator=(const PassPhrase&) = delete;
    ~PassPhrase();

    const unsigned char* Data() const;
    std::size_t Size() const { return m_text.size(); }

private:
    class MuteTerminal;

    static PassPhrase AskTwice(const std::string& purpose, const MuteTerminal& terminal);

    PassPhrase() { m_text.reserve(kCapacity); }  // so that it never grows and leaves a copy behind
    /// `terminal` is null when there is none.
    void ReadLine(const std::string& purpose, const MuteTerminal* terminal);
    void Check(const std::string& purpose) const;

    static constexpr int kAttempts = 3;
    static constexpr std::size_t kShortest = 8;
    static constexpr std::size_t kLongest = 256;
    static constexpr std::size_t kCapacity = kLongest + 1;

    std::string m_text;
};

}  // namespace cvtagentd
