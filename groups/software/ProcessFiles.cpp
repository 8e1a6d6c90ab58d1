#include "groups/software/ProcessFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstring>

std::string_view FirstLine(std::string_view text) {
    const std::size_t end = text.find('\n');
    return end == std::string_view::npos ? text : text.substr(0, end + 1);
}

/// Returns a path such as "1234/stat".
const char* ProcessFiles::PathOf(const char* file) {
    char* at = std::to_chars(m_path.data(), m_path.data() + m_path.size(), m_pid).ptr;
    *at++ = '/';
    const std::size_t length = std::strlen(file);
    std::copy_n(file, length + 1, at);
    return m_path.data();
}

bool ProcessFiles::Text(const char* file, std::string_view& text) {
    const int descriptor = ::openat(m_proc, PathOf(file), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    // One read is enough: the kernel returns these files whole, up to the size asked for.
    const ssize_t count = ::read(descriptor, m_buffer.data(), kBuffer - 1);
    ::close(descriptor);
    text = std::string_view(m_buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    return true;
}

bool ProcessFiles::FirstLine(const char* file, std::string_view& line) {
    if (!Text(file, line)) {
        return false;
    }
    line = ::FirstLine(line);
    return true;
}

std::string_view ProcessFiles::Link(const char* link) {
    const ssize_t count = ::readlinkat(m_proc, PathOf(link), m_buffer.data(), kBuffer);
    return {m_buffer.data(), count > 0 ? std::min(static_cast<std::size_t>(count), kBuffer - 1) : 0};
}
