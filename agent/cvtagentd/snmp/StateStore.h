#pragma once

#include <string>

#include "agent/cvtagentd/process/StateContent.h"

namespace cvtagentd {

/// What the initialised SNMP library has to keep, and a way to make it store that without putting its previous state at
/// risk. Used by the thread that runs the library, while the process holds the StateLock.
namespace StateStore {

/// The users that the library keeps, those of the configuration's createUser among them.
StateContent::Users Users();

/// Makes the library write the state of the application `name`. Throws StateNotStored.
void Write(const char* name);

}  // namespace StateStore

}  // namespace cvtagentd
