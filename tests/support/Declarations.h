#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "CVT/BMibImpl.h"

/// The declaration of a column by its group.
struct DeclaredColumn {
    unsigned int subId;
    const char* name;
    unsigned int type;
    unsigned int access;  ///< 3 read-only, 4 read-write
    unsigned int valueKind;
};

/// Expects these columns and no others, with the handlers that their access requires.
inline void ExpectColumns(const CVT::BRqHndlrEntry* columns, const std::vector<DeclaredColumn>& declared) {
    for (const DeclaredColumn& wanted : declared) {
        EXPECT_EQ(columns->subId, wanted.subId);
        EXPECT_STREQ(columns->name, wanted.name);
        EXPECT_EQ(columns->type, wanted.type) << wanted.name;
        EXPECT_EQ(columns->access, wanted.access) << wanted.name;
        EXPECT_EQ(columns->valueKind, wanted.valueKind) << wanted.name;
        EXPECT_EQ(columns->reserved, 0U) << wanted.name;
        EXPECT_NE(columns->get.index(), 0U) << wanted.name;
        EXPECT_EQ(columns->set.index() != 0, wanted.access == 4U) << wanted.name;
        ++columns;
    }
    EXPECT_TRUE(columns->IsEnd());
}

/// Expects these constraints and no others.
inline void ExpectConstraints(const CVT::BConstraintEntry* entries, const std::vector<CVT::BConstraintEntry>& wanted) {
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        EXPECT_EQ(entries[i].kind, wanted[i].kind) << i;
        EXPECT_EQ(entries[i].column, wanted[i].column) << i;
        EXPECT_STREQ(entries[i].label, wanted[i].label) << i;
        EXPECT_EQ(entries[i].low, wanted[i].low) << i;
        EXPECT_EQ(entries[i].high, wanted[i].high) << i;
    }
    EXPECT_EQ(entries[wanted.size()].kind, CVT::kEndOfConstraints);
}
