#pragma once

#include <string>

namespace cvtagentd {

/// A secret that people type. Its memory is wiped when it goes.
class PassPhrase {
public:
    /// Asks for it on the terminal, twice and without showing it, when standard input is one; or else takes a line of
    /// standard input. `purpose` says what for, as in "authentication". Throws StartError when it is not typed the same
    /// way twice, has fewer than 8 octets or over 256 or a control character, or when the input ends.
    static PassPhrase Read(const std::string& purpose);

    PassPhrase(PassPhrase&&) = default;
    PassPhrase(const PassPhrase&) = delete;
    PassPhrase& operator=(const PassPhrase&) = delete;
    ~PassPhrase();

    const unsigned char* Data() const;
    std::size_t Size() const { return m_text.size(); }

private:
    class MuteTerminal;

    PassPhrase() { m_text.reserve(kCapacity); }  // never moved by growing
    /// `terminal` is null when there is none.
    void ReadLine(const std::string& purpose, const MuteTerminal* terminal);
    void Check(const std::string& purpose) const;

    static constexpr std::size_t kShortest = 8;
    static constexpr std::size_t kLongest = 256;
    static constexpr std::size_t kCapacity = kLongest + 1;

    std::string m_text;
};

}  // namespace cvtagentd
