#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>

#include "CVT/Warnings.h"
#include "agent/common/ModuleSet.h"
#include "agent/cvtwalk/program/HeldMessages.h"
#include "agent/cvtwalk/program/Interrupts.h"
#include "agent/cvtwalk/program/Options.h"
#include "agent/cvtwalk/program/Printer.h"
#include "agent/cvtwalk/program/PrivateOutput.h"
#include "agent/cvtwalk/program/TopProgram.h"
#include "agent/cvtwalk/program/Watch.h"

namespace cvtwalk {
namespace {

constexpr int kFailed = 1;
constexpr int kWrongCommandLine = 2;
constexpr unsigned int kLeastCloseMs = 5000;
constexpr int kLoadPollMs = 250;

void Say(const std::string& line) { std::fprintf(stderr, "cvtwalk: %s\n", line.c_str()); }

void SayWarning(std::string_view text) { Say("warning: " + std::string(text)); }

int Print(const char* text) {
    return std::fputs(text, stdout) >= 0 && std::fflush(stdout) == 0 ? EXIT_SUCCESS : kFailed;
}

/// A module may keep state in its working directory. Just viewing a host must not leave any files.
void GoWhereNoFileCanBeMade() {
    if (::chdir("/proc") != 0) {
        Say("cannot go to /proc: modules may leave files here");
    }
}

/// Fills in what the command line leaves open, depending on the output.
Options Completed(Options options, const PrivateOutput& output) {
    if (options.anyFormat && output.IsTerminal()) {
        options.format = Options::Format::kTable;
    }
    return options;
}

bool LoadAndStart(const Options& options, agent::ModuleSet& modules, std::string& error) {
    const bool byDefault = options.modules.empty();
    if (!modules.Load(byDefault ? std::vector{agent::ExtensionModule::DefaultFile()} : options.modules, error)) {
        return false;
    }
    GoWhereNoFileCanBeMade();
    if (!modules.Start(error) || !modules.Join(error)) {
        return false;
    }
    if (!modules.WaitUntilReady(options.timeoutSeconds * 1000, error)) {
        Say(error);
        std::_Exit(kFailed);  // a module that is still coming up cannot be closed
    }
    return true;
}

void SayAll(const std::vector<std::string>& remarks, Options::Format format) {
    for (const std::string& remark : remarks) {
        if (format != Options::Format::kJson) {
            Say(remark);
        }
    }
}

/// Loads, walks and writes. The caller closes the modules.
bool LoadAndPrint(const Options& options, agent::ModuleSet& modules, PrivateOutput& output, std::string& error) {
    const Display display = Display::Of(output.Descriptor());  // before modules start threads
    const auto interrupts = options.watchSeconds > 0 ? std::make_unique<Interrupts>() : nullptr;
    if (!LoadAndStart(options, modules, error)) {
        return false;
    }
    Printer printer(options, modules.Engine(), display, Printer::Clock::now());
    if (!printer.Resolve(error)) {
        return false;
    }
    while (options.waitForLoad && printer.WantsTheLoad() && !printer.IsMeasured()) {
        if (interrupts != nullptr ? interrupts->Wait(kLoadPollMs) : (::usleep(kLoadPollMs * 1000), false)) {
            return true;
        }
    }
    if (interrupts != nullptr) {
        return Watch(printer, options, output).Run(*interrupts, error);
    }
    std::string text;
    const bool good = printer.Print(text, error);
    output.Write(text);
    if (!output.Flush()) {
        error = output.WriteError();
        return false;
    }
    if (good) {
        SayAll(printer.Remarks(), options.format);
    }
    return good;
}

/// Loads modules and shows the live screen. The caller closes the modules.
bool LoadAndShow(const Options& options, agent::ModuleSet& modules, PrivateOutput& output, std::string& error) {
    const Display display = Display::Of(output.Descriptor());  // before modules start threads
    const Interrupts interrupts;
    if (!LoadAndStart(options, modules, error)) {
        return false;
    }
    const auto ready = TopProgram::Clock::now();
    const HeldMessages held;
    const auto terminal = Terminal::Open(output.Descriptor(), error);
    if (terminal == nullptr) {
        return false;
    }
    TopProgram(modules.Engine(), *terminal, options.intervalSeconds, display.utf8, ready).Run(interrupts);
    return true;
}

int Run(const Options& wanted) {
    PrivateOutput output;
    if (output.Error() != 0) {
        Say("no standard output: " + output.ErrorText());
        return kFailed;
    }
    const Options options = Completed(wanted, output);
    agent::ModuleSet modules;
    std::string error;
    const bool good = (options.top ? &LoadAndShow : &LoadAndPrint)(options, modules, output, error);
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
        std::_Exit(1);  // modules may still be running
    }
}
