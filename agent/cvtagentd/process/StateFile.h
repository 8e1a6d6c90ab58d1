#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

#include "agent/cvtagentd/process/StateContent.h"

namespace cvtagentd {

/// The state has not been stored, and the file is as it was before. One line, which says what to do.
class StateNotStored : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// `cvtagentd.conf` in the working directory: what the SNMP library keeps. The library reads it as it stands and, left to
/// itself, moves it away before it writes a new one line by line. So it is looked at before the library reads it, and the
/// library writes into a folder beside it, from which a complete file takes its place at once. To be used by one process at
/// a time; see StateLock.
class StateFile {
public:
    static constexpr const char* kName = "cvtagentd.conf";

    /// The folder that the library writes into.
    static constexpr const char* kStagingName = "cvtagentd.new";

    /// Puts right what an end in the middle of a write has left behind. Afterwards there is one complete file or, in a
    /// directory that is new, none. A backup of the library's takes the place of a file that is missing or damaged, and
    /// is removed otherwise. Throws StartError when there is nothing complete.
    static void Recover();

    /// Why the file should not be read, in one line that says what to do; empty when it is complete or missing.
    static std::string WhyDamaged();

    /// One go at writing the file. The destructor removes what has been written and not committed.
    class Staging {
    public:
        /// Throws StateNotStored.
        Staging();
        ~Staging();
        Staging(const Staging&) = delete;
        Staging& operator=(const Staging&) = delete;

        /// Absolute. The library is to leave a file kName here.
        std::string Folder() const;

        /// Makes the file written here the state, for good when this returns. Throws StateNotStored, with the old state
        /// in place: when the file is not complete, lacks one of `users` or a user of the old file, belongs to another
        /// engine than `engineId` (octets), or has fewer boots than the old one.
        void Commit(const StateContent::Users& users, const std::string& engineId);
    };
};

}  // namespace cvtagentd
