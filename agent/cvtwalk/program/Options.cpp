#include "agent/cvtwalk/program/Options.h"

#include <getopt.h>

#include <array>
#include <charconv>
#include <string_view>

namespace cvtwalk {
namespace {

enum Option : int { kModule = 256, kFormat, kTimeout, kVersion, kHelp };

constexpr std::array<::option, 6> kOptions{{
    {"module", required_argument, nullptr, kModule},
    {"format", required_argument, nullptr, kFormat},
    {"timeout", required_argument, nullptr, kTimeout},
    {"version", no_argument, nullptr, kVersion},
    {"help", no_argument, nullptr, kHelp},
    {nullptr, 0, nullptr, 0},
}};

constexpr unsigned int kLongestTimeout = 24 * 60 * 60;  // seconds; as milliseconds it still fits 32 bits

std::optional<unsigned int> ParseSeconds(std::string_view text) {
    unsigned int seconds = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (failure != std::errc() || end != text.data() + text.size() || seconds == 0 || seconds > kLongestTimeout) {
        return std::nullopt;
    }
    return seconds;
}

std::optional<Options::Format> ParseFormat(std::string_view text) {
    if (text == "text") {
        return Options::Format::kText;
    }
    if (text == "json") {
        return Options::Format::kJson;
    }
    if (text == "table") {
        return Options::Format::kTable;
    }
    return std::nullopt;
}

/// Takes up one option with its argument, `optarg`. False, with `error`, when the argument is bad.
bool Apply(int option, Options& options, std::string& error) {
    switch (option) {
        case kModule:
            if (*::optarg == '\0') {
                error = "--module wants the file of a module, not an empty word";
                return false;
            }
            options.modules.emplace_back(::optarg);
            return true;
        case kVersion: options.version = true; return true;
        case kHelp: options.help = true; return true;
        case kFormat:
            if (const auto format = ParseFormat(::optarg)) {
                options.format = *format;
                return true;
            }
            error = std::string("--format wants text, json or table, not '") + ::optarg + "'";
            return false;
        default:  // kTimeout
            if (const auto seconds = ParseSeconds(::optarg)) {
                options.timeoutSeconds = *seconds;
                return true;
            }
            error = "--timeout wants a number of seconds from 1 to " + std::to_string(kLongestTimeout) + ", not '" +
                    ::optarg + "'";
            return false;
    }
}

}  // namespace

std::optional<Options> Options::Parse(int argc, char* const* argv, std::string& error) {
    Options options;
    ::optind = 0;  // getopt starts afresh
    ::opterr = 0;
    for (;;) {
        // Before the call: getopt may have moved on inside a word when it complains.
        const char* const word = argv[::optind == 0 ? 1 : ::optind];
        const int option = ::getopt_long(argc, argv, ":", kOptions.data(), nullptr);  // NOLINT(concurrency-mt-unsafe)
        if (option == -1) {
            break;
        }
        if (option == ':') {
            error = std::string("the option ") + argv[::optind - 1] + " wants an argument";
            return std::nullopt;
        }
        if (option == '?') {
            error = std::string("wrong option ") + (word == nullptr || *word != '-' ? argv[::optind - 1] : word);
            return std::nullopt;
        }
        if (!Apply(option, options, error)) {
            return std::nullopt;
        }
    }
    if (argc - ::optind > 1) {
        error = std::string("one OID or object name at most, and there is '") + argv[::optind + 1] + "' too";
        return std::nullopt;
    }
    if (::optind < argc) {
        options.object = argv[::optind];
        if (options.object.empty()) {
            error = "the OID or object name is empty; leave it out to print everything";
            return std::nullopt;
        }
    }
    return options;
}

const char* Options::Help() {
    return "Usage: cvtwalk [option]... [OID | object name]\n"
           "\n"
           "Loads extension modules into its own process and prints what they serve: every instance\n"
           "under the OID or object name (a column, a table, a group, a branch, or one .instance), or\n"
           "everything. No network, no SNMP.\n"
           "\n"
           "  --module FILE      an extension module; may be repeated (default: libCVHost.so.1)\n"
           "  --format text      one line for each instance, as SNMP clients print it (default)\n"
           "  --format json      an array of objects, for scripts\n"
           "  --format table     tables with a row for each index, for people\n"
           "  --timeout SECONDS  how long to wait until the modules are ready (default: 30)\n"
           "  --version          print the version and exit\n"
           "  --help             print this and exit\n"
           "\n"
           "Exit status: 0 printed, or served and empty; 1 it could not be; 2 wrong command line.\n"
           "\n"
           "  cvtwalk hrMemorySize.0\n"
           "  cvtwalk --format table hrStorageTable\n"
           "  cvtwalk --format json 1.3.6.1.2.1.25.4 | jq -r '.[].name'\n";
}

}  // namespace cvtwalk
