// Calls of groups on threads of their own.

#include "agent/cvtagentd/requests/GroupWorkers.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <vector>

#include "CVT/BMibScalarGroupImpl.h"
#include "CVT/TEvent.h"

namespace cvtagentd {
namespace {

/// Records the requests for its one value, which is the number of the request.
class Group final : public CVT::BMibScalarGroupImpl {
public:
    Group() : CVT::BMibScalarGroupImpl("WORKERS-TEST-MIB.group", "1.3.6.1.4.1.32473.8") {}

    void Initialize() override {}
    void Cleanup() override {}
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    std::vector<unsigned int> askedBy;  // under the request lock
    CVT::TEvent isAsked{true};
    CVT::TEvent mayAnswer{true};

private:
    int GetValue(unsigned int requestId, unsigned int& value) {
        askedBy.push_back(requestId);
        isAsked.Set();
        mayAnswer.Wait(60'000);
        value = requestId;
        return CVT::noError;
    }

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
};

const CVT::BRqHndlrEntry Group::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kUnsignedValue>(1, "value", CVT::kGauge32, &Group::GetValue),
    {},
};
const CVT::BConstraintEntry Group::s_sonstraintEntries[] = {{}};

class GroupWorkersTest : public testing::Test {
protected:
    void SetUp() override {
        m_group.mayAnswer.Set();
        m_other.mayAnswer.Set();
    }
    void TearDown() override { EXPECT_TRUE(m_workers.End(60'000)); }

    static std::shared_ptr<ReadCall> Reading(CVT::BMibImpl& group, CVT::EReading what = CVT::EReading::Get) {
        auto call = std::make_shared<ReadCall>(group, std::make_shared<const CVT::BRequest>(), what);
        call->varBind.name.AssignFromDottedDecimalStr("1.3.6.1.4.1.32473.8");
        if (what == CVT::EReading::Get) {
            call->varBind.name.Append(1);
            call->varBind.name.Append(0);
        }
        return call;
    }
    /// As the event loop does.
    void WaitFor(const GroupCall& call) {
        while (!call.isDone) {
            pollfd done{m_workers.Descriptor(), POLLIN, 0};
            ASSERT_EQ(::poll(&done, 1, 60'000), 1);
            m_workers.Drain();
        }
    }

    Group m_group;
    Group m_other;
    GroupWorkers m_workers;
};

TEST_F(GroupWorkersTest, BringWhatTheGroupAnswers) {
    const auto get = Reading(m_group);
    const auto next = Reading(m_group, CVT::EReading::NextInstance);
    ASSERT_TRUE(m_workers.Start(get));
    ASSERT_TRUE(m_workers.Start(next));
    WaitFor(*next);
    EXPECT_TRUE(get->isDone) << "it came first";
    EXPECT_EQ(get->status, CVT::noError);
    EXPECT_EQ(get->varBind.number, get->request->Id());
    EXPECT_EQ(next->status, CVT::noError);
    EXPECT_EQ(next->varBind.name.ToString(), CVT::BString("1.3.6.1.4.1.32473.8.1.0"));
}

TEST_F(GroupWorkersTest, WaitForABusyGroupWhileAnotherIsCalled) {
    const auto waiting = Reading(m_group);
    const auto quick = Reading(m_other);
    {
        const CVT::TMutex::Guard busy(m_group.RequestLock());
        ASSERT_TRUE(m_workers.Start(waiting));
        ASSERT_TRUE(m_workers.Start(quick));
        WaitFor(*quick);
        EXPECT_FALSE(waiting->isDone);
    }
    WaitFor(*waiting);
    EXPECT_EQ(waiting->status, CVT::noError);
}

TEST_F(GroupWorkersTest, DoNotMakeACallThatNobodyWaitsForAnyMore) {
    const std::vector calls{Reading(m_group), Reading(m_group), Reading(m_group)};
    {
        const CVT::TMutex::Guard busy(m_group.RequestLock());
        for (const auto& call : calls) {
            ASSERT_TRUE(m_workers.Start(call));
        }
        calls[0]->isUnwanted = true;  // the one that waits for the lock
        calls[1]->isUnwanted = true;
    }
    WaitFor(*calls[2]);
    const CVT::TMutex::Guard guard(m_group.RequestLock());
    EXPECT_EQ(m_group.askedBy, std::vector{calls[2]->request->Id()});
}

TEST_F(GroupWorkersTest, KeepTheRequestLive) {
    auto call = Reading(m_group);
    const unsigned int id = call->request->Id();
    {
        const CVT::TMutex::Guard busy(m_group.RequestLock());
        ASSERT_TRUE(m_workers.Start(call));
        call.reset();
        EXPECT_TRUE(CVT::BRequest::IsLive(id));
    }
    ASSERT_TRUE(m_workers.End(60'000));
    EXPECT_FALSE(CVT::BRequest::IsLive(id));
}

TEST_F(GroupWorkersTest, EndWhenTheCallUnderWayIsOverAndMakeNoOther) {
    const std::vector calls{Reading(m_group), Reading(m_group)};
    m_group.mayAnswer.Reset();
    for (const auto& call : calls) {
        ASSERT_TRUE(m_workers.Start(call));
    }
    ASSERT_EQ(m_group.isAsked.Wait(60'000), CVT::kWaitSignalled);
    EXPECT_FALSE(m_workers.End(1));
    m_group.mayAnswer.Set();
    EXPECT_TRUE(m_workers.End(60'000));
    EXPECT_EQ(m_group.askedBy, std::vector{calls[0]->request->Id()});
}

}  // namespace
}  // namespace cvtagentd
