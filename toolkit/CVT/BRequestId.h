#pragma once

#include "CVT/Api.h"

namespace CVT {

/// The identifiers that hosts give to requests: one counter for the whole process, shared by all hosts in it. Groups
/// compare an identifier with the last one they saw, to do some work only once for each request. The two values that
/// groups start from, 0 and 0xFFFFFFFF, are therefore never used. Thread-safe.
///
/// An identifier is reused only after all others, 4,294,967,294 requests later.
class CVT_API BRequestId {
public:
    static unsigned int Next();
};

}  // namespace CVT
