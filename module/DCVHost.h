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
/// Threads. A group is used under its request lock: by the host for requests, and here by Init and Cleanup. The
/// start-up thread initialises the groups one after the other, so a request waits at most for the group that it asks.
/// One group needs another one's lock: the device table, whose discovery creates rows in the tables that share its
/// index. It holds its own lock throughout, and one other for a single row or look-up. To avoid a deadlock, a thread
/// that holds any group's lock does not wait for the device table's. hrSystem, which looks up a device, only tries that
/// lock; once discovery is over it reads the rows, which no longer change, without the lock.
///
/// A place in the handler order without a group is null, and every walk skips it.
class DCVHost final : public CVT::BMibImplGroup, public DConventions {
public:
    /// The number of places in the handler order, whether used or not.
    static constexpr int kNumHandlers = 15;

    /// Filled by InitDefVals, then only read.
    static CVT::BMibDefVal defval;

    /// With a null `store` the module creates one, the file "CVHostPersist.txt" in the working directory, and deletes
    /// the object at the end; a store passed in stays the caller's and must outlive the module. With `systemOnly` only
    /// the first place of the handler order is filled.
    DCVHost(CVT::INonVolatile* store, bool systemOnly);
    ~DCVHost() override;

    /// Fills the default values, then brings up each group in handler order. A group that throws is skipped. Returns
    /// the result of the last wait for a lock.
    unsigned int Init() override;
    /// Ends each group's work in handler order, likewise.
    unsigned int Cleanup() override;
    int NumHandlers() override;
    CVT::BMibImpl* HandlerAt(int place) override;
    const CVT::BConstraintEntry* GetTCConstraintMap() const override;
    void InitDefVals() override;

    // Single groups, for others that look things up or create rows in them. Null when the group does not exist.
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

/// Calls an operation of every group of a module, in handler order, each under its group's request lock. Empty places
/// are skipped. A group that throws is skipped as well: its failure must not keep the others from coming up, nor from
/// ending. Returns the result of the last wait for a lock.
unsigned int ui32ForEachHandler(CVT::BMibImplGroup& module, void (CVT::BMibImpl::*operation)());
