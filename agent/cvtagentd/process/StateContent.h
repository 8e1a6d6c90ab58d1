#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <tuple>

namespace cvtagentd {

/// The part of the SNMP library's state file that must not get lost: the users, the engine's identifier and how often
/// it has started. The library ends each file that it writes with the identifier, and believes whatever it reads, even
/// half a key; so a file that was cut off anywhere has a fault here. An immutable value, for any thread.
class StateContent {
public:
    struct User {
        std::string engine;  ///< the octets of the engine identifier that the keys are good for
        std::string name;

        bool operator==(const User&) const = default;
        bool operator<(const User& other) const { return std::tie(engine, name) < std::tie(other.engine, other.name); }
    };
    using Users = std::set<User>;

    /// Never throws for what `text` says; see Fault.
    explicit StateContent(std::string_view text);

    /// What is wrong, in a few words that name the line; empty when the file is complete. A file whose directives are
    /// all foreign to the library counts as complete: a person has written it.
    const std::string& Fault() const { return m_fault; }

    /// The users that the library keeps when the agent ends.
    const Users& NonVolatileUsers() const { return m_users; }

    /// How a user's messages are protected, as createUser names it ("SHA-256", "AES"); "none", or "unknown".
    struct Methods {
        std::string authentication;
        std::string privacy;
    };
    /// Those of NonVolatileUsers.
    const std::map<User, Methods>& MethodsOfUsers() const { return m_methods; }

    /// The octets; empty in a file that a person has written.
    const std::string& EngineId() const { return m_engineId; }

    std::uint32_t EngineBoots() const { return m_engineBoots; }

private:
    void ParseLine(std::string_view line);
    void ParseUser(std::string_view rest);
    void ParseBoots(std::string_view rest);
    void ParseEngineId(std::string_view rest);
    void CheckWhole();

    std::string m_fault;
    Users m_users;
    std::map<User, Methods> m_methods;
    std::string m_engineId;
    std::uint32_t m_engineBoots = 0;
    bool m_hasEngineBoots = false;
    bool m_hasLibrarysLine = false;
    bool m_hasOtherLine = false;
};

}  // namespace cvtagentd
