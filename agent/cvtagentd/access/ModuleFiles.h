#pragma once

#include <string>
#include <vector>

namespace cvtagentd {

/// The modules that a configuration names besides those of the command line: by the directive `module FILE`, and by the
/// same directive in files of a folder beside the configuration, so that a package of a module can add its own. A
/// module is code that runs with the agent's rights, so its file, and what names it, must be root's or the agent's own
/// (see TrustedFile). State of the process, since the SNMP library calls its directives' handlers without a context.
/// Used by the thread that runs the library.
namespace ModuleFiles {

/// Registers the directive with the library: after init_agent, before the configuration is read. A file that is missing
/// or not to be trusted is reported as an error with file and line. When the configuration is read again, the list
/// starts empty.
void Register();

/// From now on each module is also loaded, and unloaded at once, so that one that cannot be loaded is an error with
/// file and line, too. For --check-config: loading runs a module's code in this process.
void TryEach();

/// The folder whose files *.conf may name modules, for /etc/cvtagentd.conf /etc/cvtagentd/modules.d; empty without a
/// configuration.
std::string FolderFor(const std::string& config);

/// Reads the files in that folder, in the order of their names; each may hold the directive and comments, nothing else.
/// Returns a line for each fault. The folder may be missing.
std::vector<std::string> ReadFolder(const std::string& config);

/// The files of the modules, each once: those of the configuration as the library has read it last, then those of
/// ReadFolder's last call.
std::vector<std::string> Named();

}  // namespace ModuleFiles

}  // namespace cvtagentd
