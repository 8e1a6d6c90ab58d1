#pragma once

#include <functional>
#include <string>
#include <vector>

#include "agent/cvtagentd/snmp/LibraryLog.h"

namespace cvtagentd {

/// The file in which people say who may do what, in the SNMP library's directives.
namespace AccessConfig {

/// Why the file cannot be read, or is not to be obeyed because others than root and this process's user can write it or
/// what it includes (see TrustedFile), in one line; empty when neither is so.
std::string WhyNotToRead(const std::string& file);

/// Throws StartError when a file is named, and WhyNotToRead has a reason. Comes before the library reads it.
void RequireTrusted(const std::string& file);
/// The same for what the library reads in the state directory, the working directory.
void RequireTrustedState();

/// Directives that grant access where there is no file: community "public" may read, from this host.
std::vector<std::string> BuiltIn();

/// One line for each fault among what the library said when it read the file, which it has in this process.
std::vector<std::string> Faults(const std::string& file, const std::vector<LibraryLog::Message>& said);

/// Takes out the faults that are directives which the library does not know in its role, and gives their names, each
/// once and separated by commas. A subagent does not decide who may do what, and so does not know how one says that.
std::string TakeUnknownDirectives(std::vector<std::string>& faults);

/// The one line that an agent says which does not start because of these faults. There is at least one.
std::string Summary(const std::string& file, const std::vector<std::string>& faults);

/// Those, and what ConfigReview finds in the file.
std::vector<std::string> AllFaults(const std::string& file, const std::vector<LibraryLog::Message>& said);

/// Throws StartError when there are faults, those of the files in the state directory among them, which the library
/// has read as well.
void RequireFaultless(const std::string& file, const std::vector<LibraryLog::Message>& said);

/// --check-config: loads the file into this process, prints its faults on standard error and remarks on standard
/// output, and returns the exit status. The process can do nothing more with the library afterwards.
/// Root becomes the file's owner for it, for good: root obeys nobody else's directives. `beforeConfiguration`: as in
/// SnmpLibrary::Setup.
int Check(const std::string& file, std::function<void()> beforeConfiguration);

/// Lets the library read the file again. When it has faults everything stays as it was. Logs what it did. `file` may be
/// empty: nothing is read.
void Reload(const std::string& file);

}  // namespace AccessConfig

}  // namespace cvtagentd
