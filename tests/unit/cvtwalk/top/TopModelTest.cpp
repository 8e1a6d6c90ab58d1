#include "agent/cvtwalk/top/TopModel.h"

#include <gmock/gmock.h>

namespace {

using cvtwalk::HostState;
using cvtwalk::TopKey;
using cvtwalk::TopModel;
using testing::ElementsAre;
using Kind = TopKey::Kind;

HostState::Process Process(unsigned int id, const char* name, std::optional<long long> memory,
                           double childSeconds = 0) {
    return {id, name, std::string("--of ") + name, "runnable", memory, childSeconds};
}

class CvtwalkTopModel : public testing::Test {
protected:
    void Take(std::vector<HostState::Process> processes, double now) {
        HostState state;
        state.processes = std::move(processes);
        m_model.Take(std::move(state), now, true);
    }
    void TakeLoads(const std::vector<std::optional<int>>& loads, double now) {
        HostState state;
        for (const auto& load : loads) {
            state.processors.push_back({"a processor", load});
        }
        m_model.Take(std::move(state), now, false);
    }
    /// True until the user wants to leave.
    bool Press(std::string_view characters) {
        bool stays = true;
        for (const char c : characters) {
            stays = m_model.Press({Kind::kCharacter, static_cast<char32_t>(c)});
        }
        return stays;
    }
    void Press(Kind kind) { EXPECT_TRUE(m_model.Press({kind})); }
    std::vector<unsigned int> Ids() const {
        std::vector<unsigned int> ids;
        for (const TopModel::Process* const process : m_model.Shown()) {
            ids.push_back(process->now.id);
        }
        return ids;
    }

    TopModel m_model;
};

TEST_F(CvtwalkTopModel, SortsByMemoryFirstAndByAnyKeyThatIsPressed) {
    Take({Process(1, "b", 10), Process(2, "A", 30), Process(3, "c", std::nullopt), Process(4, "c", 20)}, 0);
    EXPECT_THAT(Ids(), ElementsAre(2, 4, 1, 3));
    Press("n");
    EXPECT_THAT(Ids(), ElementsAre(2, 1, 3, 4));
    Press("p");
    EXPECT_THAT(Ids(), ElementsAre(1, 2, 3, 4));
    Press("p");
    EXPECT_THAT(Ids(), ElementsAre(4, 3, 2, 1)) << "the same key again turns it round";
    Press("m");
    Press("r");
    EXPECT_THAT(Ids(), ElementsAre(1, 4, 2, 3)) << "what is absent stays last";
}

TEST_F(CvtwalkTopModel, SharesProcessorTimeOverTheTimeBetweenTwoReadings) {
    Take({Process(1, "make", 1, 10), Process(2, "sh", 1, 5)}, 100);
    EXPECT_FALSE(m_model.Span());
    EXPECT_FALSE(m_model.Shown()[0]->share);
    Take({Process(1, "make", 1, 40), Process(2, "sh", 1, 5)}, 120);
    Press("c");
    EXPECT_THAT(Ids(), ElementsAre(1, 2));
    EXPECT_EQ(m_model.Span(), 20);
    EXPECT_EQ(m_model.Shown()[0]->share, 1.5);
    EXPECT_EQ(m_model.Shown()[1]->share, 0);
}

TEST_F(CvtwalkTopModel, TakesANumberThatWasGivenOutAgainForAnotherProcess) {
    Take({Process(1, "make", 1, 10), Process(2, "sh", 1, 5)}, 0);
    Take({Process(1, "cron", 1, 40), Process(2, "sh", 1, 4), Process(3, "new", 1, 9)}, 15);
    for (const TopModel::Process* const process : m_model.Shown()) {
        EXPECT_FALSE(process->share) << process->now.name;
    }
}

TEST_F(CvtwalkTopModel, ReadsProcessesWhenTheModuleHasNewOnesAndTellsTheirAge) {
    EXPECT_TRUE(m_model.WantsProcesses(0));
    EXPECT_FALSE(m_model.Age(0));
    Take({Process(1, "a", 1)}, 2);
    EXPECT_FALSE(m_model.WantsProcesses(2));
    EXPECT_FALSE(m_model.WantsProcesses(17));
    EXPECT_TRUE(m_model.WantsProcesses(17.1));
    TakeLoads({50}, 10);
    EXPECT_EQ(m_model.Age(10), 8) << "what is read without processes leaves them as they were";
    EXPECT_EQ(m_model.Shown().size(), 1U);
}

TEST_F(CvtwalkTopModel, FiltersByWhatIsTypedInAnyCase) {
    Take({Process(1, "init", 3), Process(22, "Cron", 2), Process(3, "sshd", 1)}, 0);
    Press("/cRo");
    EXPECT_TRUE(m_model.IsTyping());
    EXPECT_THAT(Ids(), ElementsAre(22));
    Press(Kind::kBackspace);
    Press(Kind::kBackspace);
    Press(Kind::kBackspace);
    Press("22");
    EXPECT_THAT(Ids(), ElementsAre(22)) << "by number too";
    Press(Kind::kEnter);
    EXPECT_FALSE(m_model.IsTyping());
    EXPECT_EQ(m_model.Filter(), "22");
    EXPECT_TRUE(Press("n")) << "letters are keys again";
    EXPECT_EQ(m_model.Filter(), "22");
    Press(Kind::kEscape);
    EXPECT_EQ(m_model.Total(), Ids().size());
}

TEST_F(CvtwalkTopModel, TakesLettersOfAnyLanguageIntoTheFilterAndNoControlCharacter) {
    Press("/");
    m_model.Press({Kind::kCharacter, 0xE9});
    m_model.Press({Kind::kCharacter, 0x1F600});
    m_model.Press({Kind::kCharacter, 0x1B});
    m_model.Press({Kind::kCharacter, 0x9B});
    EXPECT_EQ(m_model.Filter(), "\u00E9\U0001F600");
    Press(Kind::kBackspace);
    EXPECT_EQ(m_model.Filter(), "\u00E9");
}

TEST_F(CvtwalkTopModel, ScrollsWithinWhatThereIs) {
    std::vector<HostState::Process> processes;
    for (unsigned int id = 1; id <= 10; ++id) {
        processes.push_back(Process(id, "x", 1));
    }
    Take(processes, 0);
    m_model.SetPage(4);
    Press(Kind::kUp);
    EXPECT_EQ(m_model.Offset(), 0U);
    Press(Kind::kPageDown);
    Press(Kind::kDown);
    EXPECT_EQ(m_model.Offset(), 5U);
    Press(Kind::kEnd);
    Press(Kind::kDown);
    EXPECT_EQ(m_model.Offset(), 6U);
    m_model.SetPage(20);
    EXPECT_EQ(m_model.Offset(), 0U) << "a larger screen shows them all";
    m_model.SetPage(4);
    Press(Kind::kEnd);
    processes.resize(2);
    Take(processes, 20);
    EXPECT_EQ(m_model.Offset(), 0U) << "fewer processes are left";
}

TEST_F(CvtwalkTopModel, PausesShowsHelpAndLeaves) {
    EXPECT_TRUE(Press(" "));
    EXPECT_TRUE(m_model.IsPaused());
    EXPECT_TRUE(Press(" "));
    EXPECT_FALSE(m_model.IsPaused());
    EXPECT_TRUE(Press("?"));
    EXPECT_TRUE(m_model.ShowsHelp());
    EXPECT_TRUE(m_model.Press({Kind::kResized}));
    EXPECT_TRUE(m_model.ShowsHelp()) << "a resize is no key";
    EXPECT_TRUE(Press("q")) << "any key goes back";
    EXPECT_FALSE(m_model.ShowsHelp());
    EXPECT_FALSE(Press("q"));
}

TEST_F(CvtwalkTopModel, NotesALoadEveryFifteenSecondsOnceItIsOneOfFifteenSeconds) {
    TakeLoads({std::nullopt, std::nullopt}, 5);
    EXPECT_FALSE(m_model.LoadIsSinceStart(5));
    TakeLoads({30, 0}, 16);
    EXPECT_TRUE(m_model.LoadIsSinceStart(16));
    EXPECT_TRUE(m_model.History(0).empty()) << "an average since the host was started";
    TakeLoads({40, 10}, 32);
    EXPECT_FALSE(m_model.LoadIsSinceStart(32));
    TakeLoads({40, 10}, 37);
    TakeLoads({50, 20}, 47);
    EXPECT_THAT(m_model.History(0), ElementsAre(40, 50));
    EXPECT_THAT(m_model.History(1), ElementsAre(10, 20));
    EXPECT_TRUE(m_model.History(7).empty());
}

TEST_F(CvtwalkTopModel, PutsTheFullestFileSystemFirst) {
    HostState state;
    state.fileSystems = {{"/a", 10, 1, 0.1}, {"/b", std::nullopt, 1, std::nullopt}, {"/c", 10, 9, 0.9}};
    m_model.Take(std::move(state), 0, false);
    EXPECT_EQ(m_model.State().fileSystems[0].name, "/c");
    EXPECT_EQ(m_model.State().fileSystems[2].name, "/b");
}

}  // namespace
