#pragma once

#include <cstdint>
#include <optional>

#include "CVT/BObjectIdentifier.h"
#include "CVT/BOctetString.h"
#include "groups/common/DRows.h"

/// One process of hrSWRunTable. The index is its process id.
struct DHrSWRunEntry {
    void SetIndex(const DSingleIndex& value) { index = value.row; }

    unsigned int index = 0;
    CVT::BOctetString name;
    CVT::BOctetString path;
    CVT::BOctetString parameters;
    int type = 4;                            ///< hrSWRunType: operatingSystem(2), application(4)
    int status = 2;                          ///< hrSWRunStatus: running(1), runnable(2), notRunnable(3), invalid(4)
    int perfCPU = 1;                         ///< clock ticks of children that the process has waited for
    int perfMem = 0;                         ///< pages
    std::optional<std::uint64_t> startTime;  ///< clock ticks after the host's start; absent when it could not be read

    /// Whether both are the same process, rather than a later one with the same process id. Unknown start times count
    /// as the same process.
    bool IsSameProcess(std::optional<std::uint64_t> otherStart) const {
        return !startTime || !otherStart || *startTime == *otherStart;
    }

    static const CVT::BObjectIdentifier id;  ///< 0.0; shared, because it would be half of a row
};
