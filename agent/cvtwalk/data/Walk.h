#pragma once

#include <functional>
#include <string>

#include "CVT/BMibEngine.h"
#include "agent/cvtwalk/data/ObjectNames.h"

namespace cvtwalk {

/// Walks through what an engine serves, all in one request of the caller's: groups that work once for a request show
/// one state of affairs. Looks at its arguments, which must outlive it.
class Walk {
public:
    /// Takes an instance; false ends the walk.
    using Visitor = std::function<bool(const CVT::BVarBind& instance, const ServedObject& object)>;

    Walk(CVT::BMibEngine& engine, const ObjectNames& names, unsigned int request)
        : m_engine(engine), m_names(names), m_request(request) {}

    /// Visits the instance that `root` names exactly, or else all that lie under it. None is as good as any where
    /// columns are served. False, with one line for people in `error`, when nothing can lie there, or the walk could
    /// not go on.
    bool Run(const CVT::BObjectIdentifier& root, const Visitor& visitor, std::string& error);

    /// How many instances were found by all runs.
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
