#pragma once

#include <map>
#include <string>
#include <vector>

/// The result of a program that a test has run.
struct ProgramRun {
    int status = -1;  ///< its exit status, or 128 and the signal that ended it
    std::string out;
    std::string err;

    /// Runs the program `arguments[0]` to its end, with these variables added to the environment, in `directory` if one
    /// is given. The files of `out` and `err` are pipes that are read to their end.
    static ProgramRun Of(const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment = {}, const std::string& directory = {});
};
