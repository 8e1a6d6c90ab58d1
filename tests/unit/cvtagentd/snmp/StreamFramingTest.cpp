#include "agent/cvtagentd/snmp/StreamFraming.h"

#include <gtest/gtest.h>

#include <string>

namespace agent_test {
namespace {

using cvtagentd::StreamFraming;
using Verdict = StreamFraming::Verdict;

/// The octets up to, and without, a message's content.
std::string Head(std::size_t content, unsigned int lengthOctets) {
    std::string head("\x30");
    if (lengthOctets == 0) {
        return head + static_cast<char>(content);
    }
    head += static_cast<char>(0x80U | lengthOctets);
    for (unsigned int i = lengthOctets; i-- > 0;) {
        head += static_cast<char>(content >> (8 * i) & 0xFFU);
    }
    return head;
}

std::string Message(std::size_t content, unsigned int lengthOctets) {
    return Head(content, lengthOctets) + std::string(content, '\xFF');
}

TEST(StreamFraming, FindsTheSameMessagesHoweverTheStreamIsCut) {
    const std::string stream =
        Message(5, 0) + Message(0, 0) + Message(127, 1) + Message(200, 1) + Message(300, 2) + Message(3, 4);
    for (std::size_t piece = 1; piece <= stream.size(); ++piece) {
        StreamFraming framing;
        for (std::size_t at = 0; at < stream.size(); at += piece) {
            ASSERT_EQ(framing.Take(std::string_view(stream).substr(at, piece)), Verdict::kGood) << piece;
        }
        EXPECT_EQ(framing.NumComplete(), 6U) << piece;
        EXPECT_FALSE(framing.IsInMessage()) << piece;
        EXPECT_EQ(framing.Missing(), 0U) << piece;
    }
}

TEST(StreamFraming, KnowsHowMuchIsMissingAtLeast) {
    const std::string message = Message(300, 2);
    for (std::size_t length = 1; length < message.size(); ++length) {
        StreamFraming framing;
        framing.Take(std::string_view(message).substr(0, length));
        EXPECT_TRUE(framing.IsInMessage()) << length;
        EXPECT_EQ(framing.NumComplete(), 0U) << length;
        EXPECT_GE(framing.Missing(), 1U) << length;
        EXPECT_LE(framing.Missing(), message.size() - length) << length;
        if (length >= 4) {
            EXPECT_EQ(framing.Missing(), message.size() - length) << length;
        }
    }
}

TEST(StreamFraming, TakesTheLongestMessageAndRefusesALongerOneByItsHead) {
    for (const unsigned int lengthOctets : {2U, 3U, 4U}) {
        const std::size_t most = StreamFraming::kLongestMessage - 2 - lengthOctets;
        EXPECT_EQ(StreamFraming().Take(Message(most, lengthOctets)), Verdict::kGood) << lengthOctets;
        EXPECT_EQ(StreamFraming().Take(Head(most + 1, lengthOctets)), Verdict::kTooLong) << lengthOctets;
    }
    EXPECT_EQ(StreamFraming().Take(Head(0x7FFFFFFF, 4)), Verdict::kTooLong);
    EXPECT_EQ(StreamFraming().Take(Head(0xFFFFFFFF, 4)), Verdict::kTooLong);
}

TEST(StreamFraming, RefusesWhatDoesNotBeginLikeAMessage) {
    EXPECT_EQ(StreamFraming().Take("\x31"), Verdict::kNoMessage) << "another tag";
    EXPECT_EQ(StreamFraming().Take("GET / HTTP/1.0"), Verdict::kNoMessage);
    EXPECT_EQ(StreamFraming().Take("\x30\x80"), Verdict::kNoMessage) << "an indefinite length";
    EXPECT_EQ(StreamFraming().Take(Head(10, 5)), Verdict::kNoMessage) << "a length of five octets";
    EXPECT_EQ(StreamFraming().Take("\x30\xFF"), Verdict::kNoMessage) << "a reserved length";
    EXPECT_EQ(StreamFraming().Take(Message(5, 0) + "\x02"), Verdict::kNoMessage) << "after a good one";
}

}  // namespace
}  // namespace agent_test
