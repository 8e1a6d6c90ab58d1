#pragma once

#include <string>
#include <vector>

/// A host for one test: a mount namespace of this process, in which files of the test cover those of the machine.
/// Nothing of it is visible outside, and covered files reappear when the host is destroyed. Create it before the test
/// starts a thread.
class MadeUpHost {
public:
    /// Whether this machine lets us create one; otherwise the test should be skipped.
    static bool IsPossible();

    MadeUpHost();
    MadeUpHost(const MadeUpHost&) = delete;
    MadeUpHost& operator=(const MadeUpHost&) = delete;
    ~MadeUpHost();

    /// Covers `path`, which must exist, with a file of this content.
    void Cover(const std::string& path, const std::string& content);
    /// Covers `path`, which must be a directory, with an empty directory.
    void Empty(const std::string& path);
    /// A directory for this test's files, also its working directory; removed at the end.
    const std::string& Directory() const { return m_directory; }

private:
    std::string m_directory;
    std::vector<std::string> m_covered;
};
