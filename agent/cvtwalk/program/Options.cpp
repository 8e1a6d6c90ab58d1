#include "agent/cvtwalk/program/Options.h"

#include <getopt.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "agent/common/OptionFault.h"

namespace cvtwalk {
namespace {

enum Option : int {
    kModule = 256,
    kFormat,
    kTimeout,
    kSort,
    kReverse,
    kFilter,
    kColumns,
    kLimit,
    kAll,
    kJoin,
    kWaitForLoad,
    kWatch,
    kTop,
    kInterval,
    kVersion,
    kHelp
};

constexpr std::array<::option, 17> kOptions{{
    {"module", required_argument, nullptr, kModule},
    {"format", required_argument, nullptr, kFormat},
    {"timeout", required_argument, nullptr, kTimeout},
    {"sort", required_argument, nullptr, kSort},
    {"reverse", no_argument, nullptr, kReverse},
    {"filter", required_argument, nullptr, kFilter},
    {"columns", required_argument, nullptr, kColumns},
    {"limit", required_argument, nullptr, kLimit},
    {"all", no_argument, nullptr, kAll},
    {"join", no_argument, nullptr, kJoin},
    {"wait-for-load", no_argument, nullptr, kWaitForLoad},
    {"watch", required_argument, nullptr, kWatch},
    {"top", no_argument, nullptr, kTop},
    {"interval", required_argument, nullptr, kInterval},
    {"version", no_argument, nullptr, kVersion},
    {"help", no_argument, nullptr, kHelp},
    {nullptr, 0, nullptr, 0},
}};

constexpr unsigned int kLongestTimeout = 24 * 60 * 60;  // seconds; as milliseconds it still fits 32 bits
constexpr unsigned int kMostRows = 1'000'000'000;

struct NamedFormat {
    std::string_view name;
    Options::Format format;
};

constexpr NamedFormat kFormats[] = {
    {"text", Options::Format::kText},
    {"json", Options::Format::kJson},
    {"table", Options::Format::kTable},
    {"csv", Options::Format::kCsv},
    {"prometheus", Options::Format::kPrometheus},
    {"html", Options::Format::kHtml},
};

std::optional<unsigned int> ParseNumber(std::string_view text, unsigned int most) {
    unsigned int number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc() || end != text.data() + text.size() || number == 0 || number > most) {
        return std::nullopt;
    }
    return number;
}

/// Sets `number` from the option's argument, 1 to `most`.
bool TakeNumber(const char* option, const char* what, unsigned int most, unsigned int& number, std::string& error) {
    const auto parsed = ParseNumber(::optarg, most);
    if (!parsed) {
        error = std::string(option) + " needs a number of " + what + " from 1 to " + std::to_string(most) + ", not '" +
                ::optarg + "'";
        return false;
    }
    number = *parsed;
    return true;
}

bool TakeFormat(Options& options, std::string& error) {
    for (const NamedFormat& known : kFormats) {
        if (known.name == ::optarg) {
            options.format = known.format;
            options.anyFormat = false;
            return true;
        }
    }
    error = std::string("--format needs text, json, table, csv, prometheus or html, not '") + ::optarg + "'";
    return false;
}

bool TakeFilter(Options& options, std::string& error) {
    const std::string_view text = ::optarg;
    const auto sign = text.find('=');
    if (sign == std::string_view::npos || sign == 0) {
        error = std::string("--filter needs COLUMN=TEXT, not '") + ::optarg + "'";
        return false;
    }
    options.selection.filters.emplace_back(text.substr(0, sign), text.substr(sign + 1));
    return true;
}

bool TakeColumns(Options& options, std::string& error) {
    std::string_view rest = ::optarg;
    for (;;) {
        const auto comma = rest.find(',');
        const std::string_view name = rest.substr(0, comma);
        if (name.empty()) {
            error = std::string("--columns needs names with commas between them, not '") + ::optarg + "'";
            return false;
        }
        options.selection.columns.emplace_back(name);
        if (comma == std::string_view::npos) {
            return true;
        }
        rest.remove_prefix(comma + 1);
    }
}

/// Applies one option with its argument, `optarg`. Returns false, with `error`, when the argument is bad.
bool Apply(int option, Options& options, std::string& error) {
    unsigned int rows = 0;
    switch (option) {
        case kModule:
            if (*::optarg == '\0') {
                error = "--module needs a value that is not empty";
                return false;
            }
            options.modules.emplace_back(::optarg);
            return true;
        case 'V':
        case kVersion: options.version = true; return true;
        case 'h':
        case kHelp: options.help = true; return true;
        case kReverse: options.selection.reverse = true; return true;
        case kAll: options.all = true; return true;
        case kJoin: options.join = true; return true;
        case kWaitForLoad: options.waitForLoad = true; return true;
        case kTop: options.top = true; return true;
        case kFormat: return TakeFormat(options, error);
        case kFilter: return TakeFilter(options, error);
        case kColumns: return TakeColumns(options, error);
        case kSort:
            options.selection.sort = ::optarg;
            error = options.selection.sort.empty() ? "--sort needs a value that is not empty" : "";
            return error.empty();
        case kLimit:
            if (!TakeNumber("--limit", "rows", kMostRows, rows, error)) {
                return false;
            }
            options.selection.limit = rows;
            return true;
        case kWatch: return TakeNumber("--watch", "seconds", kLongestTimeout, options.watchSeconds, error);
        case kInterval: return TakeNumber("--interval", "seconds", kLongestTimeout, options.intervalSeconds, error);
        default:  // kTimeout
            return TakeNumber("--timeout", "seconds", kLongestTimeout, options.timeoutSeconds, error);
    }
}

/// An error about options that contradict each other or would be ignored; empty when there are none.
std::string Contradiction(const Options& options, bool interval) {
    const bool chosen = !options.objects.empty() || !options.selection.IsEmpty();
    if (options.top && (chosen || !options.anyFormat || options.watchSeconds > 0 || options.join || options.all)) {
        return "--top is a screen of its own: it goes with --module, --interval and --timeout only";
    }
    if (interval && !options.top) {
        return "--interval belongs to --top; to repeat a table, use --watch SECONDS";
    }
    if (options.format == Options::Format::kHtml && (chosen || options.watchSeconds > 0)) {
        return "--format html is one page with everything: leave out objects, --watch, and what selects rows or columns";
    }
    return {};
}

}  // namespace

std::optional<Options> Options::Parse(int argc, char* const* argv, std::string& error) {
    Options options;
    bool interval = false;
    ::optind = 0;  // restarts getopt
    ::opterr = 0;
    for (;;) {
        const int option = ::getopt_long(argc, argv, ":hV", kOptions.data(), nullptr);  // NOLINT(concurrency-mt-unsafe)
        if (option == -1) {
            break;
        }
        if (option == ':' || option == '?') {
            error = agent::OptionFault(option, argv, kOptions.data());
            return std::nullopt;
        }
        if (!Apply(option, options, error)) {
            return std::nullopt;
        }
        interval = interval || option == kInterval;
    }
    options.objects.assign(argv + ::optind, argv + argc);
    if (std::any_of(options.objects.begin(), options.objects.end(), [](const auto& word) { return word.empty(); })) {
        error = "the OID or object name is empty; leave it out to print everything";
        return std::nullopt;
    }
    if (error = Contradiction(options, interval); !error.empty()) {
        return std::nullopt;
    }
    return options;
}

const char* Options::Help() {
    return "Usage: cvtwalk [option]... [OID | object name]...\n"
           "       cvtwalk --top [--interval SECONDS] [--module FILE]...\n"
           "\n"
           "Loads extension modules into its own process and prints what they serve: every instance\n"
           "under each OID or object name (a column, a table, a group, a branch, or one .instance), or\n"
           "everything. No network, no SNMP.\n"
           "\n"
           "  --top                a live screen of this host; ? in it lists the keys\n"
           "  --interval SECONDS   how often the screen is refreshed (default: 5)\n"
           "\n"
           "  --format table       tables with a row for each index (default on a terminal)\n"
           "  --format text        one line for each instance, as SNMP clients print it (default elsewhere)\n"
           "  --format json        an array of objects, for scripts\n"
           "  --format csv         a block of comma-separated values for each table\n"
           "  --format prometheus  metrics in Prometheus' text exposition format\n"
           "  --format html        one self-contained page about the host\n"
           "\n"
           "  --sort COLUMN        sort the rows of tables by this column; --reverse: in descending order\n"
           "  --filter COLUMN=TEXT only rows with the text in that column; may be repeated\n"
           "  --columns A,B        only these columns, in this order\n"
           "  --limit N            only the first N rows of each table\n"
           "  --join               processes and what they use as one table, as --format table has them\n"
           "  --all                also file systems without a size, which tables fold into one line\n"
           "  --wait-for-load      wait up to 16 s until the load of the processors is measured\n"
           "  --watch SECONDS      print repeatedly, until interrupted\n"
           "\n"
           "  --module FILE        an extension module; may be repeated (default: libCVHost.so.1)\n"
           "  --timeout SECONDS    how long to wait until the modules are ready (default: 30)\n"
           "  -V, --version        print the version and exit\n"
           "  -h, --help           print this and exit\n"
           "\n"
           "Exit status: 0 when all was printed, even if it is empty; 1 when something failed, as a line on\n"
           "standard error says; 2 for a wrong command line.\n"
           "\n"
           "  cvtwalk hrStorageTable\n"
           "  cvtwalk --join --sort mem --reverse --limit 10 --columns name,mem,cpu hrSWRunTable\n"
           "  cvtwalk --format json 1.3.6.1.2.1.25.4 | jq -r '.[].name'\n"
           "  cvtwalk --format html > host.html\n";
}

}  // namespace cvtwalk
