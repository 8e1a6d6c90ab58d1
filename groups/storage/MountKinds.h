#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

/// Whether asking a file system of this type may never come back: it is served by another machine, or by a program. What
/// the kernel serves alone, from a device or from memory, is known by name; any other type is taken to hang.
bool bKindMayHang(std::string_view type);

/// The mounts of one reading of the mount table that may hang. A plain value.
///
/// A path leads through the directories above it, and the kernel asks those as well: a disk mounted below a dead network
/// mount is as out of reach as that. The root directory is left out of this: without it we would not run.
class DMountsThatMayHang {
public:
    /// In the order of the table. What is mounted over a directory hides what was mounted there before.
    void Add(std::string_view directory, std::string_view type);

    /// Whether something that may hang is mounted on `directory`, or on one above it.
    bool AreOnTheWayTo(std::string_view directory) const;

private:
    std::unordered_set<std::string> m_directories;
};
