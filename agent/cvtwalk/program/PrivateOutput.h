#pragma once

#include <string>
#include <string_view>

namespace cvtwalk {

/// The program's standard output, reserved for the program: what a module, or a command that it runs, prints on file
/// descriptor 1 goes to standard error instead. Create it before any module is loaded.
///
/// While it exists, a reader that goes away ends the output but not the program. Only one may exist at a time, used by
/// one thread.
class PrivateOutput {
public:
    PrivateOutput();
    PrivateOutput(const PrivateOutput&) = delete;
    PrivateOutput& operator=(const PrivateOutput&) = delete;
    ~PrivateOutput();

    /// Writes immediately to a terminal, otherwise when the buffer is full enough. Writes nothing more after a failure.
    void Write(std::string_view text);
    /// Returns false when something could not be written, now or earlier; Error then returns the errno.
    bool Flush();

    /// The descriptor that is written to, owned by this object; negative when there is none.
    int Descriptor() const { return m_fd; }
    bool IsTerminal() const { return m_terminal; }
    /// 0 if nothing has failed.
    int Error() const { return m_error; }
    /// Error as text; empty when the reader merely went away.
    std::string ErrorText() const;
    /// The same, as a line that says what failed.
    std::string WriteError() const { return ErrorText().empty() ? std::string() : "cannot write: " + ErrorText(); }

private:
    int m_fd;
    bool m_terminal = false;
    int m_error = 0;
    std::string m_pending;
};

}  // namespace cvtwalk
