#pragma once

#include "CVT/TThread.h"

/// Brings the module up in the background: calls gpCVHost->Init, then sets gbReady, in every case, so that a host that
/// waits for it always ends. Deletes itself; nobody keeps a pointer to it.
class InitThread final : public CVT::TThread {
public:
    /// Starts one. When the system has no thread to give, the groups come up on the caller's instead.
    static void Launch();

    /// Whether the latest start-up has ended. True when there was none. Thread-safe.
    static bool HasFinished();

protected:
    unsigned int Run() override;

private:
    InitThread() : TThread(true) {}
    ~InitThread() override = default;

    static void BringUp();
};
