#pragma once

#include <atomic>

#include "module/Api.h"

class DCVHost;

// What a host finds in libCVHost.so.1, by these plain names. Init and Close are called by one thread; a host may call
// Init again after Close.

extern "C" {

/// The one module object; null before CVxExtAgentInit and after CVxExtAgentClose.
CVHOST_API extern DCVHost* gpCVHost;
/// The host's sender of notifications, as it came in. No group uses it.
CVHOST_API extern void* gpTrapSender;
/// One byte, false at load: turns true when the first start-up has ended, and is never set back.
CVHOST_API extern std::atomic<bool> gbReady;

/// Builds the module and hands it out in `*module` as a CVT::BMibImplGroup, which stays the library's. Returns at once:
/// the groups come up on a thread of their own, and until then answer from their constructed fields. 1, or 0 and no module
/// when there is no memory for it.
CVHOST_API int CVxExtAgentInit(void** module, void* trapSender);

/// Waits, without limit, until the start-up has ended, looking once a second; then cleans the module up and deletes it.
/// No request may be under way. Does nothing when there is no module any more. When it has returned, the thread that
/// brought the groups up may still be about to end, and one that asks a file system that has died may be stuck: see
/// CVT::TThread::WaitForSelfDeleting. Always 1.
CVHOST_API int CVxExtAgentClose();

/// Does nothing; for hosts that look for it.
CVHOST_API void CVHost_Init();
}

static_assert(sizeof(std::atomic<bool>) == 1, "hosts poll gbReady as one byte");
