#pragma once

#include <functional>
#include <string>
#include <vector>

#include "agent/cvtagentd/snmp/LibraryLog.h"

namespace cvtagentd {

/// The file that says who may do what, in the SNMP library's directives.
namespace AccessConfig {

/// Why the file cannot be read, or must not be obeyed because users other than root and this process's user can write
/// it or a file that it includes (see TrustedFile). One line; empty when there is no reason.
std::string WhyNotToRead(const std::string& file);

/// Throws StartError when a file is named and WhyNotToRead has a reason, or UnsafeLines finds a line. Called before the
/// library reads it.
void RequireTrusted(const std::string& file);
/// The same for what the library reads in the state directory, the working directory.
void RequireTrustedState();

/// Directives that grant access when there is no file: community "public" may read, from this host.
std::vector<std::string> BuiltIn();

/// One line for each fault among the library's messages about the file, which it has read in this process.
std::vector<std::string> Faults(const std::string& file, const std::vector<LibraryLog::Message>& said);

/// Removes the faults that are directives unknown to the library in its role, and returns their names, each once and
/// separated by commas. A subagent does not control access, and so does not know the directives for it.
std::string TakeUnknownDirectives(std::vector<std::string>& faults);

/// The one line that an agent logs when it does not start because of these faults. There is at least one fault.
std::string Summary(const std::string& file, const std::vector<std::string>& faults);

/// The result of Faults, with the directive that a misspelled one may mean, what ConfigReview finds in the file, and
/// what ModuleFiles finds in the folder beside it, in the order of the lines.
std::vector<std::string> AllFaults(const std::string& file, const std::vector<LibraryLog::Message>& said);

/// Throws StartError when there are faults, including those of the files in the state directory, which the library has
/// read as well.
void RequireFaultless(const std::string& file, const std::vector<LibraryLog::Message>& said);

struct CheckRequest {
    std::string file;                           ///< empty: where the installed service keeps it
    std::string stateDir;                       ///< where includeSearch looks; empty: StateDir's choice, if it exists
    std::function<void()> beforeConfiguration;  ///< as in SnmpLibrary::Setup
};

/// --check-config: loads the file into this process, prints its faults and remarks on standard error, in the order of
/// its lines, and returns the exit status. Changes nothing: no file is written, and no configured address is opened.
/// The process can do nothing more with the library afterwards. If root calls this, the process becomes the file's
/// owner for good, since root obeys no other user's directives; for the service's file it becomes the state directory's
/// owner, as whom the service reads it. Throws StartError when the given state directory does not exist.
int Check(const CheckRequest& request);

/// Makes the library read the file again, and returns whether it has. If it has faults, the access rules stay as they
/// were. Logs the result. If `file` is empty, nothing is read.
bool Reload(const std::string& file);

}  // namespace AccessConfig

}  // namespace cvtagentd
