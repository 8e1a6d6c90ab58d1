#include "CVT/BRqHndlrEntry.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <variant>

#include "tests/unit/toolkit/Samples.h"

namespace CVT::test {
namespace {

TEST(BRqHndlrEntry, ExchangesAnIntForKindOneWhichTruthValuesUse) {
    EXPECT_TRUE((std::is_same_v<BTruthValue, int>));
    EXPECT_EQ(SampleScalars::Int(1).valueKind, 1U);
    EXPECT_TRUE(std::holds_alternative<BScalarGet<int>>(SampleScalars::Int(1).get));
    EXPECT_TRUE(std::holds_alternative<BScalarSet<int>>(SampleScalars::Int(1).set));
    EXPECT_TRUE(std::holds_alternative<BTableGet<int>>(SampleTable::Int(1).get));
    EXPECT_TRUE(std::holds_alternative<BTableSet<int>>(SampleTable::Int(1).set));
    EXPECT_TRUE(std::holds_alternative<BScalarGet<unsigned int>>(SampleScalars::Unsigned(1).get));
    EXPECT_TRUE(std::holds_alternative<BScalarGet<BOctetString>>(SampleScalars::TextColumn(1).get));
    EXPECT_TRUE(std::holds_alternative<BScalarGet<BObjectIdentifier>>(SampleScalars::OidColumn(1).get));
}

TEST(BRqHndlrEntry, IsWritableOnlyWithAccessAndAnOperation) {
    BRqHndlrEntry entry = SampleScalars::Int(1);
    EXPECT_EQ(entry.access, 4U);
    EXPECT_TRUE(entry.IsWritable());
    entry.access = kReadOnly;
    EXPECT_FALSE(entry.IsWritable());
    entry = SampleScalars::ReadOnly(1);
    EXPECT_EQ(entry.access, 3U);
    EXPECT_EQ(entry.reserved, 0U);
    EXPECT_FALSE(entry.IsWritable());
    entry.access = kReadWrite;
    EXPECT_FALSE(entry.IsWritable());
    EXPECT_TRUE(BRqHndlrEntry().IsEnd());
}

}  // namespace
}  // namespace CVT::test
