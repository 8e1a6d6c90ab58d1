#include "module/EntryPoints.h"

#include <exception>
#include <utility>

#include "CVT/TTimer.h"
#include "module/DCVHost.h"
#include "module/InitThread.h"

DCVHost* gpCVHost = nullptr;
void* gpTrapSender = nullptr;
std::atomic<bool> gbReady = false;

namespace {

constexpr unsigned int kReadyPollMs = 1000;

}  // namespace

int CVxExtAgentInit(void** module, void* trapSender) {
    try {
        gpCVHost = new DCVHost(nullptr, false);
        InitThread::Launch();
    } catch (const std::exception&) {  // out of memory: the result tells the host, which may be C
        delete std::exchange(gpCVHost, nullptr);
        return 0;
    }
    gpTrapSender = trapSender;
    *module = static_cast<CVT::BMibImplGroup*>(gpCVHost);
    return 1;
}

int CVxExtAgentClose() {
    // gbReady covers only the first start-up: during a second Init in the same process it is already true.
    while (!gbReady.load() || !InitThread::HasFinished()) {
        CVT::TTimer().Sleep(kReadyPollMs);
    }
    if (gpCVHost == nullptr) {
        return 1;
    }
    gpCVHost->Cleanup();
    delete gpCVHost;
    gpCVHost = nullptr;
    return 1;
}

void CVHost_Init() {}
