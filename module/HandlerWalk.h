#pragma once

#include "CVT/BMibImplGroup.h"

/// Calls an operation of every group of a module, in handler order, each under its group's request lock; empty places are
/// passed over. A group that throws is passed over as well: one that fails must not keep the others from coming up, nor
/// from ending. Gives the result of the last wait for a lock.
unsigned int ui32ForEachHandler(CVT::BMibImplGroup& module, void (CVT::BMibImpl::*operation)());
