// GETBULK where some columns end at once, or after some repetitions: the names under which endOfMibView is returned.

#include <random>

#include "tests/agent/V3Test.h"

namespace agent_test {
namespace {

constexpr unsigned char kEndOfMibView = 0x82;

const std::vector<unsigned int> kAgents = {1, 3, 6, 1, 6, 3, 10, 2, 1};  // the last subtree that the agent serves
const std::vector<unsigned int> kModules = {1, 3, 6, 1, 4, 1, 32473};

std::vector<unsigned int> Below(std::vector<unsigned int> root, const std::vector<unsigned int>& arcs) {
    root.insert(root.end(), arcs.begin(), arcs.end());
    return root;
}

struct Asker {
    const char* name;
    const char* user;  // of version 3; otherwise null
    const char* community;
};

void PrintTo(const Asker& asker, std::ostream* out) { *out << asker.name; }

constexpr Asker kAskers[] = {
    {"V2cThatSeesAll", nullptr, "public"},       {"V2cThatSeesTheModules", nullptr, "private"},
    {"V3ThatSeesAll", "plain", nullptr},         {"V3SealedThatSeesAll", "sealed", nullptr},
    {"V3ThatSeesTheModules", "narrow", nullptr},
};

class BulkEndTest : public V3Test, public ::testing::WithParamInterface<Asker> {
protected:
    struct Instance {
        std::string name;  // encoded
        bool isEnd = false;

        friend bool operator==(const Instance&, const Instance&) = default;
        friend void PrintTo(const Instance& instance, std::ostream* out) {
            *out << ::testing::PrintToString(instance.name) << (instance.isEnd ? " at the end" : "");
        }
    };
    using Names = std::vector<std::string>;

    void SetUp() override {
        m_users.emplace_back("narrow", Digest::kNone, Cipher::kNone);
        StartWithUsers(
            "view modules included .1.3.6.1.4.1.32473\naccess narrow \"\" any noauth exact modules none none\n"
            "group narrow usm narrow\n");
    }

    std::vector<Instance> Ask(unsigned char command, const Names& names, int nonRepeaters = 0, int repetitions = 0) {
        const bool isV3 = GetParam().user != nullptr;
        const auto varBinds =
            isV3 ? AskV3(command, names, nonRepeaters, repetitions) : AskV2c(command, names, nonRepeaters, repetitions);
        std::vector<Instance> instances;
        for (const V3Message::VarBind& varBind : varBinds) {
            instances.push_back({varBind.name, static_cast<unsigned char>(varBind.value.at(0)) == kEndOfMibView});
        }
        return instances;
    }

    /// What a walk finds after a name: `count` instances, of which those after the last one repeat its name.
    std::vector<Instance> Chain(const std::string& name, int count) {
        std::vector<Instance> chain;
        for (Instance at = {name, false}; static_cast<int>(chain.size()) < count;) {
            const std::vector<Instance> next = at.isEnd ? std::vector{at} : Ask(V3Message::kGetNext, {at.name});
            if (next.size() != 1) {
                ADD_FAILURE() << "no answer to a GETNEXT of " << ::testing::PrintToString(at.name);
                return {};
            }
            at = next.front();
            chain.push_back(at);
        }
        return chain;
    }

    /// Expects what as many GETNEXTs return. The response may end after any whole repetition but the first.
    void ExpectAsByGetNext(const Names& names, int nonRepeaters, int repetitions) {
        std::vector<Instance> expected;
        std::vector<std::vector<Instance>> columns;
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (static_cast<int>(i) < nonRepeaters) {
                expected.push_back(Chain(names[i], 1).at(0));
            } else {
                columns.push_back(Chain(names[i], repetitions));
            }
        }
        const std::size_t least = expected.size() + (repetitions > 0 ? columns.size() : 0);
        for (std::size_t row = 0; row < static_cast<std::size_t>(repetitions); ++row) {
            for (const std::vector<Instance>& column : columns) {
                expected.push_back(column.at(row));
            }
        }
        const std::vector<Instance> found = Ask(V3Message::kGetBulk, names, nonRepeaters, repetitions);
        ASSERT_GE(found.size(), least);
        ASSERT_LE(found.size(), expected.size());
        expected.resize(found.size());
        EXPECT_EQ(found, expected) << nonRepeaters << " of " << names.size() << " once, the others " << repetitions
                                   << " times";
    }

    const std::string m_atEnd = ber::Oid(Below(kAgents, {4, 0}));
    const std::string m_afterEnd = ber::Oid(Below(kAgents, {4, 0, 1}));
    const std::string m_farAfterEnd = ber::Oid({2, 5});
    const std::string m_oneLeft = ber::Oid(Below(kAgents, {3, 0}));
    const std::string m_twoLeft = ber::Oid(Below(kAgents, {2, 0}));
    const std::string m_table = ber::Oid(Below(kModules, {3, 2, 1, 1, 4}));
    const std::string m_lastOfTable = ber::Oid(Below(kModules, {3, 2, 1, 3, 299}));
    const std::string m_lastModule = ber::Oid(Below(kModules, {3, 4, 1}));

private:
    std::vector<V3Message::VarBind> AskV3(unsigned char command, const Names& names, int nonRepeaters,
                                          int repetitions) {
        const auto user = std::find_if(m_users.begin(), m_users.end(),
                                       [](const V3User& each) { return each.Name() == GetParam().user; });
        V3Message message = From(*user);
        message.command = command;
        message.errorStatus = nonRepeaters;
        message.errorIndex = repetitions;
        for (const std::string& name : names) {
            message.varBinds.push_back({name, ber::Field(ber::kNull, "")});
        }
        const auto response = V3Message::Decode(m_socket->Ask(message.Encode(*user)), *user);
        if (!response || response->command != V3Message::kResponse || response->errorStatus != 0) {
            ADD_FAILURE() << "no response, or an error";
            return {};
        }
        return response->varBinds;
    }

    std::vector<V3Message::VarBind> AskV2c(unsigned char command, const Names& names, int nonRepeaters,
                                           int repetitions) {
        std::string list;
        for (const std::string& name : names) {
            list += ber::Field(ber::kSequence, name + ber::Field(ber::kNull, ""));
        }
        const std::string pdu =
            ber::Integer(1) + ber::Integer(nonRepeaters) + ber::Integer(repetitions) + ber::Field(ber::kSequence, list);
        const std::string octets = m_socket->Ask(ber::Field(
            ber::kSequence,
            ber::Integer(1) + ber::Field(ber::kOctetString, GetParam().community) + ber::Field(command, pdu)));
        ber::Reader message(octets);
        ber::Reader fields(message.Take(ber::kSequence).value_or(""));
        fields.TakeInteger();
        fields.Take(ber::kOctetString);
        ber::Reader numbers(fields.Take(V3Message::kResponse).value_or(""));
        numbers.TakeInteger();
        EXPECT_EQ(numbers.TakeInteger().value_or(-1), 0) << "error-status";
        numbers.TakeInteger();
        std::vector<V3Message::VarBind> varBinds;
        for (ber::Reader rest(numbers.Take(ber::kSequence).value_or("")); !rest.IsAtEnd();) {
            ber::Reader varBind(rest.Take(ber::kSequence).value_or(""));
            const std::string name = ber::Field(ber::kOid, std::string(varBind.Take(ber::kOid).value_or("")));
            const unsigned char tag = varBind.Tag();
            varBinds.push_back({name, ber::Field(tag, std::string(varBind.Take().value_or("")))});
        }
        return varBinds;
    }
};

TEST_P(BulkEndTest, AColumnThatEndsAtOnceKeepsTheNameThatWasAskedFor) {
    ExpectAsByGetNext({m_table, m_atEnd}, 1, 3);
    ExpectAsByGetNext({m_table, m_table, m_afterEnd, m_farAfterEnd}, 2, 3);
    const std::vector<Instance> found = Ask(V3Message::kGetBulk, {m_table, m_farAfterEnd}, 1, 1);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[1], (Instance{m_farAfterEnd, true}));
}

TEST_P(BulkEndTest, ItKeepsThatNameInEachRepetitionBesideColumnsThatGoOn) {
    ExpectAsByGetNext({m_table, m_table, m_atEnd}, 1, 4);
    ExpectAsByGetNext({m_lastOfTable, m_atEnd, m_table, m_farAfterEnd, m_table}, 1, 4);
    ExpectAsByGetNext({m_table, m_atEnd, m_table}, 2, 4);
}

TEST_P(BulkEndTest, AColumnThatEndsAfterSomeRepetitionsKeepsItsLastName) {
    ExpectAsByGetNext({m_table, m_oneLeft, m_twoLeft, m_table}, 1, 5);
    ExpectAsByGetNext({m_table, m_twoLeft, m_atEnd, m_oneLeft, m_table}, 1, 5);
    ExpectAsByGetNext({m_table, m_lastModule, m_atEnd, m_table}, 1, 12);
}

TEST_P(BulkEndTest, NonRepeatersAtTheEndKeepTheirNamesToo) {
    ExpectAsByGetNext({m_atEnd, m_farAfterEnd, m_table, m_oneLeft}, 2, 3);
    ExpectAsByGetNext({m_farAfterEnd, m_atEnd}, 2, 3);
    ExpectAsByGetNext({m_farAfterEnd, m_atEnd}, 1, 0);
    ExpectAsByGetNext({m_farAfterEnd, m_atEnd}, 2000000000, 3);
}

TEST_P(BulkEndTest, AnyMixtureAnswersAsGetNextDoes) {
    const Names all = {m_atEnd, m_afterEnd, m_farAfterEnd, m_oneLeft, m_twoLeft, m_table, m_lastOfTable, m_lastModule};
    std::mt19937 random(13);  // NOLINT(cert-msc51-cpp): the same in every run
    const auto below = [&](std::size_t end) { return static_cast<std::size_t>(random() % end); };
    for (int round = 0; round < 40 && !HasFailure(); ++round) {
        Names names(1 + below(7));
        for (std::string& name : names) {
            name = all[below(all.size())];
        }
        ExpectAsByGetNext(names, static_cast<int>(below(names.size() + 1)), static_cast<int>(below(6)));
    }
}

INSTANTIATE_TEST_SUITE_P(Askers, BulkEndTest, ::testing::ValuesIn(kAskers),
                         [](const auto& asker) { return std::string(asker.param.name); });

}  // namespace
}  // namespace agent_test
