#pragma once

#include "CVT/Api.h"

namespace CVT {

/// The identifiers that hosts give to requests: one counter for the whole process, whoever serves in it. Groups compare
/// an identifier with the last one they saw, to do some work only once a request; the two words that they start from, 0
/// and 0xFFFFFFFF, are therefore never given. Thread-safe.
///
/// All identifiers are given once before the first is given again, after 4,294,967,294 requests.
class CVT_API BRequestId {
public:
    static unsigned int Next();
};

}  // namespace CVT
