#pragma once

#include <atomic>
#include <cstdio>

/// The figures of /proc/meminfo.
enum EMemoryFigure : unsigned int {
    kVirtualTotal = 0,
    kVirtualUsed = 1,
    kPhysicalTotal = 2,
    kPhysicalUsed = 3,
};

/// Set when a figure was first found in the layout with one line for each key ("MemTotal: 1000 kB"): the figures are
/// then kilobytes, otherwise bytes. Never cleared. Thread-safe.
extern std::atomic<bool> bIsNewMemInfo;

/// Returns a memory figure of the host, an EMemoryFigure, from /proc/meminfo. It is in bytes in the layout with one
/// line for all memory and one for all swap, and in kilobytes in the layout with one line for each key. In the second
/// layout, virtual memory is VmallocTotal and VmallocUsed. Used memory is there MemTotal less the figure on the next
/// line, the free memory; buffers and cache count as used. Numbers are cut to their low 32 bits. Returns 0 when the
/// file or the figure is missing, and for any other selector in the second layout. Thread-safe.
unsigned int ui32GetMemory(unsigned int selector);

/// The two readers used by ui32GetMemory, one for each layout, over an open file.

/// Reads the first or second number of the first line that contains the selector's key. Returns false when that line
/// does not have both numbers, or no line contains the key.
bool bReadMemoryPerLine(std::FILE* file, unsigned int selector, unsigned int& figure);
/// Returns 0 when no line contains the selector's key.
unsigned int ui32ReadMemoryPerKey(std::FILE* file, unsigned int selector);
