#pragma once

// The host's records of who is logged in (utmp). One thread at a time: the C library keeps one position for all.

/// Whether another process keeps the records locked just now, for writing.
bool bAreUserRecordsLocked();

/// Returns the number of entries of type USER_PROCESS. A process that keeps the records locked is waited for up to 50
/// milliseconds, after which the entries counted so far are all that count. The C library would wait for ten seconds.
unsigned int ui32CountUsers();
