#pragma once

#include <string>
#include <string_view>

namespace cvtwalk {

/// Keeps what is written to standard output and standard error, by modules and the commands that they run, while a
/// screen has the terminal, and says it on standard error in the end: without control characters, and of very much only
/// the end. One at a time.
class HeldMessages {
public:
    HeldMessages();
    HeldMessages(const HeldMessages&) = delete;
    HeldMessages& operator=(const HeldMessages&) = delete;
    ~HeldMessages();

    /// Ends of lines stay, and everything else that a terminal might not show as text becomes a question mark.
    static std::string Harmless(std::string_view text);

private:
    std::string Held() const;

    int m_memory = -1;
    int m_error = -1;   // standard error as it was
    int m_output = -1;  // standard output as it was
};

}  // namespace cvtwalk
