#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "CVT/BMibImpl.h"
#include "CVT/BObjectIdentifier.h"

namespace cvtagentd {

/// Finds out whether the master, or another subagent, answers for objects of groups that are registered with it, and
/// warns of it. A master accepts a subtree although somebody else has registered parts of it, and then prefers those,
/// as they are finer (RFC 2741, section 7.1.4.1). AgentX cannot ask who serves a name. But it refuses to register what
/// another has registered exactly so, with the same priority: so each object is registered for a moment, and
/// duplicateRegistration is the sign. What is accepted is unregistered at once; requests that it draws are ours anyway.
///
/// One object is tried at a time, and no more of a group once the master has refused one, which keeps short what a
/// master logs. Refusals for any other reason mean nothing. Warns once all objects have been tried, and at most a few
/// times a minute when the connection comes and goes. Used by the thread that runs the event loop.
class MasterProbes {
public:
    using Name = CVT::BObjectIdentifier;

    struct Calls {
        std::function<void(const Name&)> add;     ///< asks the master to register an object; Answered follows
        std::function<void(const Name&)> remove;  ///< asks the master to take it back
    };

    /// `served`: all groups, which must outlive it.
    MasterProbes(std::vector<CVT::BMibImpl*> served, Calls calls)
        : m_served(std::move(served)), m_calls(std::move(calls)) {}

    /// A session with a master has begun: what was under way is forgotten.
    void Restart() { Clear(); }
    /// The master has accepted these groups. Groups that are still being tried come before them.
    void Begin(const std::vector<CVT::BMibImpl*>& accepted);
    /// The answer to the last `add`. `error`: as in AgentX; 0: it has accepted.
    void Answered(unsigned int error);

private:
    struct Probe {
        const CVT::BMibImpl* group;
        Name name;
    };

    void Clear();
    void AddObjects(CVT::BMibImpl& group);
    void AddName(const CVT::BMibImpl& group, const Name& name);
    void Next();
    void Report();

    const std::vector<CVT::BMibImpl*> m_served;
    const Calls m_calls;
    std::vector<Probe> m_probes;  // those of a group follow each other
    std::size_t m_next = 0;       // of m_probes: waits for its answer
    std::vector<std::string> m_affected;
};

}  // namespace cvtagentd
