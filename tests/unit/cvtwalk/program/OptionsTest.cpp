#include "agent/cvtwalk/program/Options.h"

#include <gtest/gtest.h>

namespace {

using cvtwalk::Options;

/// Parses a command line; `error` says why it was refused.
std::optional<Options> Parse(std::vector<std::string> words, std::string* error = nullptr) {
    words.insert(words.begin(), "cvtwalk");
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    std::string why;
    auto options = Options::Parse(static_cast<int>(words.size()), argv.data(), why);
    EXPECT_EQ(options.has_value(), why.empty());
    EXPECT_EQ(why.find('\n'), std::string::npos);
    if (error != nullptr) {
        *error = why;
    }
    return options;
}

TEST(CvtwalkOptions, AreTheDefaultsWithoutArguments) {
    const auto options = Parse({});
    ASSERT_TRUE(options);
    EXPECT_TRUE(options->modules.empty());
    EXPECT_EQ(options->format, Options::Format::kText);
    EXPECT_EQ(options->timeoutSeconds, 30U);
    EXPECT_TRUE(options->objects.empty());
    EXPECT_TRUE(options->anyFormat);
    EXPECT_TRUE(options->selection.IsEmpty());
    EXPECT_FALSE(options->top);
    EXPECT_FALSE(options->help);
    EXPECT_FALSE(options->version);
}

TEST(CvtwalkOptions, TakeAnyNumberOfModulesAndOneObjectInAnyPlace) {
    const auto options =
        Parse({"--module", "a.so", "hrStorage", "--module=b.so", "--format", "json", "--timeout", "5"});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->modules, (std::vector<std::string>{"a.so", "b.so"}));
    EXPECT_EQ(options->objects, std::vector<std::string>{"hrStorage"});
    EXPECT_EQ(options->format, Options::Format::kJson);
    EXPECT_EQ(options->timeoutSeconds, 5U);
}

TEST(CvtwalkOptions, KnowTheThreeFormatsAndNoOther) {
    EXPECT_EQ(Parse({"--format=text"})->format, Options::Format::kText);
    EXPECT_EQ(Parse({"--format=json"})->format, Options::Format::kJson);
    EXPECT_EQ(Parse({"--format=table"})->format, Options::Format::kTable);
    std::string error;
    EXPECT_FALSE(Parse({"--format=xml"}, &error));
    EXPECT_EQ(error, "--format needs text, json, table, csv, prometheus or html, not 'xml'");
}

TEST(CvtwalkOptions, RefuseATimeoutThatIsNoNumberOfSeconds) {
    for (const char* const bad : {"", "x", "1s", "-1", "1.5", " 1", "0", "86401", "99999999999999999999"}) {
        std::string error;
        EXPECT_FALSE(Parse({"--timeout", bad}, &error)) << bad;
        EXPECT_EQ(error, "--timeout needs a number of seconds from 1 to 86400, not '" + std::string(bad) + "'");
    }
    EXPECT_EQ(Parse({"--timeout", "1"})->timeoutSeconds, 1U);
    EXPECT_EQ(Parse({"--timeout", "86400"})->timeoutSeconds, 86'400U);
}

TEST(CvtwalkOptions, RefuseEmptyWords) {
    std::string error;
    EXPECT_FALSE(Parse({"--module", ""}, &error));
    EXPECT_EQ(error, "--module needs a value that is not empty");
    EXPECT_FALSE(Parse({"--module="}, &error));
    EXPECT_EQ(error, "--module needs a value that is not empty");
    EXPECT_FALSE(Parse({""}, &error));
    EXPECT_EQ(error, "the OID or object name is empty; leave it out to print everything");
}

TEST(CvtwalkOptions, NameTheWordThatIsWrong) {
    std::string error;
    EXPECT_FALSE(Parse({"--bogus"}, &error));
    EXPECT_EQ(error, "the option --bogus is unknown");
    EXPECT_FALSE(Parse({"-x"}, &error));
    EXPECT_EQ(error, "the option -x is unknown");
    EXPECT_FALSE(Parse({"--version=1"}, &error));
    EXPECT_EQ(error, "the option --version takes no value");
    EXPECT_FALSE(Parse({"--module"}, &error));
    EXPECT_EQ(error, "the option --module needs a value");
    EXPECT_FALSE(Parse({"hrStorage", "--wa"}, &error));
    EXPECT_EQ(error, "the option --wa is ambiguous: it may mean --wait-for-load, --watch");
    EXPECT_FALSE(Parse({"hrStorage", "--bogus"}, &error));
    EXPECT_EQ(error, "the option --bogus is unknown");
}

TEST(CvtwalkOptions, TakeSeveralObjects) {
    EXPECT_EQ(Parse({"hrStorage", "hrDevice"})->objects, (std::vector<std::string>{"hrStorage", "hrDevice"}));
    EXPECT_FALSE(Parse({"hrStorage", ""}));
}

TEST(CvtwalkOptions, KnowTheFormatsForOtherPrograms) {
    EXPECT_EQ(Parse({"--format=csv"})->format, Options::Format::kCsv);
    EXPECT_EQ(Parse({"--format=prometheus"})->format, Options::Format::kPrometheus);
    EXPECT_EQ(Parse({"--format=html"})->format, Options::Format::kHtml);
    EXPECT_FALSE(Parse({"--format=html"})->anyFormat);
}

TEST(CvtwalkOptions, TakeWhatSelectsRowsAndColumns) {
    const auto options =
        Parse({"--sort", "mem", "--reverse", "--filter", "name=a=b", "--filter", "index=7", "--columns", "name,mem",
               "--limit", "3", "--join", "--all", "--wait-for-load", "--watch", "2"});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->selection.sort, "mem");
    EXPECT_TRUE(options->selection.reverse);
    using Filter = std::pair<std::string, std::string>;
    EXPECT_EQ(options->selection.filters, (std::vector<Filter>{{"name", "a=b"}, {"index", "7"}}));
    EXPECT_EQ(options->selection.columns, (std::vector<std::string>{"name", "mem"}));
    EXPECT_EQ(options->selection.limit, 3U);
    EXPECT_TRUE(options->join);
    EXPECT_TRUE(options->all);
    EXPECT_TRUE(options->waitForLoad);
    EXPECT_EQ(options->watchSeconds, 2U);
}

TEST(CvtwalkOptions, SayWhatASelectionWants) {
    std::string error;
    EXPECT_FALSE(Parse({"--filter", "name"}, &error));
    EXPECT_EQ(error, "--filter needs COLUMN=TEXT, not 'name'");
    EXPECT_FALSE(Parse({"--filter", "=x"}, &error));
    EXPECT_FALSE(Parse({"--columns", "a,,b"}, &error));
    EXPECT_EQ(error, "--columns needs names with commas between them, not 'a,,b'");
    EXPECT_FALSE(Parse({"--sort", ""}, &error));
    EXPECT_EQ(error, "--sort needs a value that is not empty");
    EXPECT_FALSE(Parse({"--limit", "0"}, &error));
    EXPECT_EQ(error, "--limit needs a number of rows from 1 to 1000000000, not '0'");
    EXPECT_FALSE(Parse({"--watch", "x"}, &error));
    EXPECT_EQ(error, "--watch needs a number of seconds from 1 to 86400, not 'x'");
}

TEST(CvtwalkOptions, RefuseWhatWouldBeIgnored) {
    std::string error;
    EXPECT_EQ(Parse({"--top", "--interval", "2"})->intervalSeconds, 2U);
    for (const char* const word : {"hrStorage", "--join", "--all", "--format=text", "--watch=1", "--limit=1"}) {
        EXPECT_FALSE(Parse({"--top", word}, &error)) << word;
        EXPECT_EQ(error, "--top is a screen of its own: it goes with --module, --interval and --timeout only");
    }
    EXPECT_FALSE(Parse({"--interval", "2"}, &error));
    EXPECT_EQ(error, "--interval belongs to --top; to repeat a table, use --watch SECONDS");
    for (const char* const word : {"hrStorage", "--sort=x", "--watch=1"}) {
        EXPECT_FALSE(Parse({"--format=html", word}, &error)) << word;
    }
}

TEST(CvtwalkOptions, TellHelpAndVersion) {
    EXPECT_TRUE(Parse({"--help"})->help);
    EXPECT_TRUE(Parse({"--version"})->version);
    const std::string help = Options::Help();
    for (const char* const word :
         {"--module", "--format", "--timeout", "--version", "--help", "--top", "--interval", "--sort", "--reverse",
          "--filter", "--columns", "--limit", "--join", "--all", "--wait-for-load", "--watch"}) {
        EXPECT_NE(help.find(word), std::string::npos) << word;
    }
}

}  // namespace
