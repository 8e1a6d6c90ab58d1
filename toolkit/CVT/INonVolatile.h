#pragma once

#include "CVT/Api.h"
#include "CVT/BString.h"

namespace CVT {

/// A store of texts, by section and key, that outlives the process. A group's section is its s_pszNVSection.
/// Thread-safe.
class CVT_API INonVolatile {
public:
    virtual ~INonVolatile() = default;

    /// Returns false and leaves `value` untouched when nothing is stored there.
    virtual bool Read(const BString& section, const BString& key, BString& value) = 0;
    /// Stores the value in memory at once, and permanently with the next Save.
    virtual void Write(const BString& section, const BString& key, const BString& value) = 0;
    /// Returns false when nothing was stored there.
    virtual bool Remove(const BString& section, const BString& key) = 0;
    /// Makes the present content permanent, all of it; when it returns false, none of it.
    virtual bool Save() = 0;
};

}  // namespace CVT
