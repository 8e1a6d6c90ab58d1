#pragma once

#include <string>
#include <vector>

/// A host for one test: a mount namespace of this process's own, in which files of the test's making lie over those of the
/// machine. Nothing of it is seen outside; what was covered shows again when the host goes. To be made before the test
/// starts a thread.
class MadeUpHost {
public:
    /// Whether this machine lets us make one; the test is to be skipped when not.
    static bool IsPossible();

    MadeUpHost();
    MadeUpHost(const MadeUpHost&) = delete;
    MadeUpHost& operator=(const MadeUpHost&) = delete;
    ~MadeUpHost();

    /// Lays a file with this content over `path`, which must exist.
    void Cover(const std::string& path, const std::string& content);
    /// Lays an empty directory over `path`, which must be one.
    void Empty(const std::string& path);
    /// A directory of this test's own, for its files and as its working directory; removed in the end.
    const std::string& Directory() const { return m_directory; }

private:
    std::string m_directory;
    std::vector<std::string> m_covered;
};
