#include "groups/storage/DHrStorageTable.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "CVT/TextualConventions.h"
#include "CVT/Warnings.h"
#include "groups/common/SetPhases.h"
#include "groups/storage/DiskStorageType.h"
#include "groups/storage/MemoryProbe.h"
#include "groups/storage/MountFilter.h"

unsigned int lastTableIndex = 0;
unsigned int vVMemIndex = 0;
unsigned int vMemIndex = 0;
struct stat stLastMntFileStat {};

namespace {

/// No request has the identifier 0.
unsigned int lastCheckedRequestId = 0;

/// How many file systems are probed side by side, so that many dead ones together cost little more time than one.
constexpr std::size_t kAskedAtOnce = 64;

constexpr unsigned int kUsedColumn = 6;

const char* StorageTypeOf(const mntent& mount) {
    switch (ui32GetDiskStorageType(&mount)) {
        case kFloppyDisk: return "1.3.6.1.2.1.25.2.1.6";
        case kOpticalDiskRom: return "1.3.6.1.2.1.25.2.1.7";
        default: return "1.3.6.1.2.1.25.2.1.4";
    }
}

template <class Number>
int Cut(Number number) {
    return static_cast<int>(static_cast<unsigned int>(number));
}

int UsedBlocks(const struct statfs& space) { return Cut(space.f_blocks - space.f_bfree); }

}  // namespace

const CVT::BRqHndlrEntry DHrStorageTable::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(1, "hrStorageIndex", CVT::kInteger, &DHrStorageTable::OnGet_HrStorageIndex),
    CVT::Column<CVT::kObjectIdentifierValue>(2, "hrStorageType", CVT::kObjectIdentifier,
                                             &DHrStorageTable::OnGet_HrStorageType),
    CVT::Column<CVT::kDisplayStringValue>(3, "hrStorageDescr", CVT::kOctetString,
                                          &DHrStorageTable::OnGet_HrStorageDescr),
    CVT::Column<CVT::kIntValue>(4, "hrStorageAllocationUnits", CVT::kInteger,
                                &DHrStorageTable::OnGet_HrStorageAllocationUnits),
    CVT::Column<CVT::kIntValue>(5, "hrStorageSize", CVT::kInteger, &DHrStorageTable::OnGet_HrStorageSize,
                                &DHrStorageTable::OnSet_HrStorageSize),
    CVT::Column<CVT::kIntValue>(kUsedColumn, "hrStorageUsed", CVT::kInteger, &DHrStorageTable::OnGet_HrStorageUsed),
    CVT::Column<CVT::kUnsignedValue>(7, "hrStorageAllocationFailures", CVT::kCounter32,
                                     &DHrStorageTable::OnGet_HrStorageAllocationFailures),
    {},
};

const CVT::BConstraintEntry DHrStorageTable::s_sonstraintEntries[] = {
    {CVT::kRange, 1, nullptr, 1, 2147483647}, {CVT::kConvention, 3, CVT::cszDisplayString, 0, 0},
    {CVT::kRange, 4, nullptr, 1, 2147483647}, {CVT::kRange, 5, nullptr, 0, 2147483647},
    {CVT::kRange, 6, nullptr, 0, 2147483647}, {},
};

const char DHrStorageTable::s_pszNVSection[] = "hrStorageTable";

DHrStorageEntry::DHrStorageEntry(unsigned int rowIndex, const mntent* mount) : index(rowIndex) {
    if (mount == nullptr) {
        return;
    }
    mayHang = true;
    Fill(*mount, DMountProbe(mount->mnt_dir, mayHang, DMountProbe::kDirectoryAndSpace).Answer());
}

void DHrStorageEntry::Fill(const mntent& mount, const DMountFigures& figures) {
    descr.Assign(mount.mnt_dir);
    if (!figures.directory) {
        return;
    }
    type.AssignFromDottedDecimalStr(StorageTypeOf(mount));
    allocationUnits = Cut(figures.directory->st_blksize);
    if (figures.space) {
        measuredSize = Cut(figures.space->f_blocks);
        size = isSizeWritten ? size : *measuredSize;
        used = UsedBlocks(*figures.space);
    }
}

DHrStorageTable::DHrStorageTable(CVT::INonVolatile* store)
    : DTable(store, "HOST-RESOURCES-MIB.hrStorageTable", "1.3.6.1.2.1.25.2.3") {
    SetSlowCalls([this](CVT::EReading call, unsigned int requestId, const CVT::BObjectIdentifier& name) {
        return IsSlowToRead(call, requestId, name);
    });
}

void DHrStorageTable::Initialize() {
    const bool watching = m_watch.Open();
    if (GetNumRows() != 0) {
        m_hasNotice = watching;  // nothing has watched since Cleanup
    } else {
        if (const DHostFile file = OpenMountTable()) {
            ::stat(ETC_MNTTAB, &stLastMntFileStat);
            AddMounts(ReadMountTable(file.get()), kAll);
        }
        vVMemIndex = ++lastTableIndex;
        AddMemory(vVMemIndex, "Virtual Memory", "1.3.6.1.2.1.25.2.1.3", kVirtualTotal, kVirtualUsed);
        vMemIndex = ++lastTableIndex;
        AddMemory(vMemIndex, "Physical Memory", "1.3.6.1.2.1.25.2.1.2", kPhysicalTotal, kPhysicalUsed);
    }
    SetActive(1);
}

void DHrStorageTable::Cleanup() {
    m_watch.Close();
    m_unanswered.clear();
    SetActive(0);
}

void DHrStorageTable::vCheckAndUpdateTable(unsigned int requestId) {
    // Rows of mounts that were made before the table comes up would keep it from making those of memory.
    if (!IsActive() || requestId == lastCheckedRequestId) {
        return;
    }
    lastCheckedRequestId = requestId;
    FillLateRows();
    if (std::exchange(m_foundUnchangedFor, std::nullopt) != requestId && HasMountTableChanged()) {
        AddNewMounts();
    }
}

/// Measuring waits for a file system that may hang, and so does probing a new one. After false, the call that follows
/// probes none: a file system mounted meanwhile must not be probed on a thread that cannot wait.
bool DHrStorageTable::IsSlowToRead(CVT::EReading call, unsigned int requestId, const CVT::BObjectIdentifier& name) {
    if (call != CVT::EReading::Get) {
        return false;
    }
    if (IsActive() && requestId != lastCheckedRequestId) {
        if (HasMountTableChanged()) {
            m_foundUnchangedFor.reset();
            return true;
        }
        m_foundUnchangedFor = requestId;
    }
    const unsigned int column = Oid().NumArcs();
    if (name.NumArcs() <= column || name[column] != kUsedColumn) {
        return false;
    }
    const Entry* const row = GetRow(CVT::BObjectIdentifier(name.Arcs().subspan(column + 1)));
    return row != nullptr && MayHang(*row);
}

bool DHrStorageTable::HasNotice() {
    m_hasNotice = m_watch.HasNotice() || m_hasNotice;
    return m_hasNotice;
}

/// A request reads the mount table once, and something else may have been mounted on the row's directory since.
bool DHrStorageTable::MayHang(const Entry& row) { return row.mayHang || HasNotice(); }

bool DHrStorageTable::HasMountTableChanged() {
    if (HasNotice()) {
        return true;
    }
    struct stat now {};
    ::stat(ETC_MNTTAB, &now);
    return now.st_mtime != stLastMntFileStat.st_mtime || now.st_ctime != stLastMntFileStat.st_ctime;
}

void DHrStorageTable::AddNewMounts() {
    if (::stat(ETC_MNTTAB, &stLastMntFileStat) != 0) {  // it is read again once it is back
        stLastMntFileStat = {};
        m_hasNotice = false;
    }
    m_watch.Close();  // a table that was a file may have become the kernel's, and the reverse
    m_watch.Open();
    if (const DHostFile file = OpenMountTable()) {
        m_hasNotice = false;
        AddMounts(ReadMountTable(file.get()), kNewDirectories);
    }
}

void DHrStorageTable::AddMounts(std::vector<DMountEntry> mounts, EWhich which) {
    m_mayHang = {};
    for (const DMountEntry& mount : mounts) {
        m_mayHang.Add(mount.directory, mount.type);
    }
    // Something else may be mounted on a row's directory by now.
    std::unordered_set<std::string> known;
    for (unsigned int place = 0; place < GetNumRows(); ++place) {
        Entry& row = *RowAt(place);
        row.mayHang = m_mayHang.AreOnTheWayTo(row.descr.View());
        known.emplace(row.descr.View());
    }
    std::erase_if(mounts, [&](DMountEntry& mount) {
        const mntent record = mount.Record();
        return bIgnore(&record) || (which == kNewDirectories && !known.insert(mount.directory).second);
    });

    for (std::size_t done = 0; done < mounts.size(); done += kAskedAtOnce) {
        const std::span batch = std::span(mounts).subspan(done, std::min(kAskedAtOnce, mounts.size() - done));
        std::vector<DMountProbe> questions;
        questions.reserve(batch.size());
        for (const DMountEntry& mount : batch) {
            questions.push_back(QuestionTo(mount));
        }
        for (std::size_t i = 0; i < batch.size(); ++i) {
            AddMount(++lastTableIndex, batch[i], std::move(questions[i]));
        }
    }
}

/// Most hosts make it a link to the kernel's own; where a minimal root has none, all file systems are missing at once.
DHostFile DHrStorageTable::OpenMountTable() {
    DHostFile file = OpenHostFile(ETC_MNTTAB);
    if (!file && !m_hasSaidItIsMissing) {
        m_hasSaidItIsMissing = true;
        CVT::Warn(std::string(ETC_MNTTAB) + " cannot be read (" + std::generic_category().message(errno) +
                  "), so hrStorageTable is missing mounted file systems; make it a link to /proc/self/mounts");
    }
    return file;
}

DMountProbe DHrStorageTable::QuestionTo(const DMountEntry& mount) const {
    return {mount.directory.c_str(), m_mayHang.AreOnTheWayTo(mount.directory), DMountProbe::kDirectoryAndSpace};
}

void DHrStorageTable::Fill(Entry& row, const mntent& mount, const DMountFigures& figures) const {
    row.Fill(mount, figures);
    if (!figures.isForbidden) {
        return;
    }
    const bool isSaid =
        DTable::FindRow([&](const Entry& other) { return other.isForbidden && other.descr == row.descr; }) != nullptr;
    row.isForbidden = true;
    if (!isSaid) {
        CVT::Warn(
            std::string(row.descr.View()) + " may not be looked at (" + std::generic_category().message(EACCES) +
            "): its row in hrStorageTable has no type and no figures, which a check may take for 0 % used; let the "
            "agent's user search the folders above it");
    }
}

void DHrStorageTable::AddMount(unsigned int index, DMountEntry mount, DMountProbe question) {
    auto row = std::make_unique<Entry>(index, nullptr);
    row->mayHang = m_mayHang.AreOnTheWayTo(mount.directory);
    Fill(*row, mount.Record(), question.Answer());
    if (Add(std::move(row)) && (question.IsOut() || !question.WasAsked())) {
        m_unanswered.push_back({index, std::move(mount), std::move(question)});
    }
}

void DHrStorageTable::FillLateRows() {
    std::erase_if(m_unanswered, [this](Unanswered& late) {
        if (!late.question.WasAsked()) {
            late.question = DMountProbe(late.mount.directory.c_str(), true, DMountProbe::kDirectoryAndSpace);
        }
        const std::optional<DMountFigures> figures = late.question.LateAnswer();
        Entry* const row = figures ? GetRow(CVT::BObjectIdentifier(late.row)) : nullptr;
        if (row != nullptr) {
            Fill(*row, late.mount.Record(), *figures);
        }
        return figures.has_value();
    });
}

void DHrStorageTable::AddMemory(unsigned int row, const char* descr, const char* type, unsigned int totalSelector,
                                unsigned int usedSelector) {
    auto memory = std::make_unique<Entry>(row, nullptr);
    memory->descr.Assign(descr);
    memory->type.AssignFromDottedDecimalStr(type);
    memory->size = Cut(ui32GetMemory(totalSelector));
    memory->used = Cut(ui32GetMemory(usedSelector));
    memory->allocationUnits = bIsNewMemInfo.load(std::memory_order_relaxed) ? 1024 : 1;
    Add(std::move(memory));
}

bool DHrStorageTable::Add(std::unique_ptr<Entry> row) {
    const bool isNew = InsertRow(CVT::BObjectIdentifier(row->index), row.get());
    if (isNew) {
        static_cast<void>(row.release());  // the table's now
    }
    return isNew;
}

std::unique_ptr<DHrStorageTable::Entry> DHrStorageTable::CreateNewRow(const CVT::BObjectIdentifier& index) {
    if (index.NumArcs() != Index::kArcs) {
        return nullptr;
    }
    return std::make_unique<Entry>(index[0], nullptr);
}

void DHrStorageTable::CreateDemoRow(unsigned int index, const mntent* mount) {
    if (mount == nullptr) {
        Add(std::make_unique<Entry>(index, nullptr));
        return;
    }
    m_mayHang.Add(mount->mnt_dir, mount->mnt_type);
    DMountEntry entry{mount->mnt_fsname, mount->mnt_dir, mount->mnt_type, mount->mnt_opts};
    DMountProbe question = QuestionTo(entry);
    AddMount(index, std::move(entry), std::move(question));
}

const DHrStorageEntry* DHrStorageTable::RowOf(const char* name) const {
    const std::string_view wanted = name == nullptr ? "" : name;
    return DTable::FindRow([&](const Entry& row) { return row.descr.View() == wanted; });
}

unsigned int DHrStorageTable::FindRow(const char* name) const {
    const Entry* const row = RowOf(name);
    return row == nullptr ? 0 : row->index;
}

bool DHrStorageTable::bIsInTable(const char* name) const { return RowOf(name) != nullptr; }

int DHrStorageTable::OnGet_HrStorageIndex(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value) {
    vCheckAndUpdateTable(requestId);
    return GetField(index, &Entry::index, value);
}

int DHrStorageTable::OnGet_HrStorageType(const CVT::BObjectIdentifier& index, unsigned int requestId,
                                         CVT::BObjectIdentifier& value) {
    vCheckAndUpdateTable(requestId);
    return GetField(index, &Entry::type, value);
}

int DHrStorageTable::OnGet_HrStorageDescr(const CVT::BObjectIdentifier& index, unsigned int requestId,
                                          CVT::BOctetString& value) {
    vCheckAndUpdateTable(requestId);
    return GetField(index, &Entry::descr, value);
}

int DHrStorageTable::OnGet_HrStorageAllocationUnits(const CVT::BObjectIdentifier& index, unsigned int requestId,
                                                    int& value) {
    vCheckAndUpdateTable(requestId);
    return GetField(index, &Entry::allocationUnits, value);
}

int DHrStorageTable::OnGet_HrStorageSize(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value) {
    vCheckAndUpdateTable(requestId);
    return GetField(index, &Entry::size, value);
}

int DHrStorageTable::OnGet_HrStorageUsed(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value) {
    vCheckAndUpdateTable(requestId);
    Entry* const row = GetRow(index);
    if (row == nullptr) {
        return CVT::noSuchName;
    }
    if (row->index == vMemIndex) {
        row->used = Cut(ui32GetMemory(kPhysicalUsed));
    } else if (row->index == vVMemIndex) {
        row->used = Cut(ui32GetMemory(kVirtualUsed));
    } else {
        const DMountFigures figures = DMountProbe(row->descr.c_str(), MayHang(*row), DMountProbe::kSpace).Answer();
        if (figures.space) {
            row->used = UsedBlocks(*figures.space);
        }
    }
    value = row->used;
    return CVT::noError;
}

int DHrStorageTable::OnGet_HrStorageAllocationFailures(const CVT::BObjectIdentifier& index, unsigned int requestId,
                                                       unsigned int& value) {
    vCheckAndUpdateTable(requestId);
    return GetField(index, &Entry::allocationFailures, value);
}

int DHrStorageTable::OnSet_HrStorageSize(const CVT::BObjectIdentifier& index, CVT::ESnmpSetOpCode phase,
                                         unsigned int /*requestId*/, const int& value, void** undo) {
    if (phase == CVT::ESnmpSetOpCode::CheckAndSave && value < 0) {
        return CVT::wrongValue;
    }
    struct Size {
        int blocks = 0;
        bool isWritten = false;
    };
    Entry* const row = GetRow(index);
    Size size;
    if (row != nullptr) {
        size = {row->size, row->isSizeWritten};
    }
    const int result = i32SetPhase(phase, row == nullptr ? nullptr : &size, Size{value, true}, undo);
    if (row != nullptr) {
        row->isSizeWritten = size.isWritten;
        // An undo finds what was there at the check, and the file system may have answered since.
        row->size = size.isWritten ? size.blocks : row->measuredSize.value_or(size.blocks);
    }
    return result;
}
