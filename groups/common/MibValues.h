#pragma once

// Numbers with the same meaning in several tables.

inline constexpr int kReadOnly = 2;  ///< hrDiskStorageAccess and hrFSAccess, beside readWrite(1)
inline constexpr int kTrue = 1;      ///< of the convention TruthValue
