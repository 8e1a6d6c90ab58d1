#pragma once

#include <map>

#include "CVT/BObjectIdentifier.h"

namespace cvtagentd {

/// The stretches of one group in which a request has found nothing to show, so that it walks through none of them
/// twice, however many of its varbinds lead there and however often it is delegated.
///
/// A stretch holds all names after its beginning up to its last, inclusive. Stretches neither overlap nor touch. A
/// plain value.
class EmptyStretches {
public:
    /// Moves a name from which a search begins to the end of the stretch that it lies in. Unchanged when it lies in
    /// none.
    void Skip(CVT::BObjectIdentifier& name) const;
    /// Adds the stretch after `begin` up to `last`. `begin` must come before `last`.
    void Add(const CVT::BObjectIdentifier& begin, const CVT::BObjectIdentifier& last);

    std::size_t Size() const { return m_lasts.size(); }

private:
    std::map<CVT::BObjectIdentifier, CVT::BObjectIdentifier> m_lasts;  // by beginning
};

}  // namespace cvtagentd
