#pragma once

#include "CVT/TThread.h"

/// Brings the module up in the background: calls gpCVHost->Init, then sets gbReady in every case, so that a host's wait
/// for it always ends. Deletes itself; nothing keeps a pointer to it.
class InitThread final : public CVT::TThread {
public:
    /// Starts one. When the system cannot create a thread, the groups come up on the caller's thread instead.
    static void Launch();

    /// Whether the latest start-up has ended; also true when there was none. Thread-safe.
    static bool HasFinished();

protected:
    unsigned int Run() override;

private:
    InitThread() : TThread(true) {}
    ~InitThread() override = default;

    static void BringUp();
};
