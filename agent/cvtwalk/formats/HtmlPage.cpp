#include "agent/cvtwalk/formats/HtmlPage.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "agent/cvtwalk/data/CellText.h"
#include "agent/cvtwalk/data/ObjectMeanings.h"
#include "agent/cvtwalk/formats/HtmlAssets.h"
#include "agent/cvtwalk/formats/HtmlText.h"
#include "agent/cvtwalk/text/DateText.h"

namespace cvtwalk {
namespace {

constexpr std::string_view kHost = "HOST-RESOURCES-MIB.";

std::string Number(double value, const char* rest) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.6g%s", value, rest);
    return text.data();
}

std::string Escaped(std::string_view text) { return HtmlText::Escaped(text); }

/// The name without the prefix, which only names the table.
std::string WithoutPrefix(const std::string& text, std::string_view prefix) {
    return text.starts_with(prefix) ? text.substr(prefix.size()) : text;
}

void WriteFact(std::string& out, std::string_view name, const std::string& html) {
    if (!html.empty()) {
        out += "<div><dt>" + Escaped(name) + "</dt><dd>" + html + "</dd></div>\n";
    }
}

void OpenSection(std::string& out, std::string_view id, std::string_view title, std::string_view about) {
    out += "<section aria-labelledby=\"h-" + std::string(id) + "\">\n<h2 id=\"h-" + std::string(id) + "\">" +
           Escaped(title) + "</h2>\n";
    if (!about.empty()) {
        out += "<p class=\"soft\">" + Escaped(about) + "</p>\n";
    }
}

constexpr const char* kCloseSection = "</section>\n";

}  // namespace

const Section* HtmlPage::Find(std::string_view object) const {
    const auto& all = m_sections.All();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Section& section) {
        return section.Name().starts_with(kHost) && section.Find(object);
    });
    return found == all.end() ? nullptr : &*found;
}

std::string HtmlPage::ScalarText(std::string_view object) const {
    const Section* const section = Find(object);
    if (section == nullptr || section->Rows().empty()) {
        return {};
    }
    return CellText::Readable(*section, section->Rows().front(), *section->Find(object));
}

/// "2026-03-10 23:30:00"; empty where there is no date.
std::string HtmlPage::ClockText() const {
    const Section* const section = Find("hrSystemDate");
    if (section == nullptr || section->Rows().empty()) {
        return {};
    }
    CVT::BOctetString octets;
    const auto& cell = section->Rows().front().cells[*section->Find("hrSystemDate")];
    octets.Assign(cell ? cell->octets : std::string());
    std::string text = DateText::AsIso8601(octets).value_or("");
    if (const auto place = text.find('T'); place != std::string::npos) {
        text[place] = ' ';
        text.erase(text.find('.'));  // drop the tenths, and the offset of the host's own zone
    }
    return text;
}

std::string HtmlPage::DeviceName(const CVT::BObjectIdentifier& index) const {
    const Section* const devices = Find("hrDeviceDescr");
    if (devices != nullptr) {
        for (const Section::Row& row : devices->Rows()) {
            if (row.index == index) {
                return devices->TextAt(row, *devices->Find("hrDeviceDescr"));
            }
        }
    }
    return {};
}

HtmlPage::Cell HtmlPage::CellAt(const Section& section, const Section::Row& row, std::string_view object) {
    const auto place = section.Find(object);
    if (!place) {
        return {"-"};
    }
    const auto number = row.cells[*place] ? row.cells[*place]->Number() : std::nullopt;
    Cell cell{Escaped(CellText::Readable(section, row, *place))};
    if (number && CellText::IsNumber(section, row, *place)) {
        cell.number = static_cast<double>(*number);
    }
    return cell;
}

HtmlPage::Cell HtmlPage::Bar(double share) {
    const char* const kind = share >= 0.9 ? " class=\"bad\"" : share >= 0.75 ? " class=\"warning\"" : "";
    std::array<char, 16> percent{};
    std::snprintf(percent.data(), percent.size(), "%.0f%%", share * 100);
    return {"<span class=\"bar\" aria-hidden=\"true\"><span" + std::string(kind) +
                " style=\"width:" + Number(share * 100, "%") + "\"></span></span>" + percent.data(),
            share, true};
}

void HtmlPage::WriteTable(std::string& out, std::string_view id, std::string_view caption,
                          const std::vector<Head>& heads, const std::vector<std::vector<Cell>>& rows, bool tools) {
    const std::string name(id);
    if (tools) {
        out +=
            "<div class=\"tools\" data-table=\"" + name + "\" hidden><div><label for=\"" + name +
            "-search\">Search</label><input id=\"" + name +
            "-search\" type=\"search\" autocomplete=\"off\"></div><div role=\"status\" class=\"soft\"></div></div>\n";
    }
    out += "<div class=\"scroll\" role=\"region\" tabindex=\"0\" aria-label=\"" + Escaped(caption) +
           ", table\"><table id=\"" + name + "\"><caption>" + Escaped(caption) + "</caption>\n<thead><tr>";
    for (const Head& head : heads) {
        out += std::string("<th scope=\"col\"") + (head.numeric ? " class=\"n\">" : ">") + Escaped(head.name) + "</th>";
    }
    out += "</tr></thead>\n<tbody>\n";
    for (const std::vector<Cell>& row : rows) {
        out += "<tr>";
        for (std::size_t place = 0; place < row.size(); ++place) {
            const Cell& cell = row[place];
            const bool numeric = heads[place].numeric;
            out += numeric ? "<td class=\"n\"" : cell.bar ? "<td class=\"u\"" : "<td class=\"t\"";
            if (numeric || cell.bar) {
                out += " data-v=\"" + Number(cell.number.value_or(-1), "\"");
            }
            out += ">" + cell.html + "</td>";
        }
        out += "</tr>\n";
    }
    out += "</tbody></table></div>\n";
}

void HtmlPage::WriteGlance(std::string& out) const {
    out += "<section aria-labelledby=\"h-glance\">\n<h2 id=\"h-glance\">At a glance</h2>\n<dl class=\"glance\">\n";
    const auto plain = [&](const char* name, const char* object) { WriteFact(out, name, Escaped(ScalarText(object))); };
    const std::string uptime = ScalarText("hrSystemUptime");
    WriteFact(out, "Up for", Escaped(uptime.substr(0, uptime.find('.'))));
    WriteFact(out, "Clock of the host", Escaped(ClockText()));
    plain("Users", "hrSystemNumUsers");
    plain("Processes and threads", "hrSystemProcesses");
    if (const Section* const processors = Find("hrProcessorLoad")) {
        long long sum = 0;
        long long measured = 0;
        const std::size_t place = *processors->Find("hrProcessorLoad");
        for (const Section::Row& row : processors->Rows()) {
            if (const auto load = row.cells[place] ? row.cells[place]->Number() : std::nullopt) {
                sum += *load;
                ++measured;
            }
        }
        WriteFact(out, std::to_string(processors->Rows().size()) + " processors, load",
                  measured == 0 ? Section::kNotMeasured : std::to_string(sum / measured) + "%");
    }
    if (const Section* const storage = Find("hrStorageSize")) {
        const auto share = storage->FindAnyCase("hrStorageUse");
        for (const Section::Row& row : storage->Rows()) {
            const bool memory = CellAt(*storage, row, "hrStorageType").html == "hrStorageRam";
            if (memory && share && row.cells[*share]) {
                WriteFact(
                    out, "Memory in use, cache included",
                    CellAt(*storage, row, "hrStorageUsed").html + " of " + CellAt(*storage, row, "hrStorageSize").html);
            }
        }
    }
    out += "</dl>\n" + std::string(kCloseSection);
}

void HtmlPage::WriteStorage(std::string& out) const {
    const Section* const storage = Find("hrStorageSize");
    if (storage == nullptr) {
        return;
    }
    const auto share = storage->FindAnyCase("hrStorageUse");
    std::vector<std::vector<Cell>> rows;
    std::size_t without = 0;
    for (const Section::Row& row : storage->Rows()) {
        Cell size = CellAt(*storage, row, "hrStorageSize");
        if (size.number == 0) {
            ++without;
            continue;
        }
        const auto& part = share ? row.cells[*share] : std::optional<Section::Cell>();
        Cell bar = part ? Bar(static_cast<double>(part->number) / Sections::kWholeUse) : Cell{"", -1, true};
        Cell type{Escaped(WithoutPrefix(CellAt(*storage, row, "hrStorageType").html, "hrStorage"))};
        rows.push_back({CellAt(*storage, row, "hrStorageDescr"), std::move(type), std::move(bar),
                        CellAt(*storage, row, "hrStorageUsed"), std::move(size)});
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const auto& a, const auto& b) { return a[2].number.value_or(-1) > b[2].number.value_or(-1); });
    OpenSection(
        out, "storage", "Storage",
        "The fullest first. A question mark is a number that did not fit into 32 bits. Used memory counts buffers and "
        "cache; virtual memory is the kernel's address space, not swap.");
    std::string caption = std::to_string(rows.size()) + " with a size";
    caption += without == 0 ? "" : "; " + std::to_string(without) + " pseudo file systems without one are left out";
    WriteTable(out, "storage", "Storage: " + caption, {{"What"}, {"Type"}, {"Use"}, {"Used", true}, {"Size", true}},
               rows, false);
    out += kCloseSection;
}

void HtmlPage::WriteProcessors(std::string& out) const {
    const Section* const processors = Find("hrProcessorLoad");
    if (processors == nullptr) {
        return;
    }
    const std::size_t place = *processors->Find("hrProcessorLoad");
    std::vector<std::vector<Cell>> rows;
    for (const Section::Row& row : processors->Rows()) {
        const auto load = row.cells[place] ? row.cells[place]->Number() : std::nullopt;
        Cell name{Escaped(DeviceName(row.index))};
        rows.push_back(
            {std::move(name), load ? Bar(static_cast<double>(*load) / 100) : Cell{Section::kNotMeasured, -1, true}});
    }
    OpenSection(out, "processors", "Processors",
                "The load is measured every 15 seconds. The first figure comes 15 seconds after the start, which "
                "--wait-for-load waits for, and is the average since the host was started.");
    WriteTable(out, "processors", "Processors and their load", {{"Processor"}, {"Load"}}, rows, false);
    out += kCloseSection;
}

void HtmlPage::WriteProcesses(std::string& out) const {
    const Section* const processes = Find("hrSWRunName");
    if (processes == nullptr) {
        return;
    }
    std::vector<std::vector<Cell>> rows;
    for (const Section::Row& row : processes->Rows()) {
        const double id = row.index.NumArcs() == 0 ? 0 : row.index[0];
        rows.push_back({Cell{Escaped(row.index.ToString().View()), id}, CellAt(*processes, row, "hrSWRunName"),
                        CellAt(*processes, row, "hrSWRunStatus"), CellAt(*processes, row, "hrSWRunPerfMem"),
                        CellAt(*processes, row, "hrSWRunPerfCPU"), CellAt(*processes, row, "hrSWRunParameters")});
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const auto& a, const auto& b) { return a[3].number.value_or(-1) > b[3].number.value_or(-1); });
    OpenSection(
        out, "processes", "Processes",
        "Virtual memory is the size of the address space. Processor time is that of children that ended, not the process's "
        "own. Sleeping processes are runnable; invalid is a zombie.");
    WriteTable(
        out, "processes", "Processes, the largest first",
        {{"PID", true}, {"Name"}, {"Status"}, {"Virtual memory", true}, {"Children's time", true}, {"Arguments"}}, rows,
        true);
    out += kCloseSection;
}

void HtmlPage::WriteDevices(std::string& out) const {
    const Section* const devices = Find("hrDeviceDescr");
    if (devices == nullptr) {
        return;
    }
    std::vector<std::vector<Cell>> rows;
    for (const Section::Row& row : devices->Rows()) {
        Cell type{Escaped(WithoutPrefix(CellAt(*devices, row, "hrDeviceType").html, "hrDevice"))};
        rows.push_back(
            {CellAt(*devices, row, "hrDeviceDescr"), std::move(type), CellAt(*devices, row, "hrDeviceStatus")});
    }
    OpenSection(out, "devices", "Devices",
                "As they were found at the start: a device that came or went since is not noticed. Each mounted file "
                "system counts as a disk of its own.");
    WriteTable(out, "devices", "Devices", {{"Device"}, {"Type"}, {"Status"}}, rows, true);
    out += kCloseSection;
}

void HtmlPage::WriteNetwork(std::string& out) const {
    const Section* const network = Find("hrNetworkIfIndex");
    if (network == nullptr) {
        return;
    }
    std::vector<std::vector<Cell>> rows;
    for (const Section::Row& row : network->Rows()) {
        rows.push_back({Cell{Escaped(DeviceName(row.index))}, CellAt(*network, row, "hrNetworkIfIndex")});
    }
    OpenSection(out, "network", "Network", "The number is this module's own count, not the kernel's interface index.");
    WriteTable(out, "network", "Network interfaces", {{"Interface"}, {"Number", true}}, rows, false);
    out += kCloseSection;
}

/// Tables not shown above, from any module.
void HtmlPage::WriteOthers(std::string& out) const {
    std::size_t count = 0;
    for (const Section& section : m_sections.All()) {
        const bool shown = section.Find("hrStorageSize") || section.Find("hrProcessorLoad") ||
                           section.Find("hrSWRunName") || section.Find("hrDeviceDescr") ||
                           section.Find("hrNetworkIfIndex");
        if (section.Group() == nullptr || (section.Name().starts_with(kHost) && (shown || !section.IsTable()))) {
            continue;
        }
        std::vector<Head> heads{{"index"}};
        for (const Section::Column& column : section.Columns()) {
            heads.push_back({section.ShortName(column)});
        }
        std::vector<std::vector<Cell>> rows;
        for (const Section::Row& row : section.Rows()) {
            std::vector<Cell> cells{{Escaped(row.index.ToString().View())}};
            for (std::size_t place = 0; place < section.Columns().size(); ++place) {
                cells.push_back({Escaped(CellText::Readable(section, row, place))});
            }
            rows.push_back(std::move(cells));
        }
        const std::string id = "other" + std::to_string(++count);
        OpenSection(out, id, section.Name(), "");
        WriteTable(out, id, section.Name(), heads, rows, false);
        out += kCloseSection;
    }
}

void HtmlPage::WriteMeanings(std::string& out) const {
    std::vector<std::vector<Cell>> rows;
    for (const ObjectMeanings::Meaning& meaning : ObjectMeanings::All()) {
        rows.push_back({{Escaped(meaning.object)},
                        {Escaped(meaning.unit)},
                        {Escaped(meaning.source)},
                        {Escaped(meaning.refreshed)}});
    }
    OpenSection(
        out, "meaning", "What each value means",
        "Objects of HOST-RESOURCES-MIB: range and unit as declared and as served, where the value comes from, and when it "
        "is read again.");
    WriteTable(out, "meaning", "Objects", {{"Object"}, {"Range, unit"}, {"Source"}, {"Read again"}}, rows, true);
    out += kCloseSection;
}

std::string HtmlPage::Text() const {
    std::string body;
    WriteGlance(body);
    WriteStorage(body);
    WriteProcessors(body);
    WriteProcesses(body);
    WriteDevices(body);
    WriteNetwork(body);
    WriteOthers(body);
    WriteMeanings(body);
    std::string out = HtmlAssets::kHead;
    out += "<title>Host resources</title>\n";
    out += HtmlAssets::kStyle;
    out +=
        "</head>\n<body>\n<a class=\"skip\" href=\"#main\">Skip to the figures</a>\n<header>\n<h1>Host resources</h1>\n"
        "<p class=\"soft\">One look by cvtwalk " CVHOST_VERSION
        ", in one file that needs nothing else.</p>\n"
        "<nav aria-label=\"Sections\"><ul>";
    constexpr std::array<std::array<const char*, 2>, 6> kLinks{{{"storage", "Storage"},
                                                                {"processors", "Processors"},
                                                                {"processes", "Processes"},
                                                                {"devices", "Devices"},
                                                                {"network", "Network"},
                                                                {"meaning", "What it means"}}};
    for (const auto& [id, name] : kLinks) {
        if (body.find("id=\"h-" + std::string(id) + "\"") != std::string::npos) {
            out += "<li><a href=\"#h-" + std::string(id) + "\">" + name + "</a></li>";
        }
    }
    out += "</ul></nav>\n</header>\n<main id=\"main\">\n" + body + "</main>\n<footer class=\"soft\"><p>" +
           "From the module's own tables, as an SNMP manager would read them.</p></footer>\n";
    out += HtmlAssets::kScript;
    return out + "</body>\n</html>\n";
}

}  // namespace cvtwalk
