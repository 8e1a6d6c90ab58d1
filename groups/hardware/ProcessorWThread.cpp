#include "groups/hardware/ProcessorWThread.h"

#include "groups/hardware/DHrProcessorTable.h"

namespace {

constexpr unsigned int kWakeMs = 250;
constexpr int kWakesBetweenSamples = 60;
constexpr unsigned int kStopMs = 1000;

}  // namespace

void ProcessorWThread::End() {
    m_stop.Set();
    if (!Stop(kStopMs)) {
        Terminate();
    }
}

unsigned int ProcessorWThread::Run() {
    int countdown = kWakesBetweenSamples;
    while (m_stop.Wait(kWakeMs) == CVT::kWaitTimeout) {
        if (--countdown > 0) {
            continue;
        }
        m_table.TakeSample();
        countdown = kWakesBetweenSamples;
    }
    return 0;
}
