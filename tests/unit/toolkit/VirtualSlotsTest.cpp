// Modules and hosts are built separately, so the slot of every virtual operation is part of the toolkit's interface.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "CVT/BMibImplGroup.h"
#include "CVT/BMibScalarGroupImpl.h"
#include "CVT/BMibTableImpl.h"
#include "CVT/TThread.h"

namespace CVT {
namespace {

/// The slot of a virtual member function, as the Itanium C++ ABI encodes it in a pointer to member; -1 for a function
/// that is not virtual.
template <class Member>
std::ptrdiff_t SlotOf(Member member) {
    std::ptrdiff_t words[2] = {};
    static_assert(sizeof member == sizeof words);
    std::memcpy(words, &member, sizeof words);
#if defined(__aarch64__) || defined(__arm__)
    const bool isVirtual = (words[1] & 1) != 0;
    const std::ptrdiff_t offset = words[0];
#else
    const bool isVirtual = (words[0] & 1) != 0;
    const std::ptrdiff_t offset = words[0] - 1;
#endif
    return isVirtual ? offset / static_cast<std::ptrdiff_t>(sizeof(void*)) : -1;
}

using GetList = int (BMibImpl::*)(unsigned int, BVarBindList&, int&, int);
using GetNextList = int (BMibSubtreeHandler::*)(unsigned int, BVarBindList&, int&, int);
using GetNextOne = int (BMibImpl::*)(unsigned int, BVarBind&);
using GetOne = int (BMibImpl::*)(unsigned int, BVarBind&);
using SetList = int (BMibImpl::*)(unsigned int, const BVarBindList&, ESnmpSetOpCode, void**, int&, int);
using SetOne = int (BMibImpl::*)(unsigned int, ESnmpSetOpCode, void**, const BVarBind&);

TEST(VirtualSlots, OfASubtreeHandlerFollowItsTwoDestructors) {
    EXPECT_EQ(SlotOf(&BMibSubtreeHandler::OnTimeout), 2);
    EXPECT_EQ(SlotOf(static_cast<int (BMibSubtreeHandler::*)(unsigned int, BVarBindList&, int&, int)>(
                  &BMibSubtreeHandler::Get)),
              3);
    EXPECT_EQ(SlotOf(static_cast<GetNextList>(&BMibSubtreeHandler::GetNext)), 4);
    EXPECT_EQ(SlotOf(static_cast<int (BMibSubtreeHandler::*)(unsigned int, BVarBind&)>(&BMibSubtreeHandler::GetNext)),
              5);
    EXPECT_EQ(SlotOf(&BMibSubtreeHandler::Set), 6);
    EXPECT_EQ(SlotOf(&BMibSubtreeHandler::HandlesInstance), 7);
    EXPECT_EQ(SlotOf(&BMibSubtreeHandler::GetIMibInfo), 8);
    EXPECT_EQ(SlotOf(&BMibSubtreeHandler::ToString), 9);
}

TEST(VirtualSlots, OfAGroupFollowThoseOfASubtreeHandler) {
    EXPECT_EQ(SlotOf(static_cast<GetList>(&BMibImpl::Get)), 3);
    EXPECT_EQ(SlotOf(static_cast<GetNextOne>(&BMibImpl::GetNext)), 5);
    EXPECT_EQ(SlotOf(static_cast<SetList>(&BMibImpl::Set)), 6);
    EXPECT_EQ(SlotOf(&BMibImpl::GetIMibInfo), 8);
    EXPECT_EQ(SlotOf(&BMibImpl::ToString), 9);
    EXPECT_EQ(SlotOf(static_cast<GetOne>(&BMibImpl::Get)), 10);
    EXPECT_EQ(SlotOf(static_cast<SetOne>(&BMibImpl::Set)), 11);
    EXPECT_EQ(SlotOf(&BMibImpl::NextInstance), 12);
    EXPECT_EQ(SlotOf(&BMibImpl::Initialize), 13);
    EXPECT_EQ(SlotOf(&BMibImpl::Cleanup), 14);
    EXPECT_EQ(SlotOf(&BMibImpl::GetRqHndlrMap), 15);
    EXPECT_EQ(SlotOf(&BMibImpl::GetConstraintMap), 16);
}

TEST(VirtualSlots, OfScalarsAndTablesAreThoseOfAGroup) {
    using ScalarGet = int (BMibScalarGroupImpl::*)(unsigned int, BVarBind&);
    using ScalarSet = int (BMibScalarGroupImpl::*)(unsigned int, ESnmpSetOpCode, void**, const BVarBind&);
    EXPECT_EQ(SlotOf(static_cast<ScalarGet>(&BMibScalarGroupImpl::Get)), 10);
    EXPECT_EQ(SlotOf(static_cast<ScalarSet>(&BMibScalarGroupImpl::Set)), 11);
    EXPECT_EQ(SlotOf(&BMibScalarGroupImpl::NextInstance), 12);

    using TableGet = int (BMibTableImpl::*)(unsigned int, BVarBind&);
    using TableSet = int (BMibTableImpl::*)(unsigned int, ESnmpSetOpCode, void**, const BVarBind&);
    EXPECT_EQ(SlotOf(static_cast<TableGet>(&BMibTableImpl::Get)), 10);
    EXPECT_EQ(SlotOf(static_cast<TableSet>(&BMibTableImpl::Set)), 11);
    EXPECT_EQ(SlotOf(&BMibTableImpl::NextInstance), 12);
    EXPECT_EQ(SlotOf(&BMibTableImpl::NextInstanceInColumn), 17);
}

TEST(VirtualSlots, OfAModuleFollowItsTwoDestructors) {
    EXPECT_EQ(SlotOf(&BMibImplGroup::Init), 2);
    EXPECT_EQ(SlotOf(&BMibImplGroup::Cleanup), 3);
    EXPECT_EQ(SlotOf(&BMibImplGroup::NumHandlers), 4);
    EXPECT_EQ(SlotOf(&BMibImplGroup::HandlerAt), 5);
    EXPECT_EQ(SlotOf(&BMibImplGroup::GetTCConstraintMap), 6);
    EXPECT_EQ(SlotOf(&BMibImplGroup::InitDefVals), 7);
}

/// Makes the protected operations of a thread accessible to the test.
class OpenThread : public TThread {
public:
    static std::ptrdiff_t SlotOfRun() { return SlotOf(&OpenThread::Run); }
    static std::ptrdiff_t SlotOfOnThreadEnd() { return SlotOf(&OpenThread::OnThreadEnd); }
};

TEST(VirtualSlots, OfAThreadFollowItsTwoDestructors) {
    EXPECT_EQ(SlotOf(&TThread::Start), 2);
    EXPECT_EQ(SlotOf(&TThread::Terminate), 3);
    EXPECT_EQ(SlotOf(&TThread::Stop), 4);
    EXPECT_EQ(SlotOf(&TThread::Join), 5);
    EXPECT_EQ(SlotOf(&TThread::ResetMembers), 6);
    EXPECT_EQ(OpenThread::SlotOfRun(), 7);
    EXPECT_EQ(OpenThread::SlotOfOnThreadEnd(), 8);
    EXPECT_EQ(SlotOf(&TThread::StopRequested), -1);
}

}  // namespace
}  // namespace CVT
