#include "agent/cvtwalk/formats/PrometheusFormat.h"

#include <gmock/gmock.h>

#include "agent/cvtwalk/data/Sections.h"
#include "groups/hardware/DHrProcessorTable.h"
#include "groups/software/DHrSWRunPerfTable.h"
#include "groups/software/DHrSWRunTable.h"
#include "groups/storage/DHrStorage.h"
#include "groups/storage/DHrStorageTable.h"
#include "tests/support/WalkedGroups.h"

namespace {

using cvtwalk::PrometheusFormat;
using testing::HasSubstr;
using testing::Not;

class CvtwalkPrometheus : public testing::Test {
protected:
    void Integer(CVT::BMibImpl& group, unsigned int column, unsigned int index, int value,
                 CVT::ESnmpType type = CVT::kInteger) {
        CVT::BVarBind instance;
        instance.type = type;
        instance.integer = value;
        instance.number = static_cast<unsigned int>(value);
        Add(group, column, index, instance);
    }
    void Text(CVT::BMibImpl& group, unsigned int column, unsigned int index, std::string_view value) {
        CVT::BVarBind instance;
        instance.type = CVT::kOctetString;
        instance.octets.Assign(value);
        Add(group, column, index, instance);
    }
    std::string Written() {
        std::string out;
        for (const cvtwalk::Section& section : m_sections.All()) {
            m_format.Write(section, out);
        }
        return out;
    }

    WalkedGroups m_groups;
    DHrSWRunTable m_processes{nullptr};
    DHrSWRunPerfTable m_use{m_processes};
    DHrProcessorTable m_processors{nullptr};
    DHrStorageTable m_storage{nullptr};
    DHrStorage m_memory{nullptr};
    cvtwalk::Sections m_sections;

private:
    void Add(CVT::BMibImpl& group, unsigned int column, unsigned int index, const CVT::BVarBind& instance) {
        m_sections.Add(instance, cvtwalk::ServedObject(group, *group.GetIMibInfo()->FindColumn(column),
                                                       CVT::BObjectIdentifier(index)));
    }

    PrometheusFormat m_format;
};

TEST_F(CvtwalkPrometheus, WritesNamesInWordsOfSmallLetters) {
    EXPECT_EQ(PrometheusFormat::SnakeCase("hrStorageUsed"), "hr_storage_used");
    EXPECT_EQ(PrometheusFormat::SnakeCase("hrSWRunPerfCPU"), "hr_sw_run_perf_cpu");
    EXPECT_EQ(PrometheusFormat::SnakeCase("hrFSIndex"), "hr_fs_index");
    EXPECT_EQ(PrometheusFormat::SnakeCase("ifHCInOctets"), "if_hc_in_octets");
    EXPECT_EQ(PrometheusFormat::SnakeCase("odd-name"), "odd_name");
}

TEST_F(CvtwalkPrometheus, HasAFamilyForEachNumberWithTheRowsNameAsALabel) {
    Integer(m_groups.table, 1, 3, 5);
    Integer(m_groups.table, 1, 4, 6);
    Text(m_groups.table, 2, 3, "a");
    Text(m_groups.table, 2, 4, "b");
    EXPECT_EQ(Written(),
              "# HELP thing_size thingSize of A-MIB.\n"
              "# TYPE thing_size gauge\n"
              "thing_size{index=\"3\",name=\"a\"} 5\n"
              "thing_size{index=\"4\",name=\"b\"} 6\n");
}

TEST_F(CvtwalkPrometheus, EscapesLabels) {
    Integer(m_groups.table, 1, 3, 5);
    Text(m_groups.table, 2, 3, "C:\\\"x\"\n");
    EXPECT_THAT(Written(), HasSubstr(R"({index="3",name="C:\\\"x\"\\n"} 5)"));
    EXPECT_EQ(PrometheusFormat::Escaped("a\"\\"), "a\\\"\\\\");
}

TEST_F(CvtwalkPrometheus, MeasuresInBaseUnits) {
    Integer(m_storage, 4, 1, 4096);
    Integer(m_storage, 5, 1, 1000);
    Integer(m_storage, 5, 2, -1);
    Integer(m_storage, 6, 1, 10);
    Integer(m_processors, 2, 1, 37);
    const std::string out = Written();
    EXPECT_THAT(out, HasSubstr("\nhr_storage_size_bytes{index=\"1\"} 4096000\n"));
    EXPECT_THAT(out, HasSubstr("\nhr_storage_used_bytes{index=\"1\"} 40960\n"));
    EXPECT_THAT(out, Not(HasSubstr("hr_storage_size_bytes{index=\"2\"}"))) << "it wrapped";
    EXPECT_THAT(out, HasSubstr("\nhr_processor_load_ratio{index=\"1\"} 0.37\n"));
}

TEST_F(CvtwalkPrometheus, CountsProcessorTimeInSecondsAndMemoryInBytes) {
    Text(m_processes, 2, 7, "cron");
    Text(m_processes, 5, 7, "--password secret");
    Integer(m_use, 1, 7, 250);
    Integer(m_use, 2, 7, 2);
    m_sections.Join();
    const std::string out = Written();
    EXPECT_THAT(out, HasSubstr("# TYPE hr_sw_run_perf_cpu_seconds_total counter\n"
                               "hr_sw_run_perf_cpu_seconds_total{index=\"7\",name=\"cron\"} 2.5\n"));
    EXPECT_THAT(out, HasSubstr("\nhr_sw_run_perf_mem_bytes{index=\"7\",name=\"cron\"} 8192\n"));
    EXPECT_THAT(out, Not(HasSubstr("secret")));
}

TEST_F(CvtwalkPrometheus, LeavesOutWhatIsNotMeasuredWhatIsCutAndWhatOnlyRepeats) {
    Integer(m_processors, 2, 1, 0);
    Integer(m_memory, 2, 0, -5);
    Integer(m_processes, 1, 7, 7);
    m_sections.MarkUnmeasured(1);
    EXPECT_EQ(Written(), "");
}

TEST_F(CvtwalkPrometheus, WritesAFamilyOnce) {
    Integer(m_groups.scalars, 1, 0, 2);
    Integer(m_groups.table, 1, 3, 5);
    Integer(m_groups.scalars, 1, 0, 2);
    EXPECT_EQ(Written(),
              "# HELP thing_state thingState of A-MIB: running(2).\n"
              "# TYPE thing_state gauge\n"
              "thing_state 2\n"
              "# HELP thing_size thingSize of A-MIB.\n"
              "# TYPE thing_size gauge\n"
              "thing_size{index=\"3\"} 5\n");
}

}  // namespace
