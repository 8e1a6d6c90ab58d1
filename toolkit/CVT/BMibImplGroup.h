#pragma once

#include "CVT/Api.h"
#include "CVT/BConstraintEntry.h"
#include "CVT/BMibImpl.h"
#include "CVT/BString.h"

namespace CVT {

/// The base of a module's own object. A host gets it from a module's entry point and knows the module only through it.
class CVT_API BMibImplGroup {
public:
    BMibImplGroup(const BMibImplGroup&) = delete;
    BMibImplGroup& operator=(const BMibImplGroup&) = delete;
    virtual ~BMibImplGroup();

    /// Brings the groups up, each under its request lock. The module calls it, on a thread of its choice.
    virtual unsigned int Init() = 0;
    /// Ends the groups' work, each under its request lock. No request may follow.
    virtual unsigned int Cleanup() = 0;
    /// The number of places that HandlerAt has.
    virtual int NumHandlers() = 0;
    /// Returns the group at a place; the module owns it. Null for an empty place and outside 0..NumHandlers() - 1.
    virtual BMibImpl* HandlerAt(int place) = 0;
    /// The module's own textual conventions: null, or a table that ends with an all-zero entry.
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
