#pragma once

#include <string>

namespace cvtagentd {

/// Whether nobody but root and the user of this process decides what stands in a file. The kernel's answer at the time of the
/// call; whoever reads the file afterwards relies on those two alone.
namespace TrustedFile {

/// Why the file is not to be obeyed, in one line that says what to do; empty when it is, or when there is none.
/// `what` names its purpose ("the configuration"). Refused are: a file that belongs to a third user; one that its group
/// or everybody may write to; and one that everybody may replace, since a folder on the way to it, over all symbolic
/// links, can be written by all without the sticky bit.
std::string WhyNot(const std::string& what, const std::string& file);

/// A folder on the way to the file that others can write to whom somebody has given that right by name: its group, or
/// an owner who is neither root nor this user. They can put another file in its place. Empty when there is none.
std::string FolderOfOthers(const std::string& file);

}  // namespace TrustedFile

}  // namespace cvtagentd
