#pragma once

#include <array>

#include "CVT/BMibDefVal.h"
#include "CVT/BMibImplGroup.h"
#include "CVT/INonVolatile.h"
#include "groups/common/DConventions.h"

class DHrDeviceTable;
class DHrDiskStorageTable;
class DHrFSTable;
class DHrNetworkTable;
class DHrPartitionTable;
class DHrPrinterTable;
class DHrProcessorTable;
class DHrStorageTable;

/// The module: owner of one object for each MIB group, and of the non-volatile store that they share.
///
/// Threads. A group is used under its request lock: by the host for requests, by Init and Cleanup here. The start-up
/// thread comes to one group after the other, so a request waits at most for the group that it asks. One group needs a
/// second one's lock: the device table, whose discovery makes rows in the tables that share its index. It holds its own
/// throughout, and one other for a single row or look-up. So that none waits in a circle, whoever holds any group's lock
/// does not wait for the device table's: hrSystem, which looks up a device, only tries it, and once discovery is over reads
/// those rows, which do not change any more, without it.
///
/// A place in the handler order whose group is not there is null, and every walk passes over it.
class DCVHost final : public CVT::BMibImplGroup, public DConventions {
public:
    /// How many places the handler order has, whether all are taken or not.
    static constexpr int kNumHandlers = 15;

    /// Filled by InitDefVals, only read afterwards.
    static CVT::BMibDefVal defval;

    /// With a null `store` the module makes one, the file "CVHostPersist.txt" in the working directory, and deletes it in
    /// the end; a store that is given stays the caller's and must outlive the module. With `systemOnly` only the first
    /// place of the handler order is filled.
    DCVHost(CVT::INonVolatile* store, bool systemOnly);
    ~DCVHost() override;

    /// Fills the default values, then brings up each group in handler order. A group that throws is passed over. Returns
    /// the result of the last wait for a lock.
    unsigned int Init() override;
    /// Ends each group's work in handler order; likewise.
    unsigned int Cleanup() override;
    int NumHandlers() override;
    CVT::BMibImpl* HandlerAt(int place) override;
    const CVT::BConstraintEntry* GetTCConstraintMap() const override;
    void InitDefVals() override;

    // Single groups, for the others that look things up in them or make rows there. Null when the group is not there.
    DHrStorageTable* StorageTable() const;
    DHrDeviceTable* DeviceTable() const;
    DHrProcessorTable* ProcessorTable() const;
    DHrNetworkTable* NetworkTable() const;
    DHrPrinterTable* PrinterTable() const;
    DHrDiskStorageTable* DiskStorageTable() const;
    DHrPartitionTable* PartitionTable() const;
    DHrFSTable* FSTable() const;

    bool IsSystemOnly() const { return m_systemOnly; }

private:
    static const CVT::BConstraintEntry s_tcConstraints[];

    CVT::INonVolatile* m_store;
    bool m_storeSuppliedByCaller;
    std::array<CVT::BMibImpl*, kNumHandlers> m_handlers{};
    bool m_systemOnly;
};

/// Calls an operation of every group of a module, in handler order, each under its group's request lock; empty places are
/// passed over. A group that throws is passed over as well: one that fails must not keep the others from coming up, nor
/// from ending. Returns the result of the last wait for a lock.
unsigned int ui32ForEachHandler(CVT::BMibImplGroup& module, void (CVT::BMibImpl::*operation)());
