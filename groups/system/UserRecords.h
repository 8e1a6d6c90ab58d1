#pragma once

// The host's records of who is logged in (utmp). One thread at a time: the C library keeps one position for all.

/// Whether another process keeps the records locked just now, for writing.
bool bAreUserRecordsLocked();

/// Returns the number of entries of type USER_PROCESS. Waits up to 50 milliseconds for another process that keeps the
/// records locked, and then returns the number of entries read so far. The C library would wait for ten seconds.
unsigned int ui32CountUsers();
