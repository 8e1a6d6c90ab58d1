#include "CVT/BFileNV.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace CVT {
namespace {

using namespace std::string_view_literals;
namespace fs = std::filesystem;

constexpr std::string_view kFirstLine = "# CVT non-volatile store, format 1\n";

BString Text(std::string_view text) { return {text.data(), static_cast<unsigned int>(text.size())}; }

class BFileNVTest : public testing::Test {
protected:
    void SetUp() override {
        std::string name = testing::TempDir() + "cvt_nv_XXXXXX";
        ASSERT_NE(::mkdtemp(name.data()), nullptr);
        m_folder = name;
    }
    void TearDown() override { fs::remove_all(m_folder); }

    std::string File() const { return m_folder / "store.nv"; }
    std::string Fresh() const { return File() + ".new"; }

    static std::string ContentOf(const std::string& file) {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }
    static void Lay(const std::string& file, std::string_view content) {
        std::ofstream(file, std::ios::binary) << content;
    }
    static unsigned int ModeOf(const std::string& file) {
        struct stat status {};
        EXPECT_EQ(::lstat(file.c_str(), &status), 0) << file;
        return status.st_mode & 07777U;
    }
    std::size_t NumFiles() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(m_folder), fs::directory_iterator()));
    }

    /// What the store holds, or "(none)".
    static std::string Read(INonVolatile& store, std::string_view section, std::string_view key) {
        BString value("untouched");
        if (store.Read(Text(section), Text(key), value)) {
            return std::string(value.View());
        }
        EXPECT_EQ(value, BString("untouched"));
        return "(none)";
    }

    fs::path m_folder;
};

TEST_F(BFileNVTest, IsEmptyWithoutAFile) {
    BFileNV store(File().c_str(), false);
    EXPECT_EQ(Read(store, "hrSystem", "key"), "(none)");
    EXPECT_FALSE(store.Remove("hrSystem", "key"));
    EXPECT_FALSE(fs::exists(File()));
}

TEST_F(BFileNVTest, CreatesAMissingFileWhenAskedTo) {
    const BFileNV store(File().c_str(), true);
    EXPECT_EQ(ContentOf(File()), kFirstLine);
    EXPECT_EQ(ModeOf(File()), 0600U);
    EXPECT_EQ(NumFiles(), 1U);
}

TEST_F(BFileNVTest, LeavesAnExistingFileAlone) {
    Lay(File(), "a\tb\tc\n");
    BFileNV store(File().c_str(), true);
    EXPECT_EQ(ContentOf(File()), "a\tb\tc\n");
    EXPECT_EQ(Read(store, "a", "b"), "c");
}

TEST_F(BFileNVTest, KeepsValuesOnlyAfterASave) {
    {
        BFileNV store(File().c_str(), true);
        store.Write("hrSystem", "kept", "1");
        EXPECT_TRUE(store.Save());
        store.Write("hrSystem", "lost", "2");
        EXPECT_EQ(Read(store, "hrSystem", "lost"), "2");
    }
    BFileNV store(File().c_str(), true);
    EXPECT_EQ(Read(store, "hrSystem", "kept"), "1");
    EXPECT_EQ(Read(store, "hrSystem", "lost"), "(none)");
}

TEST_F(BFileNVTest, OverwritesAndRemoves) {
    BFileNV store(File().c_str(), true);
    store.Write("a", "k", "1");
    store.Write("b", "k", "2");
    store.Write("a", "k", "3");
    EXPECT_EQ(Read(store, "a", "k"), "3");
    EXPECT_TRUE(store.Remove("a", "k"));
    EXPECT_FALSE(store.Remove("a", "k"));
    EXPECT_TRUE(store.Save());
    EXPECT_EQ(ContentOf(File()), std::string(kFirstLine) + "b\tk\t2\n");
}

TEST_F(BFileNVTest, ReadsBackHostileTexts) {
    const std::string_view texts[] = {""sv,        " "sv,       "\t"sv,      "\n"sv,       "\\"sv,        "\\\\"sv,
                                      "\\t"sv,     "\\n"sv,     "a\tb\nc"sv, "#"sv,        "# comment"sv, "\\#"sv,
                                      "\0"sv,      "a\0b"sv,    "\r\n"sv,    "\xff\xfe"sv, "tail\\"sv,    "\n\n\t\t"sv,
                                      "k=v;[s]"sv, "\x1b[0m"sv, "#\t#\n#"sv, "\\\n"sv};
    {
        BFileNV store(File().c_str(), true);
        for (const std::string_view section : texts) {
            for (const std::string_view key : texts) {
                store.Write(Text(section), Text(key), Text(std::string(section) + "/" + std::string(key)));
            }
        }
        for (const std::string_view value : texts) {
            store.Write("values", Text(value), Text(value));
        }
        store.Write("long", "value", Text(std::string(100000, '\n')));
        EXPECT_TRUE(store.Save());
    }
    BFileNV store(File().c_str(), false);
    for (const std::string_view section : texts) {
        for (const std::string_view key : texts) {
            EXPECT_EQ(Read(store, section, key), std::string(section) + "/" + std::string(key));
        }
    }
    for (const std::string_view value : texts) {
        EXPECT_EQ(Read(store, "values", value), value);
    }
    EXPECT_EQ(Read(store, "long", "value"), std::string(100000, '\n'));
}

TEST_F(BFileNVTest, ReadsBackRandomTexts) {
    std::mt19937 random(20240611);
    const auto text = [&random] {
        static constexpr std::string_view kOctets("\t\n\\#tn a\0\xff", 10);
        std::string made(random() % 12, ' ');
        for (char& octet : made) {
            octet = kOctets[random() % kOctets.size()];
        }
        return made;
    };
    std::map<std::pair<std::string, std::string>, std::string> model;
    for (int round = 0; round < 20; ++round) {
        BFileNV store(File().c_str(), true);
        for (const auto& [name, value] : model) {
            EXPECT_EQ(Read(store, name.first, name.second), value);
        }
        for (int i = 0; i < 50; ++i) {
            const std::pair<std::string, std::string> name(text(), text());
            if (i % 5 == 0) {
                EXPECT_EQ(store.Remove(Text(name.first), Text(name.second)), model.erase(name) != 0);
            } else {
                model[name] = text();
                store.Write(Text(name.first), Text(name.second), Text(model[name]));
            }
        }
        EXPECT_TRUE(store.Save());
    }
    EXPECT_GT(model.size(), 100U);
}

TEST_F(BFileNVTest, SkipsMalformedLines) {
    Lay(File(),
        "# a comment\twith\ttabs\n\n\t\nno tabs\none\ttab\nfour\tfields\tin\tit\n"
        "#\ta\tb\ngood\tkey\tvalue\r\n\t\tempty names\nlast\tline\tno feed");
    BFileNV store(File().c_str(), false);
    EXPECT_EQ(Read(store, "good", "key"), "value\r");
    EXPECT_EQ(Read(store, "", ""), "empty names");
    EXPECT_EQ(Read(store, "last", "line"), "no feed");
    EXPECT_EQ(Read(store, "one", "tab"), "(none)");
    EXPECT_EQ(Read(store, "four", "fields"), "(none)");
    EXPECT_EQ(Read(store, "#", "a"), "(none)");
    EXPECT_TRUE(store.Save());
    EXPECT_EQ(ContentOf(File()),
              std::string(kFirstLine) + "\t\tempty names\ngood\tkey\tvalue\r\nlast\tline\tno feed\n");
}

TEST_F(BFileNVTest, ReadsEveryTruncationOfAGoodFile) {
    const std::string good = std::string(kFirstLine) + "a\tb\tone\\ttwo\nc\td\t\\\\\n";
    for (std::size_t length = 0; length <= good.size(); ++length) {
        Lay(File(), good.substr(0, length));
        BFileNV store(File().c_str(), false);
        const std::string value = Read(store, "a", "b");
        EXPECT_TRUE(value == "(none)" || "one\ttwo"sv.starts_with(value) || value == "one\\") << length << value;
    }
}

TEST_F(BFileNVTest, ReplacesTheFileInsteadOfWritingIntoIt) {
    Lay(File(), "a\tb\told\n");
    const std::string witness = m_folder / "witness";
    fs::create_hard_link(File(), witness);
    fs::permissions(File(), fs::perms(0644));
    BFileNV store(File().c_str(), false);
    store.Write("a", "b", "new");
    EXPECT_TRUE(store.Save());
    EXPECT_EQ(ContentOf(witness), "a\tb\told\n");
    EXPECT_EQ(ContentOf(File()), std::string(kFirstLine) + "a\tb\tnew\n");
    EXPECT_EQ(ModeOf(File()), 0600U);
    EXPECT_EQ(NumFiles(), 2U);
}

TEST_F(BFileNVTest, ReplacesTheRemainsOfACrash) {
    Lay(Fresh(), "half a fi");
    BFileNV store(File().c_str(), false);
    store.Write("a", "b", "c");
    EXPECT_TRUE(store.Save());
    EXPECT_EQ(ContentOf(File()), std::string(kFirstLine) + "a\tb\tc\n");
    EXPECT_EQ(NumFiles(), 1U);
}

TEST_F(BFileNVTest, DoesNotFollowALinkPlantedAtTheNameOfItsNewFile) {
    const std::string victim = m_folder / "victim";
    Lay(victim, "precious");
    fs::create_symlink(victim, Fresh());
    BFileNV store(File().c_str(), false);
    store.Write("a", "b", "c");
    EXPECT_TRUE(store.Save());
    EXPECT_EQ(ContentOf(victim), "precious");
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(File())));
    EXPECT_EQ(ContentOf(File()), std::string(kFirstLine) + "a\tb\tc\n");
}

TEST_F(BFileNVTest, DoesNotCreateTheTargetOfADanglingLink) {
    const std::string target = m_folder / "target";
    fs::create_symlink(target, File());
    BFileNV store(File().c_str(), true);
    EXPECT_FALSE(fs::exists(target));
    store.Write("a", "b", "c");
    EXPECT_TRUE(store.Save());
    EXPECT_FALSE(fs::exists(target));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(File())));
}

TEST_F(BFileNVTest, KeepsTheOldContentWhenItCannotSave) {
    Lay(File(), "a\tb\told\n");
    fs::create_directory(Fresh());
    BFileNV store(File().c_str(), false);
    store.Write("a", "b", "new");
    EXPECT_FALSE(store.Save());
    EXPECT_EQ(ContentOf(File()), "a\tb\told\n");
    EXPECT_EQ(Read(store, "a", "b"), "new");
    fs::remove(Fresh());
    EXPECT_TRUE(store.Save());
    EXPECT_EQ(ContentOf(File()), std::string(kFirstLine) + "a\tb\tnew\n");
}

TEST_F(BFileNVTest, LeavesNothingBehindWhenItCannotRename) {
    fs::create_directory(File());
    Lay(m_folder / "store.nv" / "within", "");
    BFileNV store(File().c_str(), true);
    store.Write("a", "b", "c");
    EXPECT_FALSE(store.Save());
    EXPECT_FALSE(fs::exists(Fresh()));
    EXPECT_TRUE(fs::is_directory(File()));
}

TEST_F(BFileNVTest, WorksInMemoryWhereItCannotReadOrWrite) {
    Lay(m_folder / "file", "");
    const std::string places[] = {m_folder / "missing" / "store.nv", m_folder / "file" / "store.nv", m_folder, "",
                                  m_folder / std::string(300, 'x')};
    for (const std::string& place : places) {
        BFileNV store(place.c_str(), true);
        store.Write("a", "b", "c");
        EXPECT_EQ(Read(store, "a", "b"), "c") << place;
        EXPECT_FALSE(store.Save()) << place;
        EXPECT_EQ(Read(store, "a", "b"), "c") << place;
    }
    BFileNV store(nullptr, true);
    store.Write("a", "b", "c");
    EXPECT_FALSE(store.Save());
    EXPECT_EQ(NumFiles(), 1U);
}

TEST_F(BFileNVTest, DoesNotHangOnAFifo) {
    ASSERT_EQ(::mkfifo(File().c_str(), 0600), 0);
    BFileNV store(File().c_str(), true);
    EXPECT_EQ(Read(store, "a", "b"), "(none)");
}

TEST_F(BFileNVTest, KeepsItsModeWhateverTheUmask) {
    const mode_t before = ::umask(0);
    BFileNV store(File().c_str(), true);
    EXPECT_EQ(ModeOf(File()), 0600U);
    EXPECT_TRUE(store.Save());
    EXPECT_EQ(ModeOf(File()), 0600U);
    ::umask(before);
}

TEST_F(BFileNVTest, IsInTheWorkingDirectoryWhenItsNameIsRelative) {
    const fs::path before = fs::current_path();
    fs::current_path(m_folder);
    BFileNV store("store.nv", true);
    EXPECT_TRUE(store.Save());
    fs::current_path(before);
    EXPECT_TRUE(fs::exists(File()));
}

TEST_F(BFileNVTest, ServesManyThreads) {
    BFileNV store(File().c_str(), true);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&store, i] {
            const BString key = std::to_string(i).c_str();
            for (int round = 0; round < 20; ++round) {
                store.Write("section", key, std::to_string(round).c_str());
                EXPECT_TRUE(store.Save());
                EXPECT_EQ(Read(store, "section", key.View()), std::to_string(round));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    BFileNV saved(File().c_str(), false);
    for (const char* key : {"0", "1", "2", "3"}) {
        EXPECT_EQ(Read(saved, "section", key), "19");
    }
}

}  // namespace
}  // namespace CVT
