#pragma once

#include <string>
#include <string_view>

namespace cvtwalk {

/// The program's standard output, kept for the program alone: whatever a module, or a command that it runs, prints on
/// file descriptor 1 goes to standard error instead. Make it before any module is loaded.
///
/// While it exists a reader that goes away ends the output and not the program. One at a time; used by one thread.
class PrivateOutput {
public:
    PrivateOutput();
    PrivateOutput(const PrivateOutput&) = delete;
    PrivateOutput& operator=(const PrivateOutput&) = delete;
    ~PrivateOutput();

    /// Writes through when it is a terminal, else when there is enough. Nothing is written any more after a failure.
    void Write(std::string_view text);
    /// False when something could not be written, now or before; errno's number is in Error.
    bool Flush();

    /// The descriptor that is written to, owned by the output; negative when there is none.
    int Descriptor() const { return m_fd; }
    bool IsTerminal() const { return m_terminal; }
    /// 0 while all is well.
    int Error() const { return m_error; }
    /// What Error means to people; empty when the reader has just gone away.
    std::string ErrorText() const;
    /// The same as a line that says what failed.
    std::string WriteError() const { return ErrorText().empty() ? std::string() : "cannot write: " + ErrorText(); }

private:
    int m_fd;
    bool m_terminal = false;
    int m_error = 0;
    std::string m_pending;
};

}  // namespace cvtwalk
