#include "agent/cvtwalk/formats/OutputFormat.h"

#include <gtest/gtest.h>

#include "agent/cvtwalk/data/ObjectNames.h"
#include "agent/cvtwalk/data/Sections.h"
#include "agent/cvtwalk/program/Options.h"
#include "tests/support/JsonValue.h"
#include "tests/support/WalkedGroups.h"

namespace {

using cvtwalk::Options;
using cvtwalk::OutputFormat;

/// Formats invented instances of the test's groups.
class CvtwalkOutputFormat : public testing::Test {
protected:
    void Begin(Options::Format format, const cvtwalk::Display& display = {}) {
        m_format = OutputFormat::Make(format, display);
    }
    void Integer(const char* name, int value) {
        CVT::BVarBind instance;
        instance.type = CVT::kInteger;
        instance.integer = value;
        Add(name, instance);
    }
    void Text(const char* name, std::string_view value) {
        CVT::BVarBind instance;
        instance.type = CVT::kOctetString;
        instance.octets.Assign(value);
        Add(name, instance);
    }
    void Identifier(const char* name, const char* value) {
        CVT::BVarBind instance;
        instance.type = CVT::kObjectIdentifier;
        instance.identifier.AssignFromDottedDecimalStr(value);
        Add(name, instance);
    }
    std::string End() {
        std::string out;
        m_format->Begin(out);
        for (const cvtwalk::Section& section : m_sections.All()) {
            m_format->Write(section, out);
        }
        m_format->End(out);
        return out;
    }

private:
    void Add(const char* name, CVT::BVarBind& instance) {
        instance.name.AssignFromDottedDecimalStr(name);
        m_sections.Add(instance, m_names.ObjectOf(instance.name));
    }

    WalkedGroups m_groups;
    cvtwalk::ObjectNames m_names{m_groups.engine};
    std::unique_ptr<OutputFormat> m_format;
    cvtwalk::Sections m_sections;
};

TEST_F(CvtwalkOutputFormat, TextHasALineForEachInstance) {
    Begin(Options::Format::kText);
    Integer("1.3.1.1.0", 2);
    Text("1.3.1.4.1.2.7.1", "x");
    Integer("1.9.9", 1);
    EXPECT_EQ(End(), "thingState.0 = INTEGER: running(2)\nthingName.7.1 = STRING: \"x\"\n1.9.9 = INTEGER: 1\n");
}

TEST_F(CvtwalkOutputFormat, JsonIsOneArrayOfObjects) {
    Begin(Options::Format::kJson);
    Integer("1.3.1.1.0", 2);
    Text("1.3.1.4.1.2.7.1", "say \"x\"\n");
    const auto array = JsonValue::Read(End());
    ASSERT_TRUE(array);
    ASSERT_EQ(array->Items().size(), 2U);
    EXPECT_EQ(array->Items()[0].Text("oid"), "1.3.1.1.0");
    EXPECT_EQ(array->Items()[0].Text("name"), "thingState");
    EXPECT_EQ(array->Items()[0].Text("instance"), "0");
    EXPECT_EQ(array->Items()[0].Text("type"), "INTEGER");
    EXPECT_EQ(array->Items()[0].Number("value"), 2);
    EXPECT_EQ(array->Items()[0].Text("enum"), "running");
    EXPECT_EQ(array->Items()[1].Text("instance"), "7.1");
    EXPECT_EQ(array->Items()[1].Text("value"), "say \"x\"\n");
    EXPECT_EQ(array->Items()[1].Member("hex"), nullptr);
}

TEST_F(CvtwalkOutputFormat, JsonIsAnEmptyArrayWithoutInstances) {
    Begin(Options::Format::kJson);
    EXPECT_EQ(End(), "[]\n");
}

TEST_F(CvtwalkOutputFormat, TableHasARowForEachIndexWithNumbersToTheRight) {
    Begin(Options::Format::kTable);
    Integer("1.3.1.4.1.1.1", 5);
    Integer("1.3.1.4.1.1.20", 1234567890);
    Text("1.3.1.4.1.2.1", "caf\xC3\xA9");
    Text("1.3.1.4.1.2.20", "x");
    EXPECT_EQ(End(),
              "A-MIB.thingTable\n"
              "index        Size  Name\n"
              "    1           5  caf\xC3\xA9\n"
              "   20  1234567890  x\n");
}

TEST_F(CvtwalkOutputFormat, TableAlignsWideCharacters) {
    Begin(Options::Format::kTable);
    Text("1.3.1.4.1.1.1", "\xE6\x97\xA5\xE6\x9C\xAC");
    Text("1.3.1.4.1.1.2", "abcd");
    Integer("1.3.1.4.1.2.1", 7);
    Integer("1.3.1.4.1.2.2", 8);
    EXPECT_EQ(End(),
              "A-MIB.thingTable\n"
              "index  Size  Name\n"
              "    1  \xE6\x97\xA5\xE6\x9C\xAC     7\n"
              "    2  abcd     8\n");
}

TEST_F(CvtwalkOutputFormat, TableMarksMissingCellsInAnyColumn) {
    Begin(Options::Format::kTable);
    Integer("1.3.1.4.1.1.7.1", 1);
    Text("1.3.1.4.1.2.7.2", "x");
    EXPECT_EQ(End(),
              "A-MIB.thingTable\n"
              "index  Size  Name\n"
              "7.1       1  -\n"
              "7.2       -  x\n");
}

TEST_F(CvtwalkOutputFormat, TableShowsScalarsAsNamesAndValues) {
    Begin(Options::Format::kTable);
    Integer("1.3.1.1.0", 2);
    Text("1.3.1.3.0", "a b");
    EXPECT_EQ(End(),
              "A-MIB.things\n"
              "thingState  running\n"
              "thingText   a b\n");
}

TEST_F(CvtwalkOutputFormat, TableHasASectionForEachGroup) {
    Begin(Options::Format::kTable);
    Integer("1.3.1.1.0", 2);
    Integer("1.3.1.4.1.1.1", 5);
    EXPECT_EQ(End(), "A-MIB.things\nthingState  running\n\nA-MIB.thingTable\nindex  Size\n    1     5\n");
}

TEST_F(CvtwalkOutputFormat, TableLeavesOutAColumnThatRepeatsTheIndex) {
    Begin(Options::Format::kTable);
    Integer("1.3.1.4.1.1.1", 1);
    Integer("1.3.1.4.1.1.20", 20);
    Text("1.3.1.4.1.2.1", "x");
    Text("1.3.1.4.1.2.20", "y");
    EXPECT_EQ(End(), "A-MIB.thingTable\nindex  Name\n    1  x\n   20  y\n");
}

TEST_F(CvtwalkOutputFormat, TableKeepsAColumnThatIsAllThereIs) {
    Begin(Options::Format::kTable);
    Integer("1.3.1.4.1.1.1", 1);
    EXPECT_EQ(End(), "A-MIB.thingTable\nindex  Size\n    1     1\n");
}

TEST_F(CvtwalkOutputFormat, TableReadsKnownIdentifiersByName) {
    Begin(Options::Format::kTable);
    Identifier("1.3.1.4.1.1.1", "1.3.6.1.2.1.25.3.1.3");
    Identifier("1.3.1.4.1.1.2", "1.3.6.1.4.1.99");
    EXPECT_EQ(End(), "A-MIB.thingTable\nindex  Size\n    1  hrDeviceProcessor\n    2  1.3.6.1.4.1.99\n");
}

TEST_F(CvtwalkOutputFormat, TextAndJsonKeepIdentifiersAsNumbers) {
    Begin(Options::Format::kText);
    Identifier("1.3.1.4.1.1.1", "1.3.6.1.2.1.25.3.1.3");
    EXPECT_EQ(End(), "thingSize.1 = OID: 1.3.6.1.2.1.25.3.1.3\n");
}

TEST_F(CvtwalkOutputFormat, TableFitsADisplay) {
    Begin(Options::Format::kTable, {20, true});
    Text("1.3.1.3.0", "a value that is much too long");
    Text("1.3.1.4.1.2.1", "a value that is much too long");
    EXPECT_EQ(End(),
              "A-MIB.things\n"
              "thingText  a value that is\u2026\n"
              "\n"
              "A-MIB.thingTable\n"
              "index  Name\n"
              "    1  a value that\u2026\n");
}

TEST_F(CvtwalkOutputFormat, TableIsEmptyWithoutInstances) {
    Begin(Options::Format::kTable);
    EXPECT_EQ(End(), "");
}

}  // namespace
