#pragma once

#include <string>
#include <string_view>

#include "agent/cvtwalk/program/Interrupts.h"
#include "agent/cvtwalk/program/Options.h"
#include "agent/cvtwalk/program/Printer.h"
#include "agent/cvtwalk/program/PrivateOutput.h"

namespace cvtwalk {

/// Prints repeatedly. On a terminal, tables and text are redrawn in place, cut to its size; all other output is
/// appended. Refers to its arguments, which must outlive it.
class Watch {
public:
    Watch(Printer& printer, const Options& options, PrivateOutput& output)
        : m_printer(printer), m_options(options), m_output(output) {}

    /// Runs until a stop is requested, which is a success. Returns false, with `error`, when it cannot continue;
    /// `error` is empty when the reader merely went away.
    bool Run(const Interrupts& interrupts, std::string& error);

    /// The heading and as many lines as fit the display, drawn over the previous ones, with the rest erased.
    static std::string Frame(std::string_view heading, std::string_view text, const Display& display);

private:
    std::string Heading() const;

    Printer& m_printer;
    const Options& m_options;
    PrivateOutput& m_output;
};

}  // namespace cvtwalk
