#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

/// Whether a call to a file system of this type may never return because another machine or a program serves it. Types
/// that the kernel serves alone, from a device or from memory, are known by name; any other type is assumed to hang.
bool bKindMayHang(std::string_view type);

/// The mounts of one reading of the mount table that may hang. A plain value.
///
/// A path leads through the directories above it, and the kernel asks those as well: a disk mounted below a dead
/// network mount is as unreachable as that mount. The root directory is never counted among
/// them: if it hung, we would not run.
class DMountsThatMayHang {
public:
    /// Call it in the order of the table. A mount over a directory hides what was mounted there before.
    void Add(std::string_view directory, std::string_view type);

    /// Whether something that may hang is mounted on `directory`, or on a directory above it.
    bool AreOnTheWayTo(std::string_view directory) const;

private:
    std::unordered_set<std::string> m_directories;
};
