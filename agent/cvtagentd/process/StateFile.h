#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

#include "agent/cvtagentd/process/StateContent.h"

namespace cvtagentd {

/// The state has not been stored, and the file is as it was before. One line that says what to do.
class StateNotStored : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// `cvtagentd.conf` in the working directory: what the SNMP library keeps. The library reads the file without checking
/// it and, left to itself, moves it away before it writes a new one line by line. So the file is checked before the
/// library reads it, and the library writes into a folder beside it, from which a complete file replaces the old one at
/// once. Used by one process at a time; see StateLock.
class StateFile {
public:
    static constexpr const char* kName = "cvtagentd.conf";

    /// The folder that the library writes into.
    static constexpr const char* kStagingName = "cvtagentd.new";

    /// Cleans up after a write that was interrupted. Afterwards there is one complete file or, in a new directory,
    /// none. A backup that the library made replaces a file that is missing or damaged, and is removed otherwise.
    /// Throws StartError when no complete file is left.
    static void Recover();

    /// Why the file should not be read, in one line that says what to do; empty when it is complete or missing.
    static std::string WhyDamaged();

    /// What the file says. Throws ConfigError when it is damaged or missing.
    static StateContent Content();

    /// One attempt at writing the file. The destructor removes what has been written and not committed.
    class Staging {
    public:
        /// Throws StateNotStored.
        Staging();
        ~Staging();
        Staging(const Staging&) = delete;
        Staging& operator=(const Staging&) = delete;

        /// Absolute. The library leaves a file kName here.
        std::string Folder() const;

        /// Makes the file written here the state. When this returns, it survives a crash. Throws StateNotStored, with
        /// the old state in place, when the file is not complete, lacks one of `users` or a user of the old file,
        /// belongs to another engine than `engineId` (octets), or has fewer boots than the old one. Users in
        /// `removed` may be missing.
        void Commit(const StateContent::Users& users, const std::string& engineId, const StateContent::Users& removed);
    };
};

}  // namespace cvtagentd
