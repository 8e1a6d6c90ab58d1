#pragma once

#include <atomic>
#include <cstdio>
#include <memory>

#include "groups/common/DTable.h"

class ProcessorWThread;

/// A processor. Its index is that of its device.
struct DHrProcessorEntry {
    CVT::BObjectIdentifier frwId = s_frwId;
    std::atomic<int> load = 0;   ///< percent; written by the sampler, read by requests, and nothing else depends on it
    unsigned int prevTotal = 0;  ///< clock ticks at the previous sample; used only by the sampler, like the next
    unsigned int prevIdle = 0;

    /// 1.3.6.1.2.1.25.3.3.1.1, the name of the column itself.
    static const CVT::BObjectIdentifier s_frwId;
};

/// hrProcessorTable: the load of each processor, measured every 15 seconds by a thread of the table.
///
/// Device discovery creates the rows, in the kernel's order of processors, before the thread starts. Nothing adds or
/// removes a row while the thread runs, so it reads them without the request lock. Everything else is called under that
/// lock.
class DHrProcessorTable final : public DTable<DHrProcessorEntry> {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
    static const char s_pszNVSection[];

    explicit DHrProcessorTable(CVT::INonVolatile* store);
    ~DHrProcessorTable() override;

    /// Starts the sampler. The first sample is taken 15 seconds later and measures the load since the host was started.
    void Initialize() override;
    /// Ends the sampler, which wakes at once. A sampler in the middle of a sample gets one second and is then
    /// terminated.
    void Cleanup() override;
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    int OnGet_HrProcessorFrwID(const CVT::BObjectIdentifier& index, unsigned int requestId,
                               CVT::BObjectIdentifier& value);
    int OnGet_HrProcessorLoad(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);

    /// Takes a sample from /proc/stat, if there are processors and the file opens. Called only by the sampler.
    void TakeSample();
    /// The same from an open file. The row at position k takes the line that begins with "cpu" and k, if that line
    /// comes in its turn. A line that does not is skipped, and still counts as a turn.
    void TakeSampleOf(std::FILE* stat);

private:
    void EndSampler();

    std::unique_ptr<ProcessorWThread> m_thread;  // null when no sampler runs
};
