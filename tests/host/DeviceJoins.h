#pragma once

// What must hold between the tables of devices on every host.

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "CVT/BMibEngine.h"
#include "tests/support/Walk.h"

/// The instances of a column by their indexes in dotted text.
inline std::map<std::string, CVT::BVarBind> ColumnOf(CVT::BMibEngine& engine, const std::string& oid) {
    std::map<std::string, CVT::BVarBind> column;
    const CVT::BObjectIdentifier under{CVT::BString(oid.c_str())};
    for (const CVT::BVarBind& varBind : Walk(engine, oid.c_str())) {
        const CVT::BObjectIdentifier index(varBind.name.Arcs().subspan(under.NumArcs()));
        column.emplace(index.ToString().View(), varBind);
    }
    return column;
}

inline std::set<std::string> IndexesOf(CVT::BMibEngine& engine, const std::string& oid) {
    std::set<std::string> indexes;
    for (const auto& [index, varBind] : ColumnOf(engine, oid)) {
        indexes.insert(index);
    }
    return indexes;
}

/// The indexes of the devices whose type ends in this arc.
inline std::set<std::string> DevicesOfType(CVT::BMibEngine& engine, unsigned int type) {
    std::set<std::string> devices;
    for (const auto& [index, varBind] : ColumnOf(engine, "1.3.6.1.2.1.25.3.2.1.2")) {
        if (varBind.identifier[varBind.identifier.NumArcs() - 1] == type) {
            devices.insert(index);
        }
    }
    return devices;
}

/// Expects that each processor, network interface, printer and disk has one row in the table for its kind, and vice
/// versa, and that each partition belongs to a disk.
inline void ExpectOneRowForEachDevice(CVT::BMibEngine& engine) {
    EXPECT_EQ(DevicesOfType(engine, 3), IndexesOf(engine, "1.3.6.1.2.1.25.3.3.1.2"));
    EXPECT_EQ(DevicesOfType(engine, 4), IndexesOf(engine, "1.3.6.1.2.1.25.3.4.1.1"));
    EXPECT_EQ(DevicesOfType(engine, 5), IndexesOf(engine, "1.3.6.1.2.1.25.3.5.1.1"));
    const std::set<std::string> disks = DevicesOfType(engine, 6);
    EXPECT_EQ(disks, IndexesOf(engine, "1.3.6.1.2.1.25.3.6.1.1"));
    for (const std::string& partition : IndexesOf(engine, "1.3.6.1.2.1.25.3.7.1.1")) {
        EXPECT_TRUE(disks.contains(partition.substr(0, partition.find('.')))) << partition;
    }
}

/// Expects each value of the column to be the index of a row of the other table, or 0.
inline void ExpectIndexesOfRows(CVT::BMibEngine& engine, const std::string& column, const std::string& rows) {
    const std::set<std::string> indexes = IndexesOf(engine, rows);
    for (const auto& [index, varBind] : ColumnOf(engine, column)) {
        EXPECT_TRUE(varBind.integer == 0 || indexes.contains(std::to_string(varBind.integer)))
            << column << "." << index << " is " << varBind.integer;
    }
}

/// hrFSStorageIndex and hrPartitionFSIndex.
inline void ExpectIndexesThatLeadToRows(CVT::BMibEngine& engine) {
    ExpectIndexesOfRows(engine, "1.3.6.1.2.1.25.3.8.1.7", "1.3.6.1.2.1.25.2.3.1.1");
    ExpectIndexesOfRows(engine, "1.3.6.1.2.1.25.3.7.1.5", "1.3.6.1.2.1.25.3.8.1.1");
}
