#include "groups/common/DConventions.h"

const char DConventions::cszInterfaceIndexOrZero[] = "InterfaceIndexOrZero";
const char DConventions::cszProductID[] = "ProductID";
const char DConventions::cszKBytes[] = "KBytes";
const char DConventions::cszInternationalDisplayString[] = "InternationalDisplayString";
