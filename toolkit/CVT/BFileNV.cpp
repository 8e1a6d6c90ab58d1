#include "CVT/BFileNV.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string_view>

namespace CVT {
namespace {

constexpr std::string_view kFirstLine = "# CVT non-volatile store, format 1\n";

std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '\t': escaped += "\\t"; break;
            case '\n': escaped += "\\n"; break;
            case '\\': escaped += "\\\\"; break;
            default: escaped += c;
        }
    }
    return escaped;
}

std::string Unescaped(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            plain += text[i];
            continue;
        }
        ++i;
        plain += text[i] == 't' ? '\t' : text[i] == 'n' ? '\n' : text[i];
    }
    return plain;
}

/// Writes all of `text` to `descriptor`. Returns false when the system refuses part of it.
bool WriteAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

/// Reads the whole file. Returns false when it cannot be read.
bool ReadAll(const std::string& file, std::string& text) {
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return false;
    }
    char buffer[4096];
    ssize_t count = 0;
    while ((count = ::read(descriptor, buffer, sizeof buffer)) > 0 || (count < 0 && errno == EINTR)) {
        if (count > 0) {
            text.append(buffer, static_cast<std::size_t>(count));
        }
    }
    ::close(descriptor);
    return count == 0;
}

}  // namespace

BFileNV::BFileNV(const char* file, bool create) : m_file(file == nullptr ? "" : file) {
    const TMutex::Guard guard(m_lock);
    struct stat status {};
    if (!Load() && create && ::lstat(m_file.c_str(), &status) != 0 && errno == ENOENT) {
        Store();
    }
}

BFileNV::~BFileNV() = default;

bool BFileNV::Load() {
    std::string text;
    if (!ReadAll(m_file, text)) {
        return false;
    }
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        const std::size_t key = line.find('\t');
        const std::size_t value = key == std::string_view::npos ? key : line.find('\t', key + 1);
        const bool hasMore = value != std::string_view::npos && line.find('\t', value + 1) != std::string_view::npos;
        if (value == std::string_view::npos || hasMore || line.front() == '#') {
            continue;
        }
        m_values[Name(Unescaped(line.substr(0, key)), Unescaped(line.substr(key + 1, value - key - 1)))] =
            Unescaped(line.substr(value + 1));
    }
    return true;
}

bool BFileNV::Store() {
    std::string text(kFirstLine);
    for (const auto& [name, value] : m_values) {
        if (name.first.starts_with('#')) {
            text += '\\';  // otherwise the line would be read as a comment
        }
        text += Escaped(name.first) + '\t' + Escaped(name.second) + '\t' + Escaped(value) + '\n';
    }
    const std::string fresh = m_file + ".new";
    ::unlink(fresh.c_str());  // left by a crash; O_EXCL then ensures that the file is ours
    const int descriptor = ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (descriptor < 0) {
        return false;
    }
    const bool written = WriteAll(descriptor, text) && ::fsync(descriptor) == 0;
    const bool closed = ::close(descriptor) == 0;
    if (!written || !closed || std::rename(fresh.c_str(), m_file.c_str()) != 0) {
        ::unlink(fresh.c_str());
        return false;
    }
    return true;
}

bool BFileNV::Read(const BString& section, const BString& key, BString& value) {
    const TMutex::Guard guard(m_lock);
    const auto at = m_values.find(Name(section.View(), key.View()));
    if (at == m_values.end()) {
        return false;
    }
    value.Assign(at->second.data(), static_cast<unsigned int>(at->second.size()));
    return true;
}

void BFileNV::Write(const BString& section, const BString& key, const BString& value) {
    const TMutex::Guard guard(m_lock);
    m_values[Name(section.View(), key.View())] = value.View();
}

bool BFileNV::Remove(const BString& section, const BString& key) {
    const TMutex::Guard guard(m_lock);
    return m_values.erase(Name(section.View(), key.View())) != 0;
}

bool BFileNV::Save() {
    const TMutex::Guard guard(m_lock);
    return Store();
}

}  // namespace CVT
