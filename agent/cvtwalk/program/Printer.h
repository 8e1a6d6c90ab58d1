#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "CVT/BMibEngine.h"
#include "agent/cvtwalk/data/ObjectNames.h"
#include "agent/cvtwalk/data/Sections.h"
#include "agent/cvtwalk/program/Options.h"

namespace cvtwalk {

/// Prints what the command line asks for, from modules that are ready. Refers to its arguments, which must outlive it.
/// Used by one thread.
class Printer {
public:
    using Clock = std::chrono::steady_clock;

    /// `ready` is when the modules became ready.
    Printer(const Options& options, CVT::BMibEngine& engine, const Display& display, Clock::time_point ready);

    /// Sets the terminal's current size.
    void Fit(const Display& display) { m_display = display; }
    /// Resolves the objects' names. Returns false, with a one-line message in `error`, when one is unknown.
    bool Resolve(std::string& error);
    /// Whether a requested object may not have been measured yet.
    bool WantsTheLoad() const;
    /// Whether all requested objects have been measured.
    bool IsMeasured();
    /// Appends to `text` what one request finds. Returns false, with `error`, when something could not be found or
    /// walked; what was found before that is printed anyway.
    bool Print(std::string& text, std::string& error);
    /// One-line messages about what turned out to be empty. Valid after Print.
    const std::vector<std::string>& Remarks() const { return m_remarks; }

private:
    bool Collect(Sections& sections, std::string& error);
    std::vector<CVT::BMibImpl*> Partners() const;
    bool Covers(const CVT::BMibImpl& group) const;
    double SecondsReady() const;
    void WriteAll(const Sections& sections, std::string& text);

    const Options& m_options;
    CVT::BMibEngine& m_engine;
    Display m_display;
    const Clock::time_point m_ready;
    const ObjectNames m_names;
    std::vector<CVT::BObjectIdentifier> m_roots;
    std::vector<std::string> m_remarks;
};

}  // namespace cvtwalk
