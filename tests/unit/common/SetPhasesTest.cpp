#include "groups/common/SetPhases.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace {

using CVT::ESnmpSetOpCode;

TEST(SetPhases, CheckSavesTheValueAndCommitStoresTheNewOne) {
    std::string field = "old";
    void* undo = nullptr;
    EXPECT_EQ(i32SetPhase<std::string>(ESnmpSetOpCode::CheckAndSave, &field, "new", &undo), 0);
    ASSERT_NE(undo, nullptr);
    EXPECT_EQ(*static_cast<std::string*>(undo), "old");
    EXPECT_EQ(field, "old");
    EXPECT_EQ(i32SetPhase<std::string>(ESnmpSetOpCode::Commit, &field, "new", &undo), 0);
    EXPECT_EQ(field, "new");
    EXPECT_EQ(i32SetPhase<std::string>(ESnmpSetOpCode::Release, &field, "new", &undo), 0);
    EXPECT_EQ(undo, nullptr);
    EXPECT_EQ(field, "new");
}

TEST(SetPhases, UndoRestoresTheSavedValueAndKeepsTheCellForRelease) {
    int field = 1;
    void* undo = nullptr;
    EXPECT_EQ(i32SetPhase(ESnmpSetOpCode::CheckAndSave, &field, 2, &undo), 0);
    EXPECT_EQ(i32SetPhase(ESnmpSetOpCode::Commit, &field, 2, &undo), 0);
    EXPECT_EQ(i32SetPhase(ESnmpSetOpCode::Undo, &field, 2, &undo), 0);
    EXPECT_EQ(field, 1);
    EXPECT_NE(undo, nullptr);
    EXPECT_EQ(i32SetPhase(ESnmpSetOpCode::Release, &field, 2, &undo), 0);
}

TEST(SetPhases, AnAbsentRowHasItsOwnErrorInEachPhase) {
    int* const absent = nullptr;
    void* undo = nullptr;
    EXPECT_EQ(i32SetPhase(ESnmpSetOpCode::CheckAndSave, absent, 2, &undo), 18);
    EXPECT_EQ(undo, nullptr);
    EXPECT_EQ(i32SetPhase(ESnmpSetOpCode::Commit, absent, 2, &undo), 14);
    EXPECT_EQ(i32SetPhase(ESnmpSetOpCode::Undo, absent, 2, &undo), 15);
}

TEST(SetPhases, ReleaseFreesTheCellOfARowThatVanishedAfterItsCheck) {
    int field = 1;
    void* undo = nullptr;
    ASSERT_EQ(i32SetPhase(ESnmpSetOpCode::CheckAndSave, &field, 2, &undo), 0);
    int* const absent = nullptr;
    EXPECT_EQ(i32SetPhase(ESnmpSetOpCode::Release, absent, 2, &undo), 0);
    EXPECT_EQ(undo, nullptr);
}

TEST(SetPhases, ReleaseWithoutASavedValueSucceeds) {
    int field = 1;
    void* undo = nullptr;
    EXPECT_EQ(i32SetPhase(ESnmpSetOpCode::Release, &field, 2, &undo), 0);
    EXPECT_EQ(field, 1);
}

TEST(SetPhases, AnyOtherPhaseIsAGeneralError) {
    int field = 1;
    void* undo = nullptr;
    for (int phase = 0; phase < 256; ++phase) {
        if (phase != 224 && phase != 163 && phase != 225 && phase != 226) {
            EXPECT_EQ(i32SetPhase(static_cast<ESnmpSetOpCode>(phase), &field, 2, &undo), 5) << phase;
        }
    }
    EXPECT_EQ(field, 1);
    EXPECT_EQ(undo, nullptr);
}

TEST(SetPhases, OnlyACommitCarriesOutTheEffect) {
    int field = 1;
    int effects = 0;
    int seen = 0;
    void* undo = nullptr;
    const auto effect = [&] {
        ++effects;
        seen = field;
    };
    for (const auto phase : {ESnmpSetOpCode::CheckAndSave, ESnmpSetOpCode::Commit, ESnmpSetOpCode::Undo,
                             ESnmpSetOpCode::Release, ESnmpSetOpCode{1}}) {
        i32SetPhase(phase, &field, 2, &undo, effect);
    }
    EXPECT_EQ(effects, 1);
    EXPECT_EQ(seen, 1) << "before the value is stored";
    int* const absent = nullptr;
    EXPECT_EQ(i32SetPhase(ESnmpSetOpCode::Commit, absent, 2, &undo, effect), 14);
    EXPECT_EQ(effects, 1);
}

TEST(SetPhases, ACommitWhoseEffectThrowsStoresNothing) {
    int field = 1;
    void* undo = nullptr;
    ASSERT_EQ(i32SetPhase(ESnmpSetOpCode::CheckAndSave, &field, 2, &undo), 0);
    EXPECT_THROW(i32SetPhase(ESnmpSetOpCode::Commit, &field, 2, &undo, [] { throw std::bad_alloc(); }), std::bad_alloc);
    EXPECT_EQ(field, 1);
    EXPECT_EQ(i32SetPhase(ESnmpSetOpCode::Release, &field, 2, &undo), 0);
}

}  // namespace
