// Which directive a misspelled one was probably meant as.

#include "agent/cvtagentd/access/KnownDirectives.h"

#include <gtest/gtest.h>

namespace cvtagentd {
namespace {

TEST(KnownDirectives, ANearOneIsSuggested) {
    EXPECT_EQ(KnownDirectives::NearestTo("rocomunity"), "rocommunity");
    EXPECT_EQ(KnownDirectives::NearestTo("ROCOMMUNIY"), "rocommunity");
    EXPECT_EQ(KnownDirectives::NearestTo("rwcomunity6"), "rwcommunity6");
    EXPECT_EQ(KnownDirectives::NearestTo("creatUser"), "createUser");
    EXPECT_EQ(KnownDirectives::NearestTo("agentadress"), "agentaddress");
    EXPECT_EQ(KnownDirectives::NearestTo("rousr"), "rouser");
}

TEST(KnownDirectives, NothingIsSuggestedForWhatIsFarFromAll) {
    for (const char* const unknown : {"", "x", "abc", "frobnicate", "disk", "monitor", "extend"}) {
        EXPECT_EQ(KnownDirectives::NearestTo(unknown), "") << unknown;
    }
}

}  // namespace
}  // namespace cvtagentd
