#pragma once

// Pieces of lines of the host's files. Thread-safe, as far as the buffers are the caller's own.

/// Cuts off one line feed at the end. Gives the length before that. An empty text stays as it is.
int trimLF(char* text);

/// Cuts `source` at its first line feed and copies what stands before it into `target`, which has room for it. Without a
/// line feed neither is touched: `target` keeps what it held. Gives `target`.
char* pcFormatCPUData(char* source, char* target);
