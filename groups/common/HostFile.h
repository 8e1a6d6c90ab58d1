#pragma once

#include <dirent.h>
#include <pthread.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string_view>

/// Closes a stream or a directory, for the unique_ptrs below. Cancellation of the thread is held off meanwhile: closing
/// happens in a destructor, which must not be unwound.
struct DCloseFile {
    void operator()(std::FILE* file) const {
        Undisturbed([file] { std::fclose(file); });
    }
    void operator()(DIR* directory) const {
        Undisturbed([directory] { ::closedir(directory); });
    }

private:
    template <class Close>
    static void Undisturbed(Close close) {
        int before = 0;
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
        close();
        ::pthread_setcancelstate(before, nullptr);
    }
};

/// A stream of the host, closed with its owner; null when it could not be opened.
using DHostFile = std::unique_ptr<std::FILE, DCloseFile>;

/// Opens a file of the host for reading.
inline DHostFile OpenHostFile(const char* path) { return DHostFile(std::fopen(path, "re")); }

/// A directory of the host, closed with its owner; null when it could not be opened.
using DHostDirectory = std::unique_ptr<DIR, DCloseFile>;

inline DHostDirectory OpenHostDirectory(const char* path) { return DHostDirectory(::opendir(path)); }

/// Reads up to a line feed, which is kept, or up to one octet less than the buffer holds; the rest becomes the next
/// line. A NUL follows the last octet read. Returns false and leaves the buffer unchanged at the end of the file.
template <std::size_t Size>
bool ReadLine(std::FILE* file, std::array<char, Size>& line) {
    return std::fgets(line.data(), static_cast<int>(Size), file) != nullptr;
}

/// Whether a line from ReadLine begins with the prefix.
template <std::size_t Size>
bool BeginsWith(const std::array<char, Size>& line, std::string_view prefix) {
    return std::string_view(line.data()).starts_with(prefix);
}
