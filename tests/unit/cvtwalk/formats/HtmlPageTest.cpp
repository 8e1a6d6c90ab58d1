#include "agent/cvtwalk/formats/HtmlPage.h"

#include <gmock/gmock.h>

#include "agent/cvtwalk/data/ObjectMeanings.h"
#include "agent/cvtwalk/formats/HtmlText.h"
#include "groups/devices/DHrDeviceTable.h"
#include "groups/hardware/DHrProcessorTable.h"
#include "groups/software/DHrSWRunPerfTable.h"
#include "groups/software/DHrSWRunTable.h"
#include "groups/storage/DHrStorageTable.h"
#include "tests/support/WalkedGroups.h"

namespace {

using cvtwalk::HtmlPage;
namespace HtmlText = cvtwalk::HtmlText;
using cvtwalk::ObjectMeanings;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kEvil = R"(</td></table><script>alert('x')</script><img src="http://evil/" onerror=x>)";

class CvtwalkHtml : public testing::Test {
protected:
    void Integer(CVT::BMibImpl& group, unsigned int column, unsigned int index, int value) {
        CVT::BVarBind instance;
        instance.type = CVT::kInteger;
        instance.integer = value;
        Add(group, column, index, instance);
    }
    void Text(CVT::BMibImpl& group, unsigned int column, unsigned int index, std::string_view value) {
        CVT::BVarBind instance;
        instance.type = CVT::kOctetString;
        instance.octets.Assign(value);
        Add(group, column, index, instance);
    }
    void Storage(unsigned int index, const char* name, int size, int used) {
        Text(m_storage, 3, index, name);
        Integer(m_storage, 4, index, 4096);
        Integer(m_storage, 5, index, size);
        Integer(m_storage, 6, index, used);
    }
    void Process(unsigned int index, const char* name, const char* arguments, int pages) {
        Text(m_processes, 2, index, name);
        Text(m_processes, 5, index, arguments);
        m_pages[index] = pages;
    }
    std::string Page() {
        for (const auto& [index, pages] : m_pages) {
            Integer(m_use, 2, index, pages);
        }
        m_sections.Join();
        m_sections.DeriveUse();
        return HtmlPage(m_sections).Text();
    }

    WalkedGroups m_groups;
    DHrStorageTable m_storage{nullptr};
    DHrSWRunTable m_processes{nullptr};
    DHrSWRunPerfTable m_use{m_processes};
    DHrProcessorTable m_processors{nullptr};
    cvtwalk::Sections m_sections;

private:
    void Add(CVT::BMibImpl& group, unsigned int column, unsigned int index, const CVT::BVarBind& instance) {
        m_sections.Add(instance, cvtwalk::ServedObject(group, *group.GetIMibInfo()->FindColumn(column),
                                                       CVT::BObjectIdentifier(index)));
    }

    std::map<unsigned int, int> m_pages;
};

std::size_t Count(const std::string& text, std::string_view part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

TEST_F(CvtwalkHtml, EscapesWhatHasAMeaningAndReplacesWhatIsNoText) {
    EXPECT_EQ(HtmlText::Escaped("<a href=\"x\">&'"), "&lt;a href=&quot;x&quot;&gt;&amp;&#39;");
    EXPECT_EQ(HtmlText::Escaped("a\x01\x1B\xFFz\u202E"), "a\uFFFD\uFFFD\uFFFDz\uFFFD");
    EXPECT_EQ(HtmlText::Escaped("caf\u00E9"), "caf\u00E9");
}

TEST_F(CvtwalkHtml, LetsNoNameOfTheHostBecomePartOfThePage) {
    Storage(1, kEvil, 100, 50);
    Process(7, kEvil, kEvil, 5);
    Text(m_groups.table, 2, 1, kEvil);
    const std::string page = Page();
    EXPECT_EQ(Count(page, "<script"), 1U) << "the page's own";
    EXPECT_EQ(Count(page, "</script"), 1U);
    EXPECT_EQ(Count(page, "<img"), 0U);
    EXPECT_EQ(Count(page, "&lt;script&gt;alert(&#39;x&#39;)"), 4U)
        << "a mount point, a process, its arguments, another table";
}

TEST_F(CvtwalkHtml, NeedsNothingButItself) {
    Storage(1, "/", 100, 50);
    const std::string page = Page();
    EXPECT_THAT(page, testing::StartsWith("<!doctype html>\n<html lang=\"en\">"));
    for (const char* const part : {" src=", "<link", "@import", "url(", "fetch(", "http://", "https://"}) {
        EXPECT_THAT(page, Not(HasSubstr(part)));
    }
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
    EXPECT_THAT(page, HasSubstr("prefers-color-scheme: dark"));
    EXPECT_THAT(page, HasSubstr("width=device-width"));
}

TEST_F(CvtwalkHtml, ShowsTheFullestStorageFirstAndCountsWhatHasNoSize) {
    Storage(1, "/half", 100, 50);
    Storage(2, "/full", 100, 95);
    Storage(3, "/pseudo", 0, 0);
    Storage(4, "/wrapped", -5, 1);
    const std::string page = Page();
    EXPECT_LT(page.find("/full"), page.find("/half"));
    EXPECT_THAT(page, HasSubstr("<span class=\"bad\" style=\"width:95%\"></span></span>95%"));
    EXPECT_THAT(page, Not(HasSubstr("/pseudo")));
    EXPECT_THAT(page, HasSubstr("1 pseudo file systems without one are left out"));
    EXPECT_LT(page.find("/half"), page.find("/wrapped"));
}

TEST_F(CvtwalkHtml, SortsProcessesByMemoryAndHasTheToolsForThem) {
    Process(7, "small", "", 256);
    Process(8, "large", "--big", 512);
    const std::string page = Page();
    EXPECT_LT(page.find(">large<"), page.find(">small<"));
    EXPECT_THAT(page, HasSubstr("<td class=\"n\" data-v=\"512\">2.0 MiB</td>"));
    EXPECT_THAT(page, HasSubstr("<label for=\"processes-search\">Search</label>"));
}

TEST_F(CvtwalkHtml, SaysThatALoadIsNotMeasuredYet) {
    Integer(m_processors, 2, 1, 0);
    m_sections.MarkUnmeasured(1);
    const std::string page = Page();
    EXPECT_THAT(page, HasSubstr("1 processors, load</dt><dd>not measured yet"));
    EXPECT_THAT(page, HasSubstr("data-v=\"-1\">not measured yet</td>"));
}

TEST_F(CvtwalkHtml, ShowsTablesOfAnyOtherModule) {
    Integer(m_groups.table, 1, 5, 42);
    const std::string page = Page();
    EXPECT_THAT(page, HasSubstr("<h2 id=\"h-other1\">A-MIB.thingTable</h2>"));
    EXPECT_THAT(page, HasSubstr(">42</td>"));
}

TEST_F(CvtwalkHtml, TellsWhatEachObjectMeans) {
    const std::string page = Page();
    EXPECT_THAT(page, HasSubstr(">hrSWRunPerfMem</td>"));
    EXPECT_EQ(Count(page, "<section "), Count(page, "</section>"));
    EXPECT_EQ(Count(page, "<table "), Count(page, "</table>"));
}

TEST(CvtwalkObjectMeanings, AreTheRowsOfTablesOfObjects) {
    const auto meanings = ObjectMeanings::Parse(
        "# Title\n\n| object | OID | type | access | range, unit | source | refreshed |\n|---|---|---|---|---|---|---|\n"
        "| hrOne | 1.1.0 | INTEGER | r | 0..7; **units** | `/proc/one` | at each get |\n"
        "\n| hrDeviceType | source |\n|---|---|\n| hrDeviceProcessor (3) | x |\n");
    ASSERT_EQ(meanings.size(), 1U);
    EXPECT_EQ(meanings[0].object, "hrOne");
    EXPECT_EQ(meanings[0].unit, "0..7; units");
    EXPECT_EQ(meanings[0].source, "/proc/one");
    EXPECT_EQ(meanings[0].refreshed, "at each get");
}

TEST(CvtwalkObjectMeanings, HaveEveryObjectOfTheDocument) {
    const auto meanings = ObjectMeanings::All();
    EXPECT_GT(meanings.size(), 50U);
    for (const ObjectMeanings::Meaning& meaning : meanings) {
        EXPECT_THAT(meaning.object, testing::StartsWith("hr"));
        EXPECT_FALSE(meaning.unit.empty()) << meaning.object;
        EXPECT_FALSE(meaning.source.empty()) << meaning.object;
    }
}

}  // namespace
