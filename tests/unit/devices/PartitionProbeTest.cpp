#include "groups/devices/PartitionProbe.h"

#include <gtest/gtest.h>

#include <string>

#include "groups/common/HostFile.h"

namespace {

unsigned int SizeIn(std::string text, unsigned int device) {
    text += '\0';  // fmemopen needs at least one octet; the NUL ends the text
    const DHostFile file(::fmemopen(text.data(), text.size(), "r"));
    return ui32ReadPartitionSize(file.get(), device);
}

const std::string kTable =
    "major minor  #blocks  name\n"
    "\n"
    "   3        0   39082680 hda\n"
    "   3        1     104391 hda1\n"
    " 253        0   10485760 dm-0\n"
    " 259      511   20971520 nvme0n1p255\n"
    "8 17 77 no-indent\n"
    "   8        2 4294967297 large\n"
    "   8        2          9 again\n"
    "   8        3         33 last";

TEST(PartitionProbe, ReturnsTheSizeFromTheLineWithTheDevicesNumbers) {
    EXPECT_EQ(SizeIn(kTable, 0x301), 104391U);
    EXPECT_EQ(SizeIn(kTable, 0x300), 39082680U);
    EXPECT_EQ(SizeIn(kTable, 0xFD00), 10485760U);
    EXPECT_EQ(SizeIn(kTable, 0x811), 77U);
    EXPECT_EQ(SizeIn(kTable, 0x803), 33U) << "a last line without a line feed";
}

TEST(PartitionProbe, ReturnsZeroForADeviceThatIsNotListed) {
    EXPECT_EQ(SizeIn(kTable, 0x302), 0U);
    EXPECT_EQ(SizeIn(kTable, 0), 0U);
    EXPECT_EQ(SizeIn("", 0x301), 0U);
}

TEST(PartitionProbe, DoesNotFindMinorNumbersAboveEightBits) {
    EXPECT_EQ(SizeIn(kTable, (259U << 8U) + 255U), 0U);
    EXPECT_EQ(SizeIn(kTable, (260U << 8U) + 255U), 0U);
}

TEST(PartitionProbe, ComparesTheMajorNumberInTwentyFourBits) {
    EXPECT_EQ(SizeIn("16777215 255 5 x\n", 0xFFFFFFFFU), 5U);
    EXPECT_EQ(SizeIn("-1 255 5 x\n", 0xFFFFFFFFU), 0U);
}

TEST(PartitionProbe, CutsTheSizeOfTheFirstMatchingLineToThirtyTwoBits) {
    EXPECT_EQ(SizeIn(kTable, 0x802), 1U);
    EXPECT_EQ(SizeIn("8 2 -1 x\n", 0x802), 0xFFFFFFFFU);
    EXPECT_EQ(SizeIn("8 2 99999999999999999999999 x\n", 0x802), 0xFFFFFFFFU);
}

TEST(PartitionProbe, SkipsALineWithFewerThanThreeNumbersWhereverItIsTruncated) {
    const std::string good = "   3        1     104391 hda1\n";
    for (std::size_t length = 0; length <= good.size(); ++length) {
        const unsigned int size = SizeIn(good.substr(0, length) + "\n3 1 42 hda1\n", 0x301);
        const std::size_t digits = length > 18 ? std::min<std::size_t>(length - 18, 6) : 0;
        const unsigned int wanted =
            digits == 0 ? 42U : static_cast<unsigned int>(std::stoul(std::string("104391").substr(0, digits)));
        EXPECT_EQ(size, wanted) << length;
    }
}

TEST(PartitionProbe, ReadsALineTooLongForItsBufferAsTwo) {
    const std::string padding(511 - 4, ' ');
    EXPECT_EQ(SizeIn("3 1 " + padding + "104391\n", 0x301), 0U) << "the first piece has two numbers, the second one";
    EXPECT_EQ(SizeIn(std::string(511, 'x') + "3 1 104391\n", 0x301), 104391U);
}

TEST(PartitionProbe, ReadsTheKernelsTableOfThisHost) {
    const DHostFile file = OpenHostFile("/proc/partitions");
    if (!file) {
        EXPECT_EQ(ui32GetPartitionSize(0x301), 0U);
        return;
    }
    for (unsigned int device = 0; device < 0x1000; device += 15) {
        std::rewind(file.get());
        EXPECT_EQ(ui32GetPartitionSize(device), ui32ReadPartitionSize(file.get(), device)) << device;
    }
}

}  // namespace
