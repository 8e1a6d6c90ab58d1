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
    EXPECT_EQ(options->object, "");
    EXPECT_FALSE(options->help);
    EXPECT_FALSE(options->version);
}

TEST(CvtwalkOptions, TakeAnyNumberOfModulesAndOneObjectInAnyPlace) {
    const auto options =
        Parse({"--module", "a.so", "hrStorage", "--module=b.so", "--format", "json", "--timeout", "5"});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->modules, (std::vector<std::string>{"a.so", "b.so"}));
    EXPECT_EQ(options->object, "hrStorage");
    EXPECT_EQ(options->format, Options::Format::kJson);
    EXPECT_EQ(options->timeoutSeconds, 5U);
}

TEST(CvtwalkOptions, KnowTheThreeFormatsAndNoOther) {
    EXPECT_EQ(Parse({"--format=text"})->format, Options::Format::kText);
    EXPECT_EQ(Parse({"--format=json"})->format, Options::Format::kJson);
    EXPECT_EQ(Parse({"--format=table"})->format, Options::Format::kTable);
    std::string error;
    EXPECT_FALSE(Parse({"--format=xml"}, &error));
    EXPECT_EQ(error, "--format wants text, json or table, not 'xml'");
}

TEST(CvtwalkOptions, RefuseATimeoutThatIsNoNumberOfSeconds) {
    for (const char* const bad : {"", "x", "1s", "-1", "1.5", " 1", "0", "86401", "99999999999999999999"}) {
        std::string error;
        EXPECT_FALSE(Parse({"--timeout", bad}, &error)) << bad;
        EXPECT_EQ(error, "--timeout wants a number of seconds from 1 to 86400, not '" + std::string(bad) + "'");
    }
    EXPECT_EQ(Parse({"--timeout", "1"})->timeoutSeconds, 1U);
    EXPECT_EQ(Parse({"--timeout", "86400"})->timeoutSeconds, 86'400U);
}

TEST(CvtwalkOptions, RefuseEmptyWords) {
    std::string error;
    EXPECT_FALSE(Parse({"--module", ""}, &error));
    EXPECT_EQ(error, "--module wants the file of a module, not an empty word");
    EXPECT_FALSE(Parse({"--module="}, &error));
    EXPECT_EQ(error, "--module wants the file of a module, not an empty word");
    EXPECT_FALSE(Parse({""}, &error));
    EXPECT_EQ(error, "the OID or object name is empty; leave it out to print everything");
}

TEST(CvtwalkOptions, NameTheWordThatIsWrong) {
    std::string error;
    EXPECT_FALSE(Parse({"--bogus"}, &error));
    EXPECT_EQ(error, "wrong option --bogus");
    EXPECT_FALSE(Parse({"-x"}, &error));
    EXPECT_EQ(error, "wrong option -x");
    EXPECT_FALSE(Parse({"--version=1"}, &error));
    EXPECT_EQ(error, "wrong option --version=1");
    EXPECT_FALSE(Parse({"--module"}, &error));
    EXPECT_EQ(error, "the option --module wants an argument");
    EXPECT_FALSE(Parse({"hrStorage", "--bogus"}, &error));
    EXPECT_EQ(error, "wrong option --bogus");
    EXPECT_FALSE(Parse({"hrStorage", "hrDevice"}, &error));
    EXPECT_EQ(error, "one OID or object name at most, and there is 'hrDevice' too");
}

TEST(CvtwalkOptions, TellHelpAndVersion) {
    EXPECT_TRUE(Parse({"--help"})->help);
    EXPECT_TRUE(Parse({"--version"})->version);
    const std::string help = Options::Help();
    for (const char* const word : {"--module", "--format", "--timeout", "--version", "--help"}) {
        EXPECT_NE(help.find(word), std::string::npos) << word;
    }
}

}  // namespace
