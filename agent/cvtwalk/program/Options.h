#pragma once

#include <optional>
#include <string>
#include <vector>

namespace cvtwalk {

/// What the command line of cvtwalk says. A plain value.
struct Options {
    enum class Format { kText, kJson, kTable };

    std::vector<std::string> modules;  ///< as given; empty means the default module
    Format format = Format::kText;
    unsigned int timeoutSeconds = 30;
    std::string object;  ///< an OID or an object name; empty means everything
    bool help = false;
    bool version = false;

    /// Nothing, with one line for people in `error`, when the command line is wrong. Uses getopt, so one thread at a time.
    static std::optional<Options> Parse(int argc, char* const* argv, std::string& error);

    /// The text of --help.
    static const char* Help();
};

}  // namespace cvtwalk
