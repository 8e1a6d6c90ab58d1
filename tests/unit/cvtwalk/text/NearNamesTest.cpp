#include "agent/cvtwalk/text/NearNames.h"

#include <gmock/gmock.h>

namespace {

using cvtwalk::NearNames;
using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<std::string> kKnown = {"hrStorage",     "hrMemorySize",   "hrStorageTable", "hrStorageIndex",
                                         "hrStorageType", "hrStorageDescr", "hrStorageSize",  "hrStorageUsed",
                                         "hrDeviceTable", "hrDeviceIndex",  "hrDeviceIndex"};

TEST(CvtwalkNearNames, FindsANameInAnotherCase) {
    EXPECT_EQ(NearNames(kKnown, "HRMEMORYSIZE").front(), "hrMemorySize");
}

TEST(CvtwalkNearNames, FindsANameWithALetterOrTwoWrong) {
    EXPECT_THAT(NearNames(kKnown, "hrMemroySize"), ElementsAre("hrMemorySize"));
    EXPECT_THAT(NearNames(kKnown, "hrMemorySise"), ElementsAre("hrMemorySize"));
    EXPECT_THAT(NearNames(kKnown, "hMemorySize"), ElementsAre("hrMemorySize"));
}

TEST(CvtwalkNearNames, FindsFiveAtMostAndTheNearestFirst) {
    EXPECT_THAT(NearNames(kKnown, "hrStorag"),
                ElementsAre("hrStorage", "hrStorageTable", "hrStorageIndex", "hrStorageType", "hrStorageDescr"));
}

TEST(CvtwalkNearNames, FindsPartsOfANameAndEachNameOnce) {
    EXPECT_THAT(NearNames(kKnown, "DeviceIndex"), ElementsAre("hrDeviceIndex"));
    EXPECT_THAT(NearNames(kKnown, "memory"), ElementsAre("hrMemorySize"));
}

TEST(CvtwalkNearNames, FindsNothingNearWhatIsFar) {
    EXPECT_THAT(NearNames(kKnown, "sysDescr"), IsEmpty());
    EXPECT_THAT(NearNames(kKnown, "h"), IsEmpty());
    EXPECT_THAT(NearNames(kKnown, ""), IsEmpty());
    EXPECT_THAT(NearNames({}, "hrStorage"), IsEmpty());
}

}  // namespace
