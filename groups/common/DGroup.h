#pragma once

#include "CVT/BMibScalarGroupImpl.h"
#include "CVT/INonVolatile.h"

/// What every group of the module is beyond the toolkit's base: it keeps the module's store, in which none keeps
/// anything, and its active flag follows Initialize and Cleanup. Initialize is called when no request has changed the
/// group yet, Cleanup when none will follow; both under the request lock.
template <class Base>
class DGroup : public Base {
public:
    void Initialize() override { this->SetActive(1); }
    void Cleanup() override { this->SetActive(0); }

    /// Values that were written live until the module is unloaded. 0 always.
    int LoadFromNV() { return 0; }
    int SaveToNV() { return LoadFromNV(); }

protected:
    /// The store must outlive the group. It may be null.
    DGroup(CVT::INonVolatile* store, const char* name, const char* oid) : Base(name, oid), m_store(store) {}

private:
    [[maybe_unused]] CVT::INonVolatile* m_store;  // for values that are to outlive the module, when there are some
};

using DScalarGroup = DGroup<CVT::BMibScalarGroupImpl>;
