#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/cvtwalk/data/Selection.h"
#include "agent/cvtwalk/formats/OutputFormat.h"

namespace cvtwalk {

/// The parsed command line of cvtwalk. A plain value.
struct Options {
    using Format = OutputFormat::Kind;

    std::vector<std::string> modules;  ///< as typed; empty means the default module
    Format format = Format::kText;
    bool anyFormat = true;  ///< no format was chosen: tables on a terminal, else text
    unsigned int timeoutSeconds = 30;
    std::vector<std::string> objects;  ///< OIDs or object names; none means everything
    Selection selection;
    bool join = false;              ///< every format joins the tables that --format table joins
    bool all = false;               ///< fold nothing
    bool waitForLoad = false;       ///< until everything measured at intervals has a value
    unsigned int watchSeconds = 0;  ///< 0: once
    bool top = false;
    unsigned int intervalSeconds = 5;  ///< of --top
    bool help = false;
    bool version = false;

    /// Returns nothing, with a one-line message in `error`, when the command line is wrong. Uses getopt, so only one
    /// thread may call it at a time.
    static std::optional<Options> Parse(int argc, char* const* argv, std::string& error);

    /// The text of --help.
    static const char* Help();
};

}  // namespace cvtwalk
