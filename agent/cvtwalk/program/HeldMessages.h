#pragma once

#include <string>
#include <string_view>

namespace cvtwalk {

/// Holds back what modules, and the commands that they run, write to standard output and standard error while a screen
/// owns the terminal. Prints it on standard error afterwards, without control characters; of a very long text only the
/// end. Only one may exist at a time.
class HeldMessages {
public:
    HeldMessages();
    HeldMessages(const HeldMessages&) = delete;
    HeldMessages& operator=(const HeldMessages&) = delete;
    ~HeldMessages();

    /// Keeps line ends. Everything else that a terminal might not show as text becomes a question mark.
    static std::string Harmless(std::string_view text);

private:
    std::string Held() const;

    int m_memory = -1;
    int m_error = -1;   // the original standard error
    int m_output = -1;  // the original standard output
};

}  // namespace cvtwalk
