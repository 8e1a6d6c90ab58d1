// Views that hold little of a large table: what they leave out is skipped, not walked through.

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <sstream>

#include "CVT/BObjectIdentifier.h"
#include "tests/agent/AgentTest.h"
#include "tests/agent/WideRequest.h"

namespace agent_test {
namespace {

constexpr unsigned int kRows = 2000;
constexpr unsigned int kVarBinds = 300;

bool IsBefore(const std::string& a, const std::string& b) {
    return CVT::BObjectIdentifier(CVT::BString(a.c_str() + 1)) < CVT::BObjectIdentifier(CVT::BString(b.c_str() + 1));
}

std::vector<std::string> Under(const std::string& root, std::vector<std::string> names) {
    std::erase_if(names, [&](const auto& name) { return !name.starts_with(root + "."); });
    return names;
}

class NarrowViewTest : public AgentTest {
protected:
    /// With a large table, and the view "some": everything, changed by the directives in `view`.
    void StartWithView(const std::string& view) {
        Start({"--module", kReadModule, "--config",
               WriteConfig("view some included .1\n" + view +
                           "rocommunity narrow 127.0.0.1 -V some\nrocommunity all 127.0.0.1\n")},
              {"READ_TEST_ROWS=" + std::to_string(kRows)});
        m_community = "narrow";
    }

    unsigned long LookUps() const {
        const std::string output = Client("snmpget", {"-Oqv", "-v2c", "-c", "all", "-t", "20", Udp(), kLookUps}).output;
        EXPECT_FALSE(output.empty());
        return std::strtoul(output.c_str(), nullptr, 10);
    }
    /// Expects that each of many varbinds leads from `from` to `to`, and returns how often an instance was looked up.
    unsigned long CountLookUps(const std::string& from, const std::string& to) const {
        const unsigned long before = LookUps();
        const WideRequest request(m_port, m_community, WideRequest::kGetNext, Arguments(kVarBinds, from));
        EXPECT_EQ(request.Answer().names, std::vector<std::string>(kVarBinds, to));
        return LookUps() - before;
    }
    /// After the instances that fail on purpose.
    std::vector<std::string> WalkModules() const {
        std::vector<std::string> names;
        for (const std::string root : {".1.3.6.1.4.1.32473.2", ".1.3.6.1.4.1.32473.3"}) {
            const std::vector<std::string> under = Under(root, Names(V2c("snmpbulkwalk", {root}, {"-Cr70"}).output));
            names.insert(names.end(), under.begin(), under.end());
        }
        return names;
    }
    /// The names for which a GET returns a value.
    std::vector<std::string> GetEach(Arguments names) const {
        std::sort(names.begin(), names.end(), &IsBefore);
        std::vector<std::string> got;
        for (auto first = names.begin(); first != names.end();) {
            const auto last = names.end() - first > 120 ? first + 120 : names.end();
            std::istringstream lines(V2c("snmpget", Arguments(first, last)).output);
            for (std::string line; std::getline(lines, line);) {
                if (line.starts_with('.') && line.find("No Such") == std::string::npos) {
                    got.push_back(line.substr(0, line.find(" = ")));
                }
            }
            first = last;
        }
        return got;
    }
};

const std::string kLastRow = std::to_string(kRows);

TEST_F(NarrowViewTest, AnExcludedColumnIsSkippedAsAWhole) {
    StartWithView("view some excluded " + kLarge + "2\n");
    EXPECT_LT(CountLookUps(kLarge + "1." + kLastRow, kLarge + "3.1"), 6 * kVarBinds);
    const unsigned long before = LookUps();
    EXPECT_EQ(Names(V2c("snmpbulkget", {kLarge + "1." + std::to_string(kRows - 1)}, {"-Cn0", "-Cr3"}).output),
              (std::vector<std::string>{kLarge + "1." + kLastRow, kLarge + "3.1", kLarge + "3.2"}));
    EXPECT_LT(LookUps() - before, 20U);
}

TEST_F(NarrowViewTest, ExcludedColumnsUpToTheEndOfATableAreSkippedAsAWhole) {
    StartWithView("view some excluded " + kLarge + "2\nview some excluded " + kLarge + "3\n");
    EXPECT_LT(CountLookUps(kLarge + "1." + kLastRow, kLookUps), 6 * kVarBinds);
}

TEST_F(NarrowViewTest, RowsThatTheViewLeavesOutAreWalkedThroughOncePerRequest) {
    StartWithView("view some excluded " + kLarge + "\nview some included " + kLarge + "0.1 ff.d0\n");
    EXPECT_LT(CountLookUps(kLarge + "2.1", kLarge + "3.1"), kRows + 6 * kVarBinds);
    EXPECT_LT(CountLookUps(kLarge + "3.1", kLookUps), kRows + 6 * kVarBinds);
}

/// A view of nested entries, some of them with a mask, over the columns and rows of the modules.
std::string RandomView(const std::string& name, std::mt19937& random) {
    static const std::vector<std::string> kRoots = {kTable, kInner, kOuter, kValues, kQuick, kSlowToInitialize};
    const auto below = [&](unsigned int end) { return static_cast<unsigned int>(random() % end); };
    std::string view;
    const auto add = [&](const std::string& root, const std::string& mask) {
        view += "view " + name + (below(2) == 0 ? " included " : " excluded ") + root + mask + "\n";
    };
    add(".1.3.6.1.4.1.32473", "");
    for (unsigned int entries = 2 + below(6); entries > 0; --entries) {
        std::string root = kRoots[below(static_cast<unsigned int>(kRoots.size()))];
        root.pop_back();
        const auto rootArcs = static_cast<unsigned int>(std::count(root.begin(), root.end(), '.'));
        unsigned int arcs = rootArcs;
        for (unsigned int more = below(4); more > 0; --more, ++arcs) {
            root += "." + std::to_string(arcs == rootArcs ? 1 + below(4) : below(9));
        }
        std::string mask;
        if (below(2) == 0) {  // the mask makes one of the last arcs a wildcard
            unsigned int bits = 0xffffff;
            for (unsigned int arc = rootArcs - 2; arc < arcs; ++arc) {
                bits &= below(3) == 0 ? ~(0x800000U >> arc) : ~0U;
            }
            std::array<char, 16> text{};
            std::snprintf(text.data(), text.size(), " %02x.%02x.%02x", bits >> 16U, bits >> 8U & 0xffU, bits & 0xffU);
            mask = text.data();
        }
        add(root, mask);
    }
    return view;
}

TEST_F(NarrowViewTest, AWalkShowsExactlyTheInstancesThatGetReturnsInEveryView) {
    constexpr int kViews = 40;
    std::mt19937 random(20);  // NOLINT(cert-msc51-cpp): because a failure must come again
    std::string config = "rocommunity all 127.0.0.1\n";
    std::vector<std::string> views;
    for (int i = 0; i < kViews; ++i) {
        const std::string name = "v" + std::to_string(i);
        views.push_back(RandomView(name, random));
        config += views.back();
        config.append("rocommunity ").append(name).append(" 127.0.0.1 -V ").append(name).append("\n");
    }
    Start({"--module", kReadModule, "--module", kTestModule, "--config", WriteConfig(config)});
    m_community = "all";
    const std::string root = ".1.3.6.1.4.1.32473";
    Arguments all = WalkModules();
    ASSERT_GT(all.size(), 900U);
    for (int i = 0; i < kViews; ++i) {
        m_community = "v" + std::to_string(i);
        SCOPED_TRACE(views[static_cast<std::size_t>(i)]);
        const std::vector<std::string> visible = GetEach(all);
        EXPECT_EQ(WalkModules(), visible);
        // One GETNEXT for many names in any order, which reaches empty stretches from all sides.
        std::shuffle(all.begin(), all.end(), random);
        const Arguments some(all.begin(), all.begin() + 150);
        std::vector<std::string> expected;
        for (const std::string& name : some) {
            const auto next = std::upper_bound(visible.begin(), visible.end(), name, &IsBefore);
            if (next != visible.end()) {
                expected.push_back(*next);
            }
        }
        const WideRequest request(m_port, m_community, WideRequest::kGetNext, some);
        std::vector<std::string> names = request.Answer().names;
        ASSERT_EQ(names.size(), some.size());
        for (std::size_t at = 0; at < names.size(); ++at) {
            if (names[at] == some[at]) {
                names[at].clear();  // the end of the view
            }
        }
        EXPECT_EQ(Under(root, names), expected);
    }
}

}  // namespace
}  // namespace agent_test
