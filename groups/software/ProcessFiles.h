#pragma once

#include <array>
#include <cstddef>
#include <string_view>

/// The first line of a text: up to its line feed, which is kept, or the whole text when it has none.
std::string_view FirstLine(std::string_view text);

/// Reads the files of one process, relative to an open directory of processes: one open, one read and one close for
/// each file, into a buffer of its own. Used by one thread; the descriptor must stay open.
class ProcessFiles {
public:
    ProcessFiles(int procDescriptor, unsigned int pid) : m_proc(procDescriptor), m_pid(pid) {}

    /// Reads the beginning of a file ("stat"): at most 511 octets, NULs included. Returns false when the file does not
    /// open; the text is empty when it cannot be read. Valid until the next call.
    bool Text(const char* file, std::string_view& text);
    /// Reads the first line of the same text.
    bool FirstLine(const char* file, std::string_view& line);
    /// Returns the target of a link ("cwd"), at most 511 octets; empty when it cannot be read. Valid until the next
    /// call.
    std::string_view Link(const char* link);

private:
    static constexpr std::size_t kBuffer = 512;

    const char* PathOf(const char* file);

    const int m_proc;
    const unsigned int m_pid;
    std::array<char, 32> m_path{};
    std::array<char, kBuffer> m_buffer{};
};
