#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "CVT/Warnings.h"
#include "agent/cvtwalk/data/Walk.h"
#include "agent/cvtwalk/program/ModuleSet.h"
#include "agent/cvtwalk/program/Options.h"

namespace cvtwalk {
namespace {

constexpr int kFailed = 1;
constexpr int kWrongCommandLine = 2;
constexpr unsigned int kLeastCloseMs = 5000;

void Say(const std::string& line) { std::fprintf(stderr, "cvtwalk: %s\n", line.c_str()); }

void SayWarning(std::string_view text) { Say("warning: " + std::string(text)); }

int Print(const char* text) {
    return std::fputs(text, stdout) >= 0 && std::fflush(stdout) == 0 ? EXIT_SUCCESS : kFailed;
}

/// A module may keep state in its working directory. Somebody who only has a look shall find nothing left behind.
void GoWhereNoFileCanBeMade() {
    if (::chdir("/proc") != 0) {
        Say("cannot go to /proc: modules may leave files here");
    }
}

/// Loads, walks and writes. The modules are left to be closed.
bool LoadAndWalk(const Options& options, ModuleSet& modules, PrivateOutput& output, std::string& error) {
    const Display display = Display::Of(output.Descriptor());  // before modules start threads
    const bool byDefault = options.modules.empty();
    if (!modules.Load(byDefault ? std::vector{agent::ExtensionModule::DefaultFile()} : options.modules, error)) {
        return false;
    }
    GoWhereNoFileCanBeMade();
    if (!modules.Start(error)) {
        return false;
    }
    if (!modules.WaitUntilReady(options.timeoutSeconds * 1000, error)) {
        Say(error);
        std::_Exit(kFailed);  // a module that is still coming up cannot be closed
    }
    const ObjectNames names(modules.Engine());
    CVT::BObjectIdentifier root;
    if (!options.object.empty()) {
        const auto resolved = names.Resolve(options.object, error);
        if (!resolved) {
            return false;
        }
        root = *resolved;
    }
    const auto format = OutputFormat::Make(options.format, display);
    Walk walk(modules.Engine(), names, *format, output);
    const bool good = walk.Run(root, error);
    if (good && walk.Instances() == 0 && options.format != Options::Format::kJson) {
        Say((options.object.empty() ? "what the modules serve" : options.object) +
            " is empty: no instance at the moment");
    }
    return good;
}

int Run(const Options& options) {
    PrivateOutput output;
    if (output.Error() != 0) {
        Say("no standard output: " + output.ErrorText());
        return kFailed;
    }
    ModuleSet modules;
    std::string error;
    const bool good = LoadAndWalk(options, modules, output, error);
    if (!error.empty()) {
        Say(error);
    }
    if (!modules.Close(std::max(kLeastCloseMs, options.timeoutSeconds * 1000), error)) {
        Say(error);
        std::_Exit(kFailed);
    }
    return good ? EXIT_SUCCESS : kFailed;
}

int Main(int argc, char** argv) {
    std::string error;
    const std::optional<Options> options = Options::Parse(argc, argv, error);
    if (!options) {
        Say(error + " (try --help)");
        return kWrongCommandLine;
    }
    if (options->help) {
        return Print(Options::Help());
    }
    if (options->version) {
        return Print("cvtwalk " CVHOST_VERSION "\n");
    }
    CVT::SetWarningReceiver(&SayWarning);
    return Run(*options);
}

}  // namespace
}  // namespace cvtwalk

int main(int argc, char** argv) {
    try {
        return cvtwalk::Main(argc, argv);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "cvtwalk: %s\n", failure.what());
        std::_Exit(1);  // modules may be running
    }
}
