#pragma once

#include <string>

#include "agent/cvtagentd/process/StateContent.h"

namespace cvtagentd {

/// What the initialised SNMP library would have to keep, and how it is made to do so without endangering what it has kept
/// before. For the thread that runs the library, which holds the StateLock.
class StateStore {
public:
    /// The users that the library keeps, those of the configuration's createUser among them.
    static StateContent::Users Users();

    /// Makes the library write the state of the application `name`. Throws StateNotStored.
    static void Write(const char* name);
};

}  // namespace cvtagentd
