#pragma once

#include <string>

namespace cvtagentd {

/// Whether only root and the user of this process control what is in a file. The kernel's answer at the time of the
/// call: after that, a reader depends on those two users alone.
namespace TrustedFile {

/// Why the file must not be obeyed, in one line that says what to do; empty when it may be, or when there is none.
/// `what` names its purpose ("the configuration"). It refuses a file that belongs to a third user, a file that its
/// group or everybody may write to, and a file that everybody may replace because a folder on the path to it, symbolic
/// links included, is writable by all and has no sticky bit.
std::string WhyNot(const std::string& what, const std::string& file);

/// A folder on the path to the file that its group may write to, or whose owner is neither root nor this user. They
/// were given that right by name, and can replace the file. Empty when there is none.
std::string FolderOfOthers(const std::string& file);

}  // namespace TrustedFile

}  // namespace cvtagentd
