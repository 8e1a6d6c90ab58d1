#pragma once

namespace cvtagentd {

/// The file descriptors of this process.
namespace Descriptors {

/// Marks all descriptors that are open now, except the three standard streams, to be closed in every program that
/// this process starts. This covers those that the libraries open without the flag, and those that the agent
/// inherited. What is opened later must be opened with the flag. Needs /proc; does nothing without it.
void KeepFromChildren();

}  // namespace Descriptors

}  // namespace cvtagentd
