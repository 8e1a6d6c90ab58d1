#pragma once

#include <mntent.h>
#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <vector>

/// Where the host keeps its mount table: "/etc/mtab".
extern const char* ETC_MNTTAB;

/// One line of the mount table. A plain value.
struct DMountEntry {
    std::string device;
    std::string directory;
    std::string type;
    std::string options;

    /// In the C library's form. It points into this entry.
    mntent Record();
};

/// Reads the rest of an open mount table. Blanks and the like in names are decoded; a line of 4,096 octets or more is
/// cut.
std::vector<DMountEntry> ReadMountTable(std::FILE* file);

/// Notices that something was mounted or unmounted, where the mount table is the kernel's own and its file times do not
/// change. An ordinary file as the table causes no notice. One thread at a time.
class DMountTableWatch {
public:
    DMountTableWatch() = default;
    DMountTableWatch(const DMountTableWatch&) = delete;
    DMountTableWatch& operator=(const DMountTableWatch&) = delete;
    ~DMountTableWatch() { Close(); }

    /// Starts watching; call it before the table is read. Does nothing when already watching, or when there is nothing
    /// to watch. Returns whether it is watching now.
    bool Open();
    void Close();
    /// Whether there was a change since the last call, or since Open.
    bool HasNotice() const;

private:
    int m_file = -1;
};
