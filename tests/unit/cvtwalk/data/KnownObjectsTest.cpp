#include "agent/cvtwalk/data/KnownObjects.h"

#include <gtest/gtest.h>

namespace {

namespace KnownObjects = cvtwalk::KnownObjects;

std::string_view NameOf(const char* oid) { return KnownObjects::ValueName(CVT::BObjectIdentifier(CVT::BString(oid))); }

TEST(CvtwalkKnownObjects, NameTheTypesOfStorageDevicesAndFileSystems) {
    EXPECT_EQ(NameOf("1.3.6.1.2.1.25.2.1.4"), "hrStorageFixedDisk");
    EXPECT_EQ(NameOf("1.3.6.1.2.1.25.2.1.10"), "hrStorageNetworkDisk");
    EXPECT_EQ(NameOf("1.3.6.1.2.1.25.3.1.3"), "hrDeviceProcessor");
    EXPECT_EQ(NameOf("1.3.6.1.2.1.25.3.1.21"), "hrDeviceNonVolatileMemory");
    EXPECT_EQ(NameOf("1.3.6.1.2.1.25.3.9.1"), "hrFSOther");
    EXPECT_EQ(NameOf("1.3.6.1.2.1.25.3.9.23"), "hrFSLinuxExt2");
}

TEST(CvtwalkKnownObjects, NameNothingElse) {
    for (const char* const other : {"0.0", "1", "1.3.6.1.2.1.25.2.1", "1.3.6.1.2.1.25.2.1.0", "1.3.6.1.2.1.25.2.1.11",
                                    "1.3.6.1.2.1.25.3.1.7", "1.3.6.1.2.1.25.3.9.24", "1.3.6.1.2.1.25.3.1.3.1"}) {
        EXPECT_EQ(NameOf(other), "") << other;
    }
    EXPECT_EQ(KnownObjects::ValueName(CVT::BObjectIdentifier()), "");
}

TEST(CvtwalkKnownObjects, WriteEachBranchAsAnOid) {
    for (const KnownObjects::Node& branch : KnownObjects::Branches()) {
        CVT::BObjectIdentifier oid;
        EXPECT_TRUE(oid.AssignFromDottedDecimalStr(branch.oid)) << branch.name;
    }
}

TEST(CvtwalkKnownObjects, KnowATableOfAmountsByItsFullName) {
    EXPECT_NE(KnownObjects::AmountsOf("HOST-RESOURCES-MIB.hrStorageTable"), nullptr);
    EXPECT_EQ(KnownObjects::AmountsOf("hrStorageTable"), nullptr);
    EXPECT_EQ(KnownObjects::AmountsOf(""), nullptr);
}

}  // namespace
