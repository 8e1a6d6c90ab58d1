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

    /// As the C library has it. It points into this entry.
    mntent Record();
};

/// What is left of an open mount table: blanks and the like in names are decoded, a line of 4,096 octets or more is cut.
std::vector<DMountEntry> ReadMountTable(std::FILE* file);

/// Notices that something was mounted or unmounted, where the mount table is the kernel's own: there the file's times do
/// not move. A table that is an ordinary file gives no notice. One thread at a time.
class DMountTableWatch {
public:
    DMountTableWatch() = default;
    DMountTableWatch(const DMountTableWatch&) = delete;
    DMountTableWatch& operator=(const DMountTableWatch&) = delete;
    ~DMountTableWatch() { Close(); }

    /// Watches from now on; to be called before the table is read. Does nothing when it watches already, or when there is
    /// nothing to watch. Whether it watches now.
    bool Open();
    void Close();
    /// Whether there was a change since the last call, or since Open.
    bool HasNotice() const;

private:
    int m_file = -1;
};
