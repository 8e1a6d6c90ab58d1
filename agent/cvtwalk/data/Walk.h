#pragma once

#include <functional>
#include <string>

#include "CVT/BMibEngine.h"
#include "agent/cvtwalk/data/ObjectNames.h"

namespace cvtwalk {

/// Walks through what an engine serves, all within one request of the caller: groups that refresh once per request show
/// one consistent state. Refers to its arguments, which must outlive it.
class Walk {
public:
    /// Receives an instance; returning false ends the walk.
    using Visitor = std::function<bool(const CVT::BVarBind& instance, const ServedObject& object)>;

    Walk(CVT::BMibEngine& engine, const ObjectNames& names, unsigned int request)
        : m_engine(engine), m_names(names), m_request(request) {}

    /// Visits the instance that `root` names exactly, or else all instances under it. Finding none is a success where
    /// columns are served. Returns false, with a one-line message in `error`, when nothing is served there or the walk
    /// could not continue.
    bool Run(const CVT::BObjectIdentifier& root, const Visitor& visitor, std::string& error);

    /// The number of instances found by all runs.
    unsigned long long Instances() const { return m_instances; }

private:
    bool VisitAll(const CVT::BObjectIdentifier& root, const Visitor& visitor, std::string& error);
    bool Visit(const CVT::BVarBind& instance, const Visitor& visitor);

    CVT::BMibEngine& m_engine;
    const ObjectNames& m_names;
    const unsigned int m_request;
    unsigned long long m_instances = 0;
};

}  // namespace cvtwalk
