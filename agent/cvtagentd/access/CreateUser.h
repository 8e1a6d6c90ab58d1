#pragma once

#include <functional>
#include <string>
#include <utility>

namespace cvtagentd {

/// --create-user: adds an SNMPv3 user, with SHA-256 and AES, to the state directory. The user's keys are stored, which
/// are valid for this agent only, and not the pass phrases. One in a process.
class CreateUser {
public:
    struct Request {
        std::string name;
        std::string configFile;                     ///< may be empty
        std::string stateDir;                       ///< empty: StateDir's choice
        std::function<void()> beforeConfiguration;  ///< as in SnmpLibrary::Setup
    };

    explicit CreateUser(Request request) : m_request(std::move(request)) {}

    /// Returns the exit status. Throws StartError, with no user added, when there is one of that name, when an agent
    /// uses the directory, or when the pass phrases are not good enough.
    int Run() const;

private:
    void CheckName() const;
    void AddToState() const;
    void RefuseExisting() const;

    const Request m_request;
};

}  // namespace cvtagentd
