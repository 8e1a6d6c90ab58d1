#include "module/DCVHost.h"

#include "CVT/BFileNV.h"
#include "CVT/HandlerCall.h"
#include "groups/devices/DHrDeviceTable.h"
#include "groups/devices/DHrDiskStorageTable.h"
#include "groups/devices/DHrPartitionTable.h"
#include "groups/hardware/DHrNetworkTable.h"
#include "groups/hardware/DHrPrinterTable.h"
#include "groups/hardware/DHrProcessorTable.h"
#include "groups/software/DHrSWInstalled.h"
#include "groups/software/DHrSWInstalledTable.h"
#include "groups/software/DHrSWRun.h"
#include "groups/software/DHrSWRunPerfTable.h"
#include "groups/software/DHrSWRunTable.h"
#include "groups/storage/DHrFSTable.h"
#include "groups/storage/DHrStorage.h"
#include "groups/storage/DHrStorageTable.h"
#include "groups/system/DHrSystem.h"

CVT::BMibDefVal DCVHost::defval;

const CVT::BConstraintEntry DCVHost::s_tcConstraints[] = {
    {CVT::kRange, 0, cszInternationalDisplayString, 0, 128},
    {CVT::kRange, 0, cszKBytes, 0, 2147483647},
    {CVT::kRange, 0, cszInterfaceIndexOrZero, 0, 2147483647},
    {},
};

namespace {

constexpr const char* kStoreFile = "CVHostPersist.txt";

/// Under the number that is reserved for examples and documentation.
constexpr const char* kEnterpriseOid = "1.3.6.1.4.1.32473";

}  // namespace

DCVHost::DCVHost(CVT::INonVolatile* store, bool systemOnly)
    : BMibImplGroup("CVHost"), m_store(store), m_storeSuppliedByCaller(store != nullptr), m_systemOnly(systemOnly) {
    if (!m_storeSuppliedByCaller) {
        m_store = new CVT::BFileNV(kStoreFile, true);
    }
    m_handlers[0] = new DHrSystem(m_store);
    if (m_systemOnly) {
        return;
    }
    m_handlers[1] = new DHrStorage(m_store);
    m_handlers[2] = new DHrStorageTable(m_store);
    m_handlers[3] = new DHrDeviceTable(m_store);
    m_handlers[4] = new DHrProcessorTable(m_store);
    m_handlers[5] = new DHrNetworkTable(m_store);
    m_handlers[6] = new DHrPrinterTable(m_store);
    m_handlers[7] = new DHrDiskStorageTable(m_store);
    m_handlers[8] = new DHrPartitionTable(m_store);
    m_handlers[9] = new DHrFSTable(m_store);
    m_handlers[10] = new DHrSWRun(m_store);
    auto* const runTable = new DHrSWRunTable(m_store);
    m_handlers[11] = runTable;
    m_handlers[12] = new DHrSWRunPerfTable(*runTable);
    m_handlers[13] = new DHrSWInstalled(m_store);
    m_handlers[14] = new DHrSWInstalledTable(m_store);
}

DCVHost::~DCVHost() {
    for (CVT::BMibImpl* const handler : m_handlers) {
        delete handler;
    }
    if (!m_storeSuppliedByCaller) {
        delete m_store;
    }
}

unsigned int ui32ForEachHandler(CVT::BMibImplGroup& module, void (CVT::BMibImpl::*operation)()) {
    for (int place = 0; place < module.NumHandlers(); ++place) {
        CVT::BMibImpl* const handler = module.HandlerAt(place);
        if (handler == nullptr) {
            continue;
        }
        const CVT::TMutex::Guard guard(handler->RequestLock());
        // The module has no log: a group that throws simply stays inactive.
        CVT::detail::WithoutThrowing([&] {
            (handler->*operation)();
            return CVT::noError;
        });
    }
    return CVT::kWaitSignalled;  // a wait without limit has no other result
}

unsigned int DCVHost::Init() {
    InitDefVals();
    return ui32ForEachHandler(*this, &CVT::BMibImpl::Initialize);
}

unsigned int DCVHost::Cleanup() { return ui32ForEachHandler(*this, &CVT::BMibImpl::Cleanup); }

int DCVHost::NumHandlers() { return kNumHandlers; }

CVT::BMibImpl* DCVHost::HandlerAt(int place) {
    const auto index = static_cast<unsigned int>(place);
    return index < m_handlers.size() ? m_handlers[index] : nullptr;
}

DHrStorageTable* DCVHost::StorageTable() const { return static_cast<DHrStorageTable*>(m_handlers[2]); }

DHrDeviceTable* DCVHost::DeviceTable() const { return static_cast<DHrDeviceTable*>(m_handlers[3]); }

DHrProcessorTable* DCVHost::ProcessorTable() const { return static_cast<DHrProcessorTable*>(m_handlers[4]); }

DHrNetworkTable* DCVHost::NetworkTable() const { return static_cast<DHrNetworkTable*>(m_handlers[5]); }

DHrPrinterTable* DCVHost::PrinterTable() const { return static_cast<DHrPrinterTable*>(m_handlers[6]); }

DHrDiskStorageTable* DCVHost::DiskStorageTable() const { return static_cast<DHrDiskStorageTable*>(m_handlers[7]); }

DHrPartitionTable* DCVHost::PartitionTable() const { return static_cast<DHrPartitionTable*>(m_handlers[8]); }

DHrFSTable* DCVHost::FSTable() const { return static_cast<DHrFSTable*>(m_handlers[9]); }

const CVT::BConstraintEntry* DCVHost::GetTCConstraintMap() const { return s_tcConstraints; }

void DCVHost::InitDefVals() {
    defval.integer = 0;
    defval.octets.AssignFromHexString("");
    defval.opaque.AssignFromHexString("");
    defval.displayString = CVT::BOctetString("Corvanta", 0);
    defval.objectIdentifier.AssignFromDottedDecimalStr(kEnterpriseOid);
    defval.numbers.fill(0);
    defval.ipAddress.AssignFromDottedDecimalStr("127.0.0.1");
}
