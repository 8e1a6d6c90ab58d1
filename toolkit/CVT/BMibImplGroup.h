#pragma once

#include "CVT/Api.h"
#include "CVT/BConstraintEntry.h"
#include "CVT/BMibImpl.h"
#include "CVT/BString.h"

namespace CVT {

/// The base of a module's own object: what a host gets from a module's entry point, and all that it knows of the module.
class CVT_API BMibImplGroup {
public:
    BMibImplGroup(const BMibImplGroup&) = delete;
    BMibImplGroup& operator=(const BMibImplGroup&) = delete;
    virtual ~BMibImplGroup();

    /// Brings the groups up, each under its request lock. The module calls it, on a thread of its own choice.
    virtual unsigned int Init() = 0;
    /// Ends the groups' work, each under its request lock; no request may follow.
    virtual unsigned int Cleanup() = 0;
    /// How many places HandlerAt has.
    virtual int NumHandlers() = 0;
    /// The group at a place, owned by the module; null for an empty place and outside 0..NumHandlers() - 1.
    virtual BMibImpl* HandlerAt(int place) = 0;
    /// The module's own textual conventions; null or a table that ends with an all-zero entry.
    virtual const BConstraintEntry* GetTCConstraintMap() const = 0;
    /// Fills the module's default values.
    virtual void InitDefVals() = 0;

    const BString& Name() const { return m_name; }

protected:
    explicit BMibImplGroup(const BString& name) : m_name(name) {}

private:
    BString m_name;
};

}  // namespace CVT
