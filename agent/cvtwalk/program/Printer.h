#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "CVT/BMibEngine.h"
#include "agent/cvtwalk/data/ObjectNames.h"
#include "agent/cvtwalk/data/Sections.h"
#include "agent/cvtwalk/program/Options.h"

namespace cvtwalk {

/// Prints what the command line asks for, from modules that are ready. Looks at its arguments, which must
/// outlive it. Used by one thread.
class Printer {
public:
    using Clock = std::chrono::steady_clock;

    /// `ready` is when the modules were.
    Printer(const Options& options, CVT::BMibEngine& engine, const Display& display, Clock::time_point ready);

    /// The terminal has this size now.
    void Fit(const Display& display) { m_display = display; }
    /// Finds the objects. False, with one line for people in `error`, when one is not known.
    bool Resolve(std::string& error);
    /// Whether something is asked for that the modules may not have measured yet.
    bool WantsTheLoad() const;
    /// Whether all of it is measured.
    bool IsMeasured();
    /// Appends to `text` what one request finds. False, with `error`, when something could not be found or walked; what
    /// was found until then is printed nevertheless.
    bool Print(std::string& text, std::string& error);
    /// What is empty, for people, a line each: known after Print.
    const std::vector<std::string>& Remarks() const { return m_remarks; }

private:
    bool Collect(Sections& sections, std::string& error);
    void AddPartners();
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
