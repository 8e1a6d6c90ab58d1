#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

/// A folder of its own for a test, removed with all that is in it.
class ScratchFolder {
public:
    /// Throws std::runtime_error when it cannot be made.
    ScratchFolder() {
        std::string pattern = std::filesystem::temp_directory_path() / "cvhost-test-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("cannot make a folder for the test");
        }
        m_path = pattern;
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string operator/(const std::string& name) const { return m_path + "/" + name; }
    const std::string& Path() const { return m_path; }

    /// Gives the new file's name.
    std::string Write(const std::string& name, const std::string& content) const {
        std::ofstream(*this / name, std::ios::binary) << content;
        return *this / name;
    }
    /// Gives the new folder's name; one that is there already is as good.
    std::string MakeFolder(const std::string& name) const {
        std::filesystem::create_directory(*this / name);
        return *this / name;
    }

private:
    std::string m_path;
};

/// A scratch folder that is the working directory of the process for as long. In the end nothing may lie in it but the
/// store of the module.
class WorkingFolder {
public:
    static constexpr const char* kStoreFile = "CVHostPersist.txt";

    WorkingFolder() { EXPECT_EQ(::chdir(m_folder.Path().c_str()), 0); }
    ~WorkingFolder() {
        EXPECT_EQ(::chdir("/"), 0);
        for (const std::filesystem::directory_entry& left : std::filesystem::directory_iterator(m_folder.Path())) {
            EXPECT_EQ(left.path().filename(), kStoreFile);
        }
    }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

private:
    const ScratchFolder m_folder;
};
