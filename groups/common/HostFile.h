#pragma once

#include <pthread.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>

/// Closes a stream. For the unique_ptr below. A thread that is being terminated does not end here: closing happens in a
/// destructor, which must not be unwound.
struct DCloseFile {
    void operator()(std::FILE* file) const {
        int before = 0;
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
        std::fclose(file);
        ::pthread_setcancelstate(before, nullptr);
    }
};

/// A stream of the host's, closed with its owner; null when it could not be opened.
using DHostFile = std::unique_ptr<std::FILE, DCloseFile>;

/// Opens a file of the host for reading.
inline DHostFile OpenHostFile(const char* path) { return DHostFile(std::fopen(path, "re")); }

/// Reads up to a line feed, which is kept, or up to one octet less than the buffer holds; what did not fit is the next
/// line. Behind the last octet read stands a NUL. False, and the buffer unchanged, at the end of the file.
template <std::size_t Size>
bool ReadLine(std::FILE* file, std::array<char, Size>& line) {
    return std::fgets(line.data(), static_cast<int>(Size), file) != nullptr;
}
