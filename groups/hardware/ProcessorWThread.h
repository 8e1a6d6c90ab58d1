#pragma once

#include "CVT/TEvent.h"
#include "CVT/TThread.h"

class DHrProcessorTable;

/// The sampler of the processors' load: takes a sample of its table every 15 seconds, the first one 15 seconds after
/// its start. It wakes every 250 ms, and at once when asked to end. Belongs to its table, which must outlive it.
class ProcessorWThread final : public CVT::TThread {
public:
    explicit ProcessorWThread(DHrProcessorTable& table) : TThread(false), m_table(table) {}

    /// Asks the thread to end, waits one second for it, and terminates it if it has not ended by then. Must be called
    /// before the object is destroyed.
    void End();

protected:
    unsigned int Run() override;

private:
    DHrProcessorTable& m_table;
    CVT::TEvent m_stop{true, true};
};
