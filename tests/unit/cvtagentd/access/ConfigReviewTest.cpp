// What a configuration may contain when every directive is spelled correctly.

#include "agent/cvtagentd/access/ConfigReview.h"

#include <gmock/gmock.h>

#include "tests/support/ScratchFolder.h"

namespace cvtagentd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Perms = std::filesystem::perms;

class ConfigReviewTest : public ::testing::Test {
protected:
    /// Only the owner may read the file, unless `perms` says otherwise.
    ConfigReview Review(const std::string& content, Perms perms = Perms::owner_read | Perms::owner_write) const {
        m_scratch.Write("agent.conf", content);
        std::filesystem::permissions(File(), perms);
        return ConfigReview::Of(File());
    }
    std::string File() const { return m_scratch / "agent.conf"; }
    std::string UndefinedView(int line, const std::string& view) const {
        return File() + ": line " + std::to_string(line) + ": Error: the view " + view +
               " is not defined; add \"view " + view + " included OID\"";
    }
    std::string UnknownUser(int line, const std::string& user) const {
        return File() + ": line " + std::to_string(line) + ": Note: the user " + user +
               " is not created in this file: it exists only if cvtagentd --create-user " + user +
               ", or an earlier createUser, has created it";
    }

    const ScratchFolder m_scratch;
};

TEST_F(ConfigReviewTest, AnUndefinedViewIsAFault) {
    EXPECT_THAT(Review("createUser me SHA \"long enough\"\n"
                       "rouser me auth -V some\n"
                       "rocommunity public 127.0.0.1 -V \"others\"\n"
                       "view mine included .1\n"
                       "access us \"\" any noauth exact mine write none\n"
                       "group us usm me\n")
                    .faults,
                ElementsAre(UndefinedView(2, "some"), UndefinedView(3, "others"), UndefinedView(5, "write")));
}

TEST_F(ConfigReviewTest, AnUndefinedGroupIsAFault) {
    EXPECT_THAT(Review("group us usm me\ncreateUser me\n"
                       "access us \"\" any noauth exact _all_ none none\n"
                       "access them \"\" any noauth exact _all_ none none\n")
                    .faults,
                ElementsAre(File() + ": line 4: Error: the group them is not defined; add \"group them usm USER\" or "
                                     "\"group them v1|v2c COM2SEC-NAME\""));
}

TEST_F(ConfigReviewTest, AMethodThatIsNotWrittenInFullIsARemarkThatSaysWhatItIsTakenFor) {
    const auto taken = [&](int line, const std::string& word, const std::string& method) {
        return File() + ": line " + std::to_string(line) + ": Warning: " + word + " is taken as " + method +
               "; write the method in full";
    };
    EXPECT_THAT(Review("createUser a SHA3 \"long enough\" AES2\n"
                       "createUser -e 0x8000000001020304 b SHA-2 \"long enough\"\n"
                       "createUser c MD -m 0x11 DE\n")
                    .remarks,
                ElementsAre(taken(1, "SHA3", "SHA-384"), taken(1, "AES2", "AES-256"), taken(2, "SHA-2", "SHA-224"),
                            taken(3, "MD", "MD5"), taken(3, "DE", "DES")));
    for (const char* const whole : {"SHA", "SHA1", "sha-1", "SHA256", "SHA-256", "SHA-512", "MD5"}) {
        for (const char* const cipher : {"AES", "AES128", "AES-128", "aes-256", "DES"}) {
            EXPECT_THAT(Review("createUser a " + std::string(whole) + " \"long enough\" " + cipher + "\n").remarks,
                        IsEmpty())
                << whole << " " << cipher;
        }
    }
}

TEST_F(ConfigReviewTest, AViewMayBeDefinedAfterItsUse) {
    const ConfigReview review = Review("rocommunity public 127.0.0.1 -V some\nVIEW some included .1\n");
    EXPECT_THAT(review.faults, IsEmpty());
    EXPECT_THAT(review.remarks, IsEmpty());
}

TEST_F(ConfigReviewTest, AUserThatTheFileDoesNotCreateIsARemarkBecauseItsKeysMayBeStored) {
    const ConfigReview review = Review(
        "rouser stranger priv\nrwuser -s usm other auth\ngroup us usm third\n"
        "createUser -e 0x8000000001020304 known SHA \"long enough\"\nrouser known\n");
    EXPECT_THAT(review.faults, IsEmpty());
    EXPECT_THAT(review.remarks,
                ElementsAre(UnknownUser(1, "stranger"), UnknownUser(2, "other"), UnknownUser(3, "third")));
}

TEST_F(ConfigReviewTest, DirectivesWithoutEffectAreRemarks) {
    EXPECT_THAT(Review("rocommunity public 127.0.0.1\nmaster agentx\nagentXSocket /run/x\n").remarks,
                ElementsAre(File() + ": line 2: Note: master has no effect in this agent",
                            File() + ": line 3: Note: agentxsocket has an effect with --agentx only"));
}

TEST_F(ConfigReviewTest, SecretsReadableByEverybodyAreARemark) {
    const std::string warning = File() + ": Warning: everybody on this host can read its secrets; chmod o= " + File();
    const Perms open = Perms::owner_read | Perms::owner_write | Perms::others_read;
    EXPECT_THAT(Review("rocommunity public 127.0.0.1\n", open).remarks, ElementsAre(warning));
    EXPECT_THAT(Review("createUser me SHA \"long enough\"\nrouser me\n", open).remarks, ElementsAre(warning));
    EXPECT_THAT(Review("createUser me\nrouser me noauth\n", open).remarks, IsEmpty());
}

TEST_F(ConfigReviewTest, CommentsAndSectionsOfOtherProgramsAreIgnored) {
    const ConfigReview review = Review(
        "# rouser stranger -V some\n  # view\n[snmp] disableSNMPv1 yes\n"
        "[other]\nrouser stranger auth -V some\n[cvtagentd]\nmaster agentx # -V some\n");
    EXPECT_THAT(review.faults, IsEmpty());
    EXPECT_THAT(review.remarks, ElementsAre(File() + ": line 7: Note: master has no effect in this agent"));
}

TEST_F(ConfigReviewTest, NamesMayBeDefinedInIncludedFiles) {
    const ConfigReview review = Review("includeFile other.conf\nrouser stranger auth -V some\n");
    EXPECT_THAT(review.faults, IsEmpty());
    EXPECT_THAT(review.remarks, IsEmpty());
}

TEST_F(ConfigReviewTest, AMissingFileHasNoFaultsAndNoRemarks) {
    EXPECT_THAT(ConfigReview::Of(m_scratch / "none").faults, IsEmpty());
}

}  // namespace
}  // namespace cvtagentd
