#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

/// A folder for one test, removed with everything in it.
class ScratchFolder {
public:
    /// Throws std::runtime_error when it cannot be created.
    ScratchFolder() {
        std::string pattern = std::filesystem::temp_directory_path() / "cvhost-test-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("cannot create a folder for the test");
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

    /// Returns the name of the new file.
    std::string Write(const std::string& name, const std::string& content) const {
        std::ofstream(*this / name, std::ios::binary) << content;
        return *this / name;
    }
    /// Returns the name of the new folder; an existing one is fine.
    std::string MakeFolder(const std::string& name) const {
        std::filesystem::create_directory(*this / name);
        return *this / name;
    }

private:
    std::string m_path;
};

/// A scratch folder that is the working directory of the process while it exists. At its end it may contain nothing but
/// the module's store.
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
