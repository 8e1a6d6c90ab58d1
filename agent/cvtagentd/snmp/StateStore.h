#pragma once

#include <string>

#include "agent/cvtagentd/process/StateContent.h"

namespace cvtagentd {

/// What the initialised SNMP library has to keep, and a way to make it store that without putting its previous state at
/// risk. Used by the thread that runs the library, while the process holds the StateLock.
namespace StateStore {

/// The users that the library keeps, those of the configuration's createUser among them.
StateContent::Users Users();

/// This agent's engine identifier, in octets; empty when the library has none.
std::string EngineId();

/// Makes the library write the state of the application `name`. Users in `removed` are gone on purpose. Throws
/// StateNotStored.
void Write(const char* name, const StateContent::Users& removed);

}  // namespace StateStore

}  // namespace cvtagentd
