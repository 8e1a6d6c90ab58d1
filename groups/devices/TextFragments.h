#pragma once

// Pieces of lines of the host's files. Thread-safe, as far as the buffers are the caller's own.

/// Removes one line feed at the end. Returns the length that the text had before. An empty text stays unchanged.
int trimLF(char* text);

/// Cuts `source` at its first line feed and copies the text before it into `target`, which must have room for it.
/// Without a line feed neither is touched: `target` keeps its contents. Returns `target`.
char* pcFormatCPUData(char* source, char* target);
