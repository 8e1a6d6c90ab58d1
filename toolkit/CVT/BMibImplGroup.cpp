#include "CVT/BMibImplGroup.h"

namespace CVT {

BMibImplGroup::~BMibImplGroup() = default;

}  // namespace CVT
