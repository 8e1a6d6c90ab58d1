#pragma once

#include <atomic>

#include "CVT/IMibInfo.h"

namespace CVT {

class BMibImpl;

/// The descriptor that every group carries. It reads its owner's tables, which are complete before a group exists.
class CVT_API BMibInfo final : public IMibInfo {
public:
    BMibInfo() = default;
    ~BMibInfo() override = default;
    BMibInfo(const BMibInfo&) = delete;
    BMibInfo& operator=(const BMibInfo&) = delete;

    /// Called once, by the owner's constructor, before any other operation.
    void SetOwner(BMibImpl* owner) { m_owner = owner; }

    const BString& Name() const override;
    const BObjectIdentifier& Oid() const override;
    bool IsTable() const override;
    std::span<const BRqHndlrEntry> Columns() const override;
    std::span<const BRqHndlrEntry>::iterator ColumnFrom(unsigned int subId) const override;
    const BRqHndlrEntry* FindColumn(unsigned int subId) const override;
    const char* EnumerationName(unsigned int subId, int value) const override;

private:
    const BMibImpl* m_owner = nullptr;
    // 0 until counted. Several threads may count at once; they store the same number, so no ordering is needed.
    mutable std::atomic<unsigned int> m_columnCount = 0;
};

}  // namespace CVT
