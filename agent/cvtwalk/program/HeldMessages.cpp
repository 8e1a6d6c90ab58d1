#include "agent/cvtwalk/program/HeldMessages.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "agent/cvtwalk/text/Utf8.h"

namespace cvtwalk {
namespace {

constexpr off_t kMostOctets = 16'384;

}  // namespace

HeldMessages::HeldMessages() : m_memory(::memfd_create("cvtwalk", MFD_CLOEXEC)) {
    if (m_memory < 0) {
        return;
    }
    std::fflush(nullptr);
    ::fcntl(m_memory, F_SETFL, O_APPEND);
    m_output = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    m_error = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ::dup2(m_memory, STDOUT_FILENO);
    ::dup2(m_memory, STDERR_FILENO);
}

HeldMessages::~HeldMessages() {
    if (m_memory < 0) {
        return;
    }
    std::fflush(nullptr);
    const auto restore = [](int saved, int descriptor) {
        if (saved >= 0) {
            ::dup2(saved, descriptor);
            ::close(saved);
        } else {
            ::close(descriptor);
        }
    };
    restore(m_output, STDOUT_FILENO);
    restore(m_error, STDERR_FILENO);
    std::fputs(Harmless(Held()).c_str(), stderr);
    ::close(m_memory);
}

std::string HeldMessages::Held() const {
    const off_t end = ::lseek(m_memory, 0, SEEK_END);
    std::string text;
    std::array<char, 4096> some{};
    for (off_t at = end - std::min(end, kMostOctets); at < end;) {
        const ssize_t length = ::pread(m_memory, some.data(), some.size(), at);
        if (length <= 0) {
            break;
        }
        text.append(some.data(), static_cast<std::size_t>(length));
        at += length;
    }
    return text;
}

std::string HeldMessages::Harmless(std::string_view text) {
    std::string harmless;
    for (Utf8 characters(text); !characters.AtEnd();) {
        const char32_t character = characters.Next();
        if (character == '\n' || Utf8::IsPrintable(character)) {
            harmless += characters.Last();
        } else {
            harmless += '?';
        }
    }
    return harmless;
}

}  // namespace cvtwalk
