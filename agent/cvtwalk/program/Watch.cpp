#include "agent/cvtwalk/program/Watch.h"

#include <array>
#include <ctime>
#include <vector>

#include "agent/cvtwalk/text/TextTable.h"

namespace cvtwalk {
namespace {

constexpr std::string_view kHome = "\x1B[H";
constexpr std::string_view kWipeLine = "\x1B[K";
constexpr std::string_view kWipeRest = "\x1B[J";

std::vector<std::string_view> Lines(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const auto end = text.find('\n');
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}

}  // namespace

std::string Watch::Frame(std::string_view heading, std::string_view text, const Display& display) {
    std::vector<std::string_view> lines = Lines(text);
    lines.insert(lines.begin(), heading);
    std::string more;
    if (display.height > 1 && lines.size() > display.height) {
        more = "(" + std::to_string(lines.size() - display.height + 1) + " more lines: --limit shows fewer rows)";
        lines.resize(display.height - 1);
        lines.push_back(more);
    }
    std::string frame(kHome);
    for (std::size_t place = 0; place < lines.size(); ++place) {
        frame += place == 0 ? "" : "\n";
        frame += display.width == 0 ? std::string(lines[place])
                                    : TextTable::Fitted(lines[place], display.width, display.utf8);
        frame += kWipeLine;
    }
    return frame.append(kWipeRest);
}

std::string Watch::Heading() const {
    const std::time_t now = std::time(nullptr);
    struct tm local {};
    std::array<char, 32> clock{};
    ::localtime_r(&now, &local);
    std::strftime(clock.data(), clock.size(), "%Y-%m-%d %H:%M:%S", &local);
    return std::string(clock.data()) + ", every " + std::to_string(m_options.watchSeconds) + " s; Ctrl-C ends";
}

bool Watch::Run(const Interrupts& interrupts, std::string& error) {
    using Format = Options::Format;
    const bool isReadable = m_options.format == Format::kTable || m_options.format == Format::kText;
    bool again = false;
    for (;;) {
        const Display display = Display::Of(m_output.Descriptor());  // the terminal may have been resized
        m_printer.Fit(display);
        std::string text;
        if (!m_printer.Print(text, error)) {
            m_output.Write(text);
            m_output.Flush();
            return false;
        }
        if (isReadable && m_output.IsTerminal()) {
            m_output.Write(Frame(Heading(), text, display));
        } else {
            m_output.Write(again && isReadable ? "\n" + text : text);
        }
        again = true;
        if (!m_output.Flush()) {
            error = m_output.WriteError();
            return false;
        }
        if (interrupts.Wait(static_cast<int>(m_options.watchSeconds * 1000))) {
            m_output.Write(isReadable && m_output.IsTerminal() ? "\n" : "");
            m_output.Flush();
            return true;
        }
    }
}

}  // namespace cvtwalk
