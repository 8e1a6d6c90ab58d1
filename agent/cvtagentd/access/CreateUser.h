#pragma once

#include <functional>

#include "agent/cvtagentd/Options.h"

namespace cvtagentd {

/// --create-user: adds an SNMPv3 user, with SHA-256 and AES, to the state directory. What is kept are his keys, which are
/// good for this one agent, not his pass phrases. One in a process.
class CreateUser {
public:
    /// `beforeConfiguration`: as in SnmpLibrary::Setup.
    CreateUser(const Options& options, std::function<void()> beforeConfiguration)
        : m_options(options), m_beforeConfiguration(std::move(beforeConfiguration)) {}

    /// Gives the exit status. Throws StartError, with no user added: when there is one of that name, when an agent uses
    /// the directory, or when the pass phrases are not good enough.
    int Run() const;

private:
    void CheckName() const;
    void AddToState() const;
    void RefuseExisting() const;

    const Options& m_options;
    const std::function<void()> m_beforeConfiguration;
};

}  // namespace cvtagentd
