#pragma once

#include <atomic>

#include "groups/common/DTable.h"

/// The last arc of hrDeviceType, below 1.3.6.1.2.1.25.3.1.
enum EDeviceType : unsigned int {
    kProcessorDevice = 3,
    kNetworkDevice = 4,
    kPrinterDevice = 5,
    kDiskStorageDevice = 6,
    kKeyboardDevice = 13,
    kParallelPortDevice = 15,
    kPointingDevice = 16,
    kSerialPortDevice = 17,
};

/// A device of the host.
struct DHrDeviceEntry {
    void SetIndex(const DSingleIndex& value) { index = static_cast<int>(value.row); }

    int index = 1;
    CVT::BObjectIdentifier type = s_typeRoot;  ///< discovery appends an EDeviceType
    CVT::BString description;
    CVT::BObjectIdentifier id = s_noId;  ///< 0.0 always
    int status = 1;                      ///< hrDeviceStatus: unknown(1), running(2)
    unsigned int errors = 0;             ///< 0 always

    static const CVT::BObjectIdentifier s_typeRoot;  ///< 1.3.6.1.2.1.25.3.1
    static const CVT::BObjectIdentifier s_noId;
};

/// hrDeviceTable: the devices that the host had when the module came up. Discovery creates the rows, here and in the
/// tables that share their index, once for each start-up; nothing changes or removes them afterwards.
///
/// Everything is called under the request lock, except AreRowsFinal and code that only reads rows once that is true.
/// Initialize holds the lock while discovery runs, and takes the locks of the other tables one at a time, each for one
/// row or one look-up. A thread that holds another table's lock must therefore not wait for this one.
class DHrDeviceTable final : public DTable<DHrDeviceEntry> {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
    static const char s_pszNVSection[];

    explicit DHrDeviceTable(CVT::INonVolatile* store);

    /// Discovers devices. A second call adds those whose descriptions are new; no thread may be reading rows without
    /// the lock at that time.
    void Initialize() override;
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    void vCreateTables();
    /// Whether discovery is over and the rows no longer change; from then on they may be read without the lock.
    /// Thread-safe.
    bool AreRowsFinal() const { return m_areRowsFinal.load(std::memory_order_acquire); }
    /// Whether a row has exactly this description.
    bool bRowExists(const CVT::BString& description) const;
    /// Returns the position, from 1 in index order, of the first row of an EDeviceType; -1 when there is none.
    int FirstPlaceOfType(EDeviceType type) const;

    int OnGet_HrDeviceIndex(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrDeviceType(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BObjectIdentifier& value);
    int OnGet_HrDeviceDescr(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
    int OnGet_HrDeviceID(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BObjectIdentifier& value);
    int OnGet_HrDeviceStatus(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrDeviceErrors(const CVT::BObjectIdentifier& index, unsigned int requestId, unsigned int& value);

private:
    std::atomic<bool> m_areRowsFinal = false;
};
