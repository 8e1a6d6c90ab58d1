#include "groups/storage/FileSystemType.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

TEST(FileSystemType, DependsOnTheMagicNumber) {
    for (const auto& [magic, type] : {
             std::pair(0xADFFU, 16U), {0x00011954U, 3U}, {0x012FF7B4U, 4U}, {0x012FF7B5U, 4U}, {0x012FF7B6U, 4U},
             {0x012FF7B7U, 4U},       {0xEF51U, 23U},    {0xEF53U, 23U},    {0x4D44U, 5U},     {0x6969U, 14U},
             {0x9660U, 12U},          {0xF995E849U, 6U}, {0U, 2U},          {0x58465342U, 1U}, {0x9123683EU, 1U},
             {0x01021994U, 1U},       {0x65735546U, 1U}, {0x012FF7B3U, 1U}, {0x012FF7B8U, 1U}, {0xEF52U, 1U},
             {0xFFFFFFFFU, 1U},       {1U, 1U},
         }) {
        EXPECT_EQ(ui32GetFSType(magic), type) << std::hex << magic;
    }
}

TEST(FileSystemType, StandsBelowTheFileSystemTypes) {
    struct statfs fileSystem {};
    fileSystem.f_type = 0xEF53;
    EXPECT_STREQ(FSTypeOid(fileSystem).ToString().c_str(), "1.3.6.1.2.1.25.3.9.23");
}

TEST(FileSystemType, RecognisesAMagicNumberThatTheKernelReturnsAsNegative) {
    struct statfs fileSystem {};
    fileSystem.f_type = static_cast<int>(0xF995E849U);
    ASSERT_LT(fileSystem.f_type, 0);
    EXPECT_STREQ(FSTypeOid(fileSystem).ToString().c_str(), "1.3.6.1.2.1.25.3.9.6");
    fileSystem.f_type = static_cast<decltype(fileSystem.f_type)>(0xF995E849U);  // positive where it has 64 bits
    EXPECT_STREQ(FSTypeOid(fileSystem).ToString().c_str(), "1.3.6.1.2.1.25.3.9.6");
}

}  // namespace
