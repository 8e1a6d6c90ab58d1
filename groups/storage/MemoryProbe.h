#pragma once

#include <atomic>
#include <cstdio>

/// Which figure of /proc/meminfo is wanted.
enum EMemoryFigure : unsigned int {
    kVirtualTotal = 0,
    kVirtualUsed = 1,
    kPhysicalTotal = 2,
    kPhysicalUsed = 3,
};

/// Set when a figure was first found in the layout of one line a key ("MemTotal:  1000 kB"): the figures are kilobytes
/// then, else bytes. Never cleared. Thread-safe.
extern std::atomic<bool> bIsNewMemInfo;

/// A memory figure of the host, an EMemoryFigure, from /proc/meminfo: in bytes from the layout that has one line for all
/// of memory and one for all of swap, in kilobytes from the layout of one line a key. There, virtual memory is
/// VmallocTotal and VmallocUsed, and used memory is MemTotal less the figure on the line below it, the free memory; buffers
/// and cache count as used. Numbers are cut to their low 32 bits. 0 when the file or the figure is not there, and for any
/// other selector in the second layout. Thread-safe.
unsigned int ui32GetMemory(unsigned int selector);

/// The two readers behind ui32GetMemory, over an open file of the one layout or the other.

/// Of the first line that holds the selector's key, the first or second number. False when that line has not both numbers,
/// or no line holds the key.
bool bReadMemoryPerLine(std::FILE* file, unsigned int selector, unsigned int& figure);
/// 0 when no line holds the selector's key.
unsigned int ui32ReadMemoryPerKey(std::FILE* file, unsigned int selector);
