#pragma once

#include <string>

#include "CVT/BMibEngine.h"
#include "agent/cvtwalk/data/ObjectNames.h"
#include "agent/cvtwalk/formats/OutputFormat.h"
#include "agent/cvtwalk/program/PrivateOutput.h"

namespace cvtwalk {

/// One walk through what an engine serves, as one request: groups that work once for a request show one state of affairs.
/// Looks at its arguments, which must outlive it.
class Walk {
public:
    Walk(CVT::BMibEngine& engine, const ObjectNames& names, OutputFormat& format, PrivateOutput& output)
        : m_engine(engine), m_names(names), m_format(format), m_output(output) {}

    /// Writes the instance that `root` names exactly, or else all that lie under it, and flushes. None is as good as any
    /// where columns are served. False, with one line for people in `error`, when nothing can lie there, or the walk
    /// could not go on or be written; `error` is empty when the reader has just gone away.
    bool Run(const CVT::BObjectIdentifier& root, std::string& error);

    /// How many instances were found.
    unsigned long long Instances() const { return m_instances; }

private:
    bool Visit(const CVT::BObjectIdentifier& root, std::string& error);
    void Write(const CVT::BVarBind& instance);

    CVT::BMibEngine& m_engine;
    const ObjectNames& m_names;
    OutputFormat& m_format;
    PrivateOutput& m_output;
    std::string m_text;
    unsigned long long m_instances = 0;
};

}  // namespace cvtwalk
