#include "agent/cvtwalk/top/TopPainter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "agent/cvtwalk/text/AmountText.h"
#include "agent/cvtwalk/text/TextTable.h"
#include "agent/cvtwalk/text/Utf8.h"

namespace cvtwalk {
namespace {

using Style = CellGrid::Style;

constexpr std::size_t kLeastWidth = 40;
constexpr std::size_t kLeastHeight = 10;
constexpr std::size_t kProcessorWidth = 38;  // places, the least width with a history
constexpr std::size_t kNameWidth = 18;
constexpr std::size_t kBarWidth = 20;

// Columns of the processes, by where they end; the last one takes the rest.
constexpr std::size_t kIdEnd = 8;
constexpr std::size_t kShareEnd = 16;
constexpr std::size_t kMemoryEnd = 27;
constexpr std::size_t kStatusAt = 29;
constexpr std::size_t kProcessNameAt = 42;
constexpr std::size_t kProcessNameWidth = 16;
constexpr std::size_t kArgumentsAt = kProcessNameAt + kProcessNameWidth + 1;

std::string Decimal(double number, int places) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.*f", places, number);
    return text.data();
}

Style StyleOf(double share) {
    if (share >= 0.9) {
        return Style::kBad;
    }
    return share >= 0.75 ? Style::kWarning : Style::kGood;
}

void PaintBar(CellGrid& grid, std::size_t row, std::size_t column, std::size_t places, double share) {
    const auto full = std::min(places, static_cast<std::size_t>(std::lround(share * static_cast<double>(places))));
    const auto repeat = [&](std::size_t at, std::size_t count, const char* text, Style style) {
        for (std::size_t i = 0; i < count; ++i) {
            grid.Put(row, at + i, text, style);
        }
    };
    repeat(column, full, grid.IsUtf8() ? "\u2588" : "#", StyleOf(share));
    repeat(column + full, places - full, grid.IsUtf8() ? "\u2591" : "-", Style::kDim);
}

std::string Padded(std::string text, std::size_t places) {
    const std::size_t width = Utf8::Width(text);
    return text.insert(0, places > width ? places - width : 0, ' ');
}

std::string SizeText(const std::optional<long long>& octets) { return octets ? AmountText::Size(*octets, 1) : "?"; }

std::string Count(std::size_t number, const char* what) { return std::to_string(number) + " " + what; }

}  // namespace

std::string TopPainter::Elapsed(double seconds) {
    const auto whole = static_cast<unsigned long long>(seconds < 0 ? 0 : seconds);
    const unsigned long long days = whole / 86400;
    std::string text = days == 0 ? "" : std::to_string(days) + (days == 1 ? " day " : " days ");
    const unsigned long long minutes = whole / 60 % 60;
    return text + std::to_string(whole / 3600 % 24) + (minutes < 10 ? ":0" : ":") + std::to_string(minutes);
}

std::string TopPainter::Sparkline(const std::vector<int>& percents, std::size_t places, bool utf8) {
    static constexpr std::array<const char*, 8> kBlocks{"\u2581", "\u2582", "\u2583", "\u2584",
                                                        "\u2585", "\u2586", "\u2587", "\u2588"};
    static constexpr std::string_view kSigns = "_.-:=+*#";
    std::string line;
    const std::size_t from = percents.size() - std::min(percents.size(), places);
    for (std::size_t place = from; place < percents.size(); ++place) {
        const auto level = static_cast<std::size_t>(std::clamp(percents[place], 0, 100) * 7 + 50) / 100;
        line += utf8 ? std::string(kBlocks[level]) : std::string(1, kSigns[level]);
    }
    return line;
}

TopPainter::Layout TopPainter::LayoutFor(std::size_t width, std::size_t height) const {
    Layout layout;
    const std::size_t processors = m_model.State().processors.size();
    const std::size_t most = std::max<std::size_t>(2, height / 6);  // rows, of processors and of file systems
    layout.processorsPerRow = std::max<std::size_t>(1, width / kProcessorWidth);
    if (processors <= most && width < 3 * kProcessorWidth) {
        layout.processorsPerRow = 1;
    }
    layout.processorRows = std::min(most, (processors + layout.processorsPerRow - 1) / layout.processorsPerRow);
    layout.fileSystemRows = std::min(most, m_model.State().fileSystems.size());
    layout.processTop = 1 + layout.processorRows + 1 + layout.fileSystemRows + 1;
    layout.processRows = height > layout.processTop + 2 ? height - layout.processTop - 2 : 0;
    return layout;
}

std::size_t TopPainter::ProcessRows(std::size_t width, std::size_t height) const {
    return LayoutFor(width, height).processRows;
}

void TopPainter::Paint(CellGrid& grid) const {
    if (grid.Width() < kLeastWidth || grid.Height() < kLeastHeight) {
        grid.Put(0, 0, "too small: 80 x 24");
        return;
    }
    if (m_model.ShowsHelp()) {
        PaintHelp(grid);
        return;
    }
    const Layout layout = LayoutFor(grid.Width(), grid.Height());
    PaintTitle(grid);
    PaintProcessors(grid, layout);
    PaintMemory(grid, 1 + layout.processorRows);
    PaintFileSystems(grid, layout, 2 + layout.processorRows);
    PaintProcesses(grid, layout);
    PaintFoot(grid);
}

void TopPainter::PaintTitle(CellGrid& grid) const {
    const HostState& state = m_model.State();
    std::string title = "cvtwalk";
    if (state.uptimeSeconds) {
        title += "  up " + Elapsed(*state.uptimeSeconds);
    }
    if (state.users) {
        title += "  " + std::to_string(*state.users) + (*state.users == 1 ? " user" : " users");
    }
    if (state.tasks) {
        title += "  " + std::to_string(*state.tasks) + " processes and threads";
    }
    grid.Put(0, 0, title, Style::kStrong);
    if (m_model.IsPaused()) {
        grid.PutRight(0, grid.Width(), " PAUSED ", Style::kWarning);
    }
}

void TopPainter::PaintProcessors(CellGrid& grid, const Layout& layout) const {
    const std::size_t processors = m_model.State().processors.size();
    const std::size_t shown = std::min(processors, layout.processorRows * layout.processorsPerRow);
    const std::size_t width = grid.Width() / layout.processorsPerRow;
    const bool some = shown < processors;
    for (std::size_t place = 0; place < shown; ++place) {
        const std::size_t row = 1 + place % layout.processorRows;
        const std::size_t column = place / layout.processorRows * width;
        if (some && place + 1 == shown) {
            grid.Put(row, column, "+" + Count(processors - shown + 1, "more processors"), Style::kDim, width);
        } else {
            PaintProcessor(grid, place, row, column, width);
        }
    }
}

void TopPainter::PaintProcessor(CellGrid& grid, std::size_t place, std::size_t row, std::size_t column,
                                std::size_t width) const {
    constexpr std::size_t kBar = 12;
    const auto& load = m_model.State().processors[place].load;
    std::size_t at = column + grid.Put(row, column, "CPU" + Padded(std::to_string(place + 1), 3) + " ");
    if (!load) {
        grid.Put(row, at, "not measured yet", Style::kDim, column + width - at);
        return;
    }
    PaintBar(grid, row, at, kBar, *load / 100.0);
    at += kBar;
    at += grid.Put(row, at, Padded(std::to_string(*load), 4) + "% ");
    const std::size_t room = width > at - column + 1 ? width - (at - column) - 1 : 0;
    if (m_model.LoadIsSinceStart(m_now)) {
        grid.Put(row, at, "since boot", Style::kDim, room);
    } else {
        grid.Put(row, at, Sparkline(m_model.History(place), room, grid.IsUtf8()), Style::kPlain, room);
    }
}

void TopPainter::PaintMemory(CellGrid& grid, std::size_t row) const {
    if (m_model.State().memory) {
        HostState::Amount memory = *m_model.State().memory;
        memory.name = "memory with cache";
        PaintAmount(grid, memory, row);
    }
}

void TopPainter::PaintFileSystems(CellGrid& grid, const Layout& layout, std::size_t row) const {
    const auto& all = m_model.State().fileSystems;
    for (std::size_t place = 0; place < layout.fileSystemRows; ++place) {
        PaintAmount(grid, all[place], row + place);
    }
}

/// Tells which file systems are not shown, in words if there is room.
std::string TopPainter::HiddenFileSystems(const Layout& layout, std::size_t room) const {
    const std::size_t more = m_model.State().fileSystems.size() - layout.fileSystemRows;
    const std::size_t without = m_model.State().withoutSize;
    std::string numbers = more > 0 ? "+" + std::to_string(more) : "";
    std::string words = more > 0 ? "+" + Count(more, more == 1 ? "file system" : "file systems") : "";
    if (without > 0) {
        const std::string rest = Count(without, "without size");
        numbers += (numbers.empty() ? "" : ", ") + rest;
        words += (words.empty() ? "" : ", ") + rest;
    }
    return words.size() <= room ? words : numbers;
}

void TopPainter::PaintAmount(CellGrid& grid, const HostState::Amount& amount, std::size_t row) const {
    const std::size_t extra = grid.Width() > 80 ? std::min<std::size_t>(30, (grid.Width() - 80) / 2) : 0;
    const std::size_t room = kNameWidth + extra;
    grid.Put(row, 0, TextTable::FittedAtBothEnds(amount.name, room, grid.IsUtf8()), Style::kPlain, room);
    const std::size_t at = kNameWidth + extra + 1;
    if (amount.share) {
        PaintBar(grid, row, at, kBarWidth, *amount.share);
        grid.Put(row, at + kBarWidth, Padded(Decimal(*amount.share * 100, 0) + "%", 5));
    }
    grid.Put(row, at + kBarWidth + 6, Padded(SizeText(amount.used), 10) + " of " + SizeText(amount.size));
}

std::string TopPainter::AgeOfProcesses() const {
    const auto age = m_model.Age(m_now);
    if (!age) {
        return "not read yet";
    }
    std::string text = "read " + Decimal(std::max(0.0, *age), 0) + " s ago";
    if (const auto span = m_model.Span()) {
        text += ", CHILD% over " + Decimal(*span, 0) + " s";
    }
    return text;
}

void TopPainter::PaintProcesses(CellGrid& grid, const Layout& layout) const {
    using Key = TopModel::SortKey;
    const std::size_t top = layout.processTop;
    std::string about = Count(m_model.Shown().size(), "processes");
    if (m_model.Shown().size() != m_model.Total()) {
        about = std::to_string(m_model.Shown().size()) + " of " + Count(m_model.Total(), "processes");
    }
    const std::size_t taken = grid.Put(top - 1, 0, about + ", " + AgeOfProcesses(), Style::kDim) + 2;
    const std::size_t room = grid.Width() - std::min(grid.Width(), taken);
    const std::string hidden = HiddenFileSystems(layout, room);
    grid.PutRight(top - 1, grid.Width(), hidden.substr(0, room), Style::kDim);
    const auto heading = [&](const char* name, Key key) {
        const bool sorted = m_model.Sort() == key;
        const char* const sign =
            grid.IsUtf8() ? (m_model.IsReversed() ? "\u25B2" : "\u25BC") : (m_model.IsReversed() ? "^" : "v");
        return std::string(name) + (sorted ? sign : "");
    };
    grid.PutRight(top, kIdEnd, heading("PID", Key::kId));
    grid.PutRight(top, kShareEnd, heading("CHILD%", Key::kShare));
    grid.PutRight(top, kMemoryEnd, heading("VIRT MiB", Key::kMemory));
    grid.Put(top, kStatusAt, heading("STATUS", Key::kStatus));
    grid.Put(top, kProcessNameAt, heading("NAME", Key::kName));
    grid.Put(top, kArgumentsAt, "ARGUMENTS");
    grid.Paint(top, Style::kBar);
    const auto& shown = m_model.Shown();
    for (std::size_t place = 0; place < layout.processRows && m_model.Offset() + place < shown.size(); ++place) {
        PaintProcess(grid, *shown[m_model.Offset() + place], top + 1 + place);
    }
}

void TopPainter::PaintProcess(CellGrid& grid, const TopModel::Process& process, std::size_t row) const {
    grid.PutRight(row, kIdEnd, std::to_string(process.now.id));
    grid.PutRight(row, kShareEnd, process.share ? Decimal(*process.share * 100, 1) : "-");
    grid.PutRight(row, kMemoryEnd,
                  process.now.memory ? Decimal(static_cast<double>(*process.now.memory) / 1048576, 1) : "-");
    grid.Put(row, kStatusAt, process.now.status, process.now.status == "running" ? Style::kGood : Style::kPlain,
             kProcessNameAt - kStatusAt - 1);
    grid.Put(row, kProcessNameAt, process.now.name, Style::kStrong, kProcessNameWidth);
    grid.Put(row, kArgumentsAt, process.now.arguments, Style::kDim);
}

void TopPainter::PaintFoot(CellGrid& grid) const {
    const std::size_t row = grid.Height() - 1;
    if (m_model.IsTyping()) {
        grid.Put(row, 0, "/" + m_model.Filter() + "_   Enter keeps, Esc clears");
    } else if (!m_model.Filter().empty()) {
        grid.Put(row, 0, "filter: " + m_model.Filter() + "   / changes it, Esc clears it, ? help, q quit");
    } else {
        grid.Put(row, 0, "c m p n s r sort   / filter   space pause   arrows scroll   ? help   q quit");
    }
    grid.Paint(row, Style::kBar);
}

void TopPainter::PaintHelp(CellGrid& grid) const {
    static constexpr std::array kLines{
        "Keys",
        "  c m p n s   sort by CHILD%, VIRT, PID, NAME, STATUS; again, or r: turn round",
        "  /           filter by name, arguments or PID; Enter keeps it, Esc clears it",
        "  space       pause, and go on",
        "  arrows, PgUp, PgDn, Home, End   scroll        q   quit",
        "",
        "What it means (docs/objects.md has all of it)",
        "  CPU         load of the last 15 s, one block of history for each; the first",
        "              figure comes after 15 s and is the average since boot",
        "  memory      what is not free: buffers and cache count as used",
        "  CHILD%      processor time of children that ended and were waited for,",
        "              100 is one processor; what a process uses itself is not served",
        "  VIRT MiB    address space, not real memory",
        "  STATUS      sleeping processes are runnable; invalid is a zombie",
        "  Processes are read every 15 s. File systems of 0 octets are only counted,",
        "  and a size that did not fit into 32 bits shows as ?",
        "",
        "Any key goes back",
    };
    for (std::size_t place = 0; place < kLines.size(); ++place) {
        const bool heading = kLines[place][0] != ' ' && kLines[place][0] != '\0';
        grid.Put(place, 0, kLines[place], heading ? Style::kStrong : Style::kPlain);
    }
}

}  // namespace cvtwalk
