#pragma once

#include "CVT/BMibScalarGroupImpl.h"
#include "CVT/INonVolatile.h"

/// What every group of the module adds to the toolkit's base: it holds the module's store, although no group keeps
/// anything in it yet, and its active flag follows Initialize and Cleanup. Initialize is called before any request has
/// changed the group, Cleanup when no request will follow; both under the request lock.
template <class Base>
class DGroup : public Base {
public:
    void Initialize() override { this->SetActive(1); }
    void Cleanup() override { this->SetActive(0); }

    /// Written values last until the module is unloaded, so there is nothing to load. Always 0.
    int LoadFromNV() { return 0; }
    int SaveToNV() { return LoadFromNV(); }

protected:
    /// The store must outlive the group. It may be null.
    DGroup(CVT::INonVolatile* store, const char* name, const char* oid) : Base(name, oid), m_store(store) {}

private:
    [[maybe_unused]] CVT::INonVolatile* m_store;  // for values that must outlive the module, once there are any
};

using DScalarGroup = DGroup<CVT::BMibScalarGroupImpl>;
