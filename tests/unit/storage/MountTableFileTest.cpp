#include "groups/storage/MountTableFile.h"

#include <gtest/gtest.h>

#include <string>

#include "groups/common/HostFile.h"

namespace {

std::vector<DMountEntry> EntriesOf(std::string text) {
    const DHostFile file(::fmemopen(text.data(), text.size(), "r"));
    return ReadMountTable(file.get());
}

TEST(MountTableFile, HasDeviceDirectoryTypeAndOptionsOnEachLine) {
    const auto entries = EntriesOf(
        "/dev/sda1 / ext3 rw,noatime 0 1\n"
        "# a comment\n"
        "\n"
        "\t server:/export  /mnt/nfs\tnfs  ro");
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].device, "/dev/sda1");
    EXPECT_EQ(entries[0].directory, "/");
    EXPECT_EQ(entries[0].type, "ext3");
    EXPECT_EQ(entries[0].options, "rw,noatime");
    EXPECT_EQ(entries[1].device, "server:/export");
    EXPECT_EQ(entries[1].directory, "/mnt/nfs");
    EXPECT_EQ(entries[1].type, "nfs");
    EXPECT_EQ(entries[1].options, "ro");
}

TEST(MountTableFile, DecodesBlanksInNames) {
    const auto entries = EntriesOf("/dev/sdb1 /mnt/my\\040disk\\011x\\134y ext4 rw 0 0\n");
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].directory, "/mnt/my disk\tx\\y");
}

TEST(MountTableFile, CutsALineThatIsTooLong) {
    const auto entries = EntriesOf("/dev/a /a ext4 " + std::string(6000, 'o') + " 0 0\n/dev/b /b ext4 rw 0 0\n");
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].directory, "/a");
    EXPECT_LT(entries[0].options.size(), 4096U);
    EXPECT_EQ(entries[1].directory, "/b") << "the rest of the long line is not a line of its own";
}

TEST(MountTableFile, SurvivesEveryTruncationOfALine) {
    const std::string line = "/dev/sdb1 /mnt/my\\040disk ext4 rw,relatime 0 0\n";
    for (std::size_t length = 1; length < line.size(); ++length) {
        const auto entries = EntriesOf(line.substr(0, length));
        ASSERT_LE(entries.size(), 1U) << length;
        if (!entries.empty()) {
            EXPECT_TRUE(line.starts_with(entries[0].device)) << length;
        }
    }
}

TEST(MountTableFile, ConvertsEntriesToTheCLibrarysForm) {
    DMountEntry entry{"/dev/a", "/a", "ext4", "rw"};
    const mntent record = entry.Record();
    EXPECT_STREQ(record.mnt_fsname, "/dev/a");
    EXPECT_STREQ(record.mnt_dir, "/a");
    EXPECT_STREQ(record.mnt_type, "ext4");
    EXPECT_STREQ(record.mnt_opts, "rw");
}

TEST(MountTableFileWatch, HasNothingToWatchWhereTheTableIsAnOrdinaryFile) {
    const char* const before = ETC_MNTTAB;
    ETC_MNTTAB = CVHOST_SOURCE_DIR "/CMakeLists.txt";
    DMountTableWatch watch;
    EXPECT_FALSE(watch.HasNotice()) << "not open";
    watch.Open();
    EXPECT_FALSE(watch.HasNotice());
    ETC_MNTTAB = "/nowhere/at/all";
    watch.Open();
    EXPECT_FALSE(watch.HasNotice());
    watch.Close();
    ETC_MNTTAB = before;
}

}  // namespace
