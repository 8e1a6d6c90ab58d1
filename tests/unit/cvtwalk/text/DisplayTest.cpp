#include "agent/cvtwalk/text/Display.h"

#include <gtest/gtest.h>

#include "tests/support/PseudoTerminal.h"

namespace {

using cvtwalk::Display;

class CvtwalkDisplay : public testing::Test {
protected:
    CvtwalkDisplay() {
        ::unsetenv("COLUMNS");
        ::unsetenv("LC_CTYPE");
        ::setenv("LC_ALL", "C", 1);
    }
};

TEST_F(CvtwalkDisplay, LimitsNoLineOfAFile) {
    ::setenv("COLUMNS", "40", 1);
    const int file = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(Display::Of(file).width, 0U);
    ::close(file);
    EXPECT_EQ(Display::Of(-1).width, 0U);
}

TEST_F(CvtwalkDisplay, LimitsLinesToTheTerminal) {
    const PseudoTerminal terminal(72);
    if (!terminal.IsOpen()) {
        GTEST_SKIP() << "no pseudo terminals here";
    }
    EXPECT_EQ(Display::Of(terminal.Descriptor()).width, 72U);
    ::setenv("COLUMNS", "40", 1);
    EXPECT_EQ(Display::Of(terminal.Descriptor()).width, 40U);
    for (const char* const bad : {"", "0", "-1", "wide", "40x", "99999999999999999999999"}) {
        ::setenv("COLUMNS", bad, 1);
        EXPECT_EQ(Display::Of(terminal.Descriptor()).width, 72U) << bad;
    }
}

TEST_F(CvtwalkDisplay, LimitsNoLineOfATerminalWithoutASize) {
    const PseudoTerminal terminal(0);
    if (!terminal.IsOpen()) {
        GTEST_SKIP() << "no pseudo terminals here";
    }
    EXPECT_EQ(Display::Of(terminal.Descriptor()).width, 0U);
}

TEST_F(CvtwalkDisplay, TellsTheCharactersByTheLocale) {
    EXPECT_FALSE(Display::Of(-1).utf8);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    EXPECT_TRUE(Display::Of(-1).utf8);
    ::setenv("LC_ALL", "xx_YY.UTF-8", 1);
    EXPECT_FALSE(Display::Of(-1).utf8) << "there is no such locale";
}

}  // namespace
