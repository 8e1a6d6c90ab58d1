#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/cvtwalk/data/Selection.h"
#include "agent/cvtwalk/formats/OutputFormat.h"

namespace cvtwalk {

/// What the command line of cvtwalk says. A plain value.
struct Options {
    using Format = OutputFormat::Kind;

    std::vector<std::string> modules;  ///< as given; empty means the default module
    Format format = Format::kText;
    bool anyFormat = true;  ///< nobody said which format: a terminal gets tables, all else gets text
    unsigned int timeoutSeconds = 30;
    std::vector<std::string> objects;  ///< OIDs or object names; none means everything
    Selection selection;
    bool join = false;              ///< tables that are one for people are one in every format
    bool all = false;               ///< nothing is folded
    bool waitForLoad = false;       ///< until what is measured at intervals is measured
    unsigned int watchSeconds = 0;  ///< 0: once
    bool top = false;
    unsigned int intervalSeconds = 5;  ///< of --top
    bool help = false;
    bool version = false;

    /// Nothing, with one line for people in `error`, when the command line is wrong. Uses getopt, so one thread at a
    /// time.
    static std::optional<Options> Parse(int argc, char* const* argv, std::string& error);

    /// The text of --help.
    static const char* Help();
};

}  // namespace cvtwalk
