// The three names that the library exports. Everything else is hidden: see CMakeLists.txt.

#include <atomic>
#include <memory>

#include "CVT/TThread.h"
#include "CVT/TTimer.h"
#include "SampleModule.h"

#define SAMPLE_EXPORT extern "C" __attribute__((visibility("default")))

/// Whether initialisation is over. A host checks it to learn when the module can answer.
SAMPLE_EXPORT std::atomic<bool> gbReady;
std::atomic<bool> gbReady = false;

namespace {

std::unique_ptr<sample::SampleModule> theModule;  // from CVxExtAgentInit to CVxExtAgentClose

/// Brings the module up in the background, and deletes itself. Setting gbReady is its last use of the module: from then
/// on CVxExtAgentClose may delete the module.
class StartUp final : public CVT::TThread {
public:
    explicit StartUp(sample::SampleModule& module) : CVT::TThread(true), m_module(module) {}

private:
    unsigned int Run() override {
        m_module.Init();
        gbReady.store(true);
        return 0;
    }

    sample::SampleModule& m_module;
};

}  // namespace

/// Hands the module to the host, and returns at once. 1 means success.
SAMPLE_EXPORT int CVxExtAgentInit(void** module, void* /*trapSender*/) {
    if (module == nullptr || theModule != nullptr) {
        return 0;
    }
    theModule = std::make_unique<sample::SampleModule>();
    auto* const startUp = new StartUp(*theModule);  // owns itself from here on
    if (!startUp->Start(0, 0)) {
        theModule.reset();
        return 0;
    }
    // As the base class, because the host casts the pointer back to that.
    *module = static_cast<CVT::BMibImplGroup*>(theModule.get());
    return 1;
}

/// Ends the module. The host sends no more requests; it unmaps the library when the last self-deleting thread has
/// ended.
SAMPLE_EXPORT int CVxExtAgentClose() {
    constexpr unsigned int kPollMs = 1;
    if (theModule == nullptr) {
        return 0;
    }
    while (!gbReady.load()) {
        CVT::TTimer().Sleep(kPollMs);
    }
    theModule->Cleanup();
    theModule.reset();
    gbReady.store(false);
    return 1;
}
