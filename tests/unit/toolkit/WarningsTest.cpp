#include "CVT/Warnings.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/ReceivedWarnings.h"

namespace {

using Texts = std::vector<std::string>;

TEST(Warnings, ReachTheReceiverFromAnyThread) {
    ReceivedWarnings received;
    CVT::Warn("the first");
    std::thread([] { CVT::Warn("the second"); }).join();
    EXPECT_EQ(received.Take(), (Texts{"the first", "the second"}));
}

TEST(Warnings, AreLostWithoutAReceiver) {
    testing::internal::CaptureStderr();
    CVT::Warn("no receiver yet");
    ReceivedWarnings received;
    EXPECT_EQ(received.Take(), Texts{});
    CVT::SetWarningReceiver(nullptr);
    CVT::Warn("no receiver any more");
    EXPECT_EQ(received.Take(), Texts{});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "a module has no stream of its own";
}

TEST(Warnings, ContainNoControlCharacters) {
    ReceivedWarnings received;
    CVT::Warn("/mnt/a\nb\x1b[2J\x7f may not be looked at\n");
    EXPECT_EQ(received.Take(), Texts{"/mnt/a b [2J  may not be looked at "});
}

TEST(Warnings, DoNotDisturbTheCallerWhenTheReceiverThrows) {
    CVT::SetWarningReceiver([](std::string_view) { throw std::runtime_error("no room for a line"); });
    EXPECT_NO_THROW(CVT::Warn("lost"));
    CVT::SetWarningReceiver(nullptr);
}

}  // namespace
