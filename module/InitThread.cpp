#include "module/InitThread.h"

#include <atomic>

#include "module/DCVHost.h"
#include "module/EntryPoints.h"

namespace {

std::atomic<bool> s_finished = true;

/// Marks the start-up as over, even when it ends by an exception.
struct Finish {
    Finish() = default;
    Finish(const Finish&) = delete;
    Finish& operator=(const Finish&) = delete;
    ~Finish() {
        s_finished.store(true);  // first: a host that sees gbReady may call Close, which checks both
        gbReady.store(true);
    }
};

}  // namespace

void InitThread::Launch() {
    auto* const thread = new InitThread;
    s_finished.store(false);
    if (!thread->Start(0, 0)) {
        BringUp();
    }
}

bool InitThread::HasFinished() { return s_finished.load(); }

void InitThread::BringUp() {
    const Finish finish;
    if (gpCVHost != nullptr) {
        gpCVHost->Init();
    }
}

unsigned int InitThread::Run() {
    BringUp();
    return 0;
}
