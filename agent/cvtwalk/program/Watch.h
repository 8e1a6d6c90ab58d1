#pragma once

#include <string>
#include <string_view>

#include "agent/cvtwalk/program/Interrupts.h"
#include "agent/cvtwalk/program/Options.h"
#include "agent/cvtwalk/program/Printer.h"
#include "agent/cvtwalk/program/PrivateOutput.h"

namespace cvtwalk {

/// Prints again and again. Tables and text on a terminal stay in place, cut to its size; all else goes on below one
/// another. Looks at its arguments, which must outlive it.
class Watch {
public:
    Watch(Printer& printer, const Options& options, PrivateOutput& output)
        : m_printer(printer), m_options(options), m_output(output) {}

    /// Until somebody wishes an end, which is a success. False, with `error`, when it cannot go on; `error` is empty
    /// when the reader has just gone away.
    bool Run(const Interrupts& interrupts, std::string& error);

    /// The heading and as many lines as the display has room for, drawn over what is there, and the rest wiped.
    static std::string Frame(std::string_view heading, std::string_view text, const Display& display);

private:
    std::string Heading() const;

    Printer& m_printer;
    const Options& m_options;
    PrivateOutput& m_output;
};

}  // namespace cvtwalk
