#include "agent/cvtagentd/agentx/TransactionIds.h"

#include <gtest/gtest.h>

namespace cvtagentd {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class TransactionIdsTest : public testing::Test {
protected:
    unsigned int Id(std::uint32_t transaction, milliseconds when) { return m_ids.Of(transaction, At(when))->Id(); }
    static TransactionIds::Clock::time_point At(milliseconds when) {
        return TransactionIds::Clock::time_point(std::chrono::hours(1)) + when;
    }

    TransactionIds m_ids;
};

TEST_F(TransactionIdsTest, EachNumberKeepsItsIdentifierWhileItIsUsed) {
    const unsigned int first = Id(1, seconds(0));
    const unsigned int second = Id(2, seconds(0));
    EXPECT_NE(first, second);
    EXPECT_EQ(Id(1, seconds(14)), first);
    EXPECT_EQ(Id(1, seconds(28)), first);
    EXPECT_NE(Id(2, seconds(28)), second) << "it has not been used for too long";
    EXPECT_FALSE(CVT::BRequest::IsLive(second));
}

TEST_F(TransactionIdsTest, SaysWhenTheNextIsDueToBeForgotten) {
    EXPECT_FALSE(m_ids.Expire(At(seconds(0))).has_value());
    const unsigned int first = Id(1, seconds(0));
    const unsigned int second = Id(2, seconds(5));
    EXPECT_EQ(m_ids.Expire(At(seconds(6))), milliseconds(9000));
    EXPECT_EQ(m_ids.Expire(At(milliseconds(14999))), milliseconds(1));
    EXPECT_TRUE(CVT::BRequest::IsLive(first));
    EXPECT_EQ(m_ids.Expire(At(seconds(15))), milliseconds(5000));
    EXPECT_FALSE(CVT::BRequest::IsLive(first));
    EXPECT_TRUE(CVT::BRequest::IsLive(second));
    EXPECT_FALSE(m_ids.Expire(At(seconds(20))).has_value());
    EXPECT_FALSE(CVT::BRequest::IsLive(second));
}

TEST_F(TransactionIdsTest, OneInUseIsKept) {
    auto used = m_ids.Of(1, At(seconds(0)));
    EXPECT_EQ(m_ids.Expire(At(seconds(15))), milliseconds(15000));
    EXPECT_EQ(Id(1, seconds(20)), used->Id());
    used.reset();
    EXPECT_FALSE(m_ids.Expire(At(seconds(35))).has_value());
}

TEST_F(TransactionIdsTest, TheOneNotUsedForTheLongestTimeMakesRoom) {
    const unsigned int first = Id(1, seconds(0));
    const unsigned int second = Id(2, seconds(0));
    for (std::uint32_t transaction = 3; transaction <= TransactionIds::kMost; ++transaction) {
        Id(transaction, seconds(0));
    }
    EXPECT_EQ(Id(1, seconds(1)), first);
    Id(TransactionIds::kMost + 1, seconds(1));
    EXPECT_FALSE(CVT::BRequest::IsLive(second));
    EXPECT_TRUE(CVT::BRequest::IsLive(first));
}

TEST_F(TransactionIdsTest, OneInUseMakesNoRoom) {
    const auto used = m_ids.Of(1, At(seconds(0)));
    for (std::uint32_t transaction = 2; transaction <= TransactionIds::kMost + 5; ++transaction) {
        Id(transaction, seconds(0));
    }
    EXPECT_EQ(Id(1, seconds(1)), used->Id());
}

TEST_F(TransactionIdsTest, ClearForgetsAll) {
    const unsigned int first = Id(1, seconds(0));
    m_ids.Clear();
    EXPECT_FALSE(CVT::BRequest::IsLive(first));
    EXPECT_NE(Id(1, seconds(0)), first);
}

}  // namespace
}  // namespace cvtagentd
