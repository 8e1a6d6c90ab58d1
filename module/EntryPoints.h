#pragma once

#include <atomic>

#include "module/Api.h"

class DCVHost;

// The names that a host finds in libCVHost.so.1, without C++ name mangling. Init and Close are called by one thread; a
// host may call Init again after Close.

extern "C" {

/// The one module object; null before CVxExtAgentInit and after CVxExtAgentClose.
CVHOST_API extern DCVHost* gpCVHost;
/// The host's sender of notifications, unchanged. No group uses it.
CVHOST_API extern void* gpTrapSender;
/// One byte, false at load. Becomes true when the first start-up has ended, and is never reset.
CVHOST_API extern std::atomic<bool> gbReady;

/// Builds the module and returns it in `*module` as a CVT::BMibImplGroup, which the library owns. Returns at once: the
/// groups come up on a thread of their own, and until then answer from their constructed fields. Returns 1, or 0 and no
/// module when there is no memory for it.
CVHOST_API int CVxExtAgentInit(void** module, void* trapSender);

/// Waits, without limit, until the start-up has ended, looking once a second; then cleans up the module and deletes it.
/// No request may be in progress. Does nothing when there is no module. After it returns, the thread that brought the
/// groups up may still be about to end, and a thread that waits for a dead file system may still be stuck: see
/// CVT::TThread::WaitForSelfDeleting. Always returns 1.
CVHOST_API int CVxExtAgentClose();

/// Does nothing; for hosts that expect the name.
CVHOST_API void CVHost_Init();
}

static_assert(sizeof(std::atomic<bool>) == 1, "hosts poll gbReady as one byte");
