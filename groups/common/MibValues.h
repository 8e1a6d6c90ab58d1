#pragma once

// Numbers that mean the same in several tables.

inline constexpr int kReadOnly = 2;  ///< hrDiskStorageAccess and hrFSAccess, beside readWrite(1)
inline constexpr int kTrue = 1;      ///< of the convention TruthValue
