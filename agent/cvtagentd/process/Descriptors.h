#pragma once

namespace cvtagentd {

/// The file descriptors of this process.
class Descriptors {
public:
    /// Closes all that are open now, but for the three standard streams, in every program that this process starts from now
    /// on: those of the libraries, which do not see to it themselves, and those that were open when the agent was started.
    /// What is opened later has to be opened so. Needs /proc; does nothing without.
    static void KeepFromChildren();
};

}  // namespace cvtagentd
