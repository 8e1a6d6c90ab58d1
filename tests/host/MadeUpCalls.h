#pragma once

// The system calls whose answers no file can fake: the figures of a mounted file system, and the type of a device node.
// Directories are listed in order of names. Defines functions of the C library, so only one file of a test program
// includes this.

#include <dirent.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

/// The folder of a made-up host in the source tree.
inline std::string HostFolder(const std::string& name) { return CVHOST_SOURCE_DIR "/tests/host/made-up/" + name; }

/// The answers of a made-up host. Set before the module comes up, and then only read.
struct MadeUpCalls {
    struct Space {
        unsigned long magic = 0;
        unsigned long blockSize = 0;
        unsigned long blocks = 0;
        std::chrono::milliseconds delay{0};  ///< before it answers
    };

    /// Whether the current call of a function should fail; null when none should. Called on any thread.
    static inline bool (*fails)(std::string_view function) = nullptr;
    /// Sets the error of a call that fails.
    static bool Fails(std::string_view function, int error) {
        if (fails == nullptr || !fails(function)) {
            return false;
        }
        errno = error;
        return true;
    }

    bool active = false;
    std::map<std::string, Space> spaces;  ///< by mount directory; statfs of any other fails
    std::map<std::string, dev_t> nodes;   ///< device numbers, by path

    /// Reads lines "space DIRECTORY MAGIC BLOCKSIZE BLOCKS" and "node PATH MAJOR MINOR"; '#' begins a comment. Without
    /// such a file no file system has figures.
    void Read(const std::string& file) {
        *this = MadeUpCalls();
        active = true;
        std::ifstream lines(file);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            std::string what;
            std::string path;
            words >> what >> path;
            if (what == "space") {
                std::string magic;
                Space& space = spaces[path];
                words >> magic >> space.blockSize >> space.blocks;
                space.magic = std::stoul(magic, nullptr, 0);
            } else if (what == "node") {
                unsigned int majorNumber = 0;
                unsigned int minorNumber = 0;
                words >> majorNumber >> minorNumber;
                nodes[path] = makedev(majorNumber, minorNumber);
            }
        }
    }
    static MadeUpCalls& Instance() {
        static MadeUpCalls calls;
        return calls;
    }

    /// The directories whose space was queried since the last call.
    static std::set<std::string> TakeAsked() {
        const std::lock_guard guard(Lock());
        return std::exchange(Asked(), {});
    }
    static void NoteAsked(const char* path) {
        const std::lock_guard guard(Lock());
        Asked().insert(path);
    }

private:
    static std::mutex& Lock() {
        static std::mutex lock;
        return lock;
    }
    static std::set<std::string>& Asked() {
        static std::set<std::string> asked;
        return asked;
    }
};

/// The entries of /dev/cua that readdir has yet to return, last name first.
inline std::vector<dirent>& EntriesToCome() {
    static std::vector<dirent> entries;
    return entries;
}
inline DIR*& SortedDirectory() {
    static DIR* directory = nullptr;
    return directory;
}

template <class Function>
Function* RealFunction(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

extern "C" int stat(const char* path, struct stat* out) noexcept {
    static auto* const real = RealFunction<int(const char*, struct stat*)>("stat");
    if (MadeUpCalls::Fails("stat", EIO)) {
        return -1;
    }
    const MadeUpCalls& calls = MadeUpCalls::Instance();
    if (!calls.active) {
        return real(path, out);
    }
    if (const auto node = calls.nodes.find(path); node != calls.nodes.end()) {
        *out = {};
        out->st_mode = S_IFBLK | 0600;
        out->st_rdev = node->second;
        return 0;
    }
    if (const auto space = calls.spaces.find(path); space != calls.spaces.end()) {
        *out = {};
        out->st_mode = S_IFDIR | 0755;
        out->st_blksize = static_cast<blksize_t>(space->second.blockSize);
        return 0;
    }
    return real(path, out);
}

extern "C" int statfs(const char* path, struct statfs* out) noexcept {
    static auto* const real = RealFunction<int(const char*, struct statfs*)>("statfs");
    if (MadeUpCalls::Fails("statfs", EIO)) {
        return -1;
    }
    const MadeUpCalls& calls = MadeUpCalls::Instance();
    if (!calls.active) {
        return real(path, out);
    }
    MadeUpCalls::NoteAsked(path);
    const auto space = calls.spaces.find(path);
    if (space == calls.spaces.end()) {
        errno = ENOENT;
        return -1;
    }
    if (space->second.delay.count() != 0) {
        std::this_thread::sleep_for(space->second.delay);
    }
    *out = {};
    out->f_type = static_cast<decltype(out->f_type)>(space->second.magic);
    out->f_bsize = static_cast<decltype(out->f_bsize)>(space->second.blockSize);
    out->f_blocks = space->second.blocks;
    return 0;
}

extern "C" DIR* opendir(const char* name) {
    static auto* const real = RealFunction<DIR*(const char*)>("opendir");
    static auto* const realRead = RealFunction<dirent*(DIR*)>("readdir");
    if (MadeUpCalls::Fails("opendir", EMFILE)) {
        return nullptr;
    }
    DIR* const directory = real(name);
    if (directory != nullptr && std::string_view(name) == "/dev/cua") {
        std::vector<dirent>& entries = EntriesToCome();
        entries.clear();
        while (const dirent* const entry = realRead(directory)) {
            entries.push_back(*entry);
        }
        std::ranges::sort(entries, [](const dirent& a, const dirent& b) {
            return std::string_view(a.d_name) > std::string_view(b.d_name);
        });
        SortedDirectory() = directory;
    }
    return directory;
}

extern "C" dirent* readdir(DIR* directory) {
    static auto* const real = RealFunction<dirent*(DIR*)>("readdir");
    if (directory != SortedDirectory()) {
        return real(directory);
    }
    static dirent current;
    std::vector<dirent>& entries = EntriesToCome();
    if (entries.empty()) {
        SortedDirectory() = nullptr;
        return nullptr;
    }
    current = entries.back();
    entries.pop_back();
    return &current;
}
