#pragma once

#include "CVT/Api.h"
#include "CVT/BString.h"

namespace CVT {

/// A store of texts under section and key that outlives the process. A group's section is its s_pszNVSection.
/// Thread-safe.
class CVT_API INonVolatile {
public:
    virtual ~INonVolatile() = default;

    /// False, and `value` untouched, when nothing is stored there.
    virtual bool Read(const BString& section, const BString& key, BString& value) = 0;
    /// Stores in memory at once, and for good with the next Save.
    virtual void Write(const BString& section, const BString& key, const BString& value) = 0;
    /// False when nothing was stored there.
    virtual bool Remove(const BString& section, const BString& key) = 0;
    /// Makes the present content permanent, all of it or, when it gives false, none.
    virtual bool Save() = 0;
};

}  // namespace CVT
