#include "agent/cvtwalk/top/TopModel.h"

#include <algorithm>

#include "agent/cvtwalk/text/AsciiCase.h"
#include "agent/cvtwalk/text/Utf8.h"

namespace cvtwalk {
namespace {

constexpr double kSlack = 0.05;  // seconds
constexpr std::size_t kLongestFilter = 200;

constexpr int kAbsence = 2;  // one is absent, which comes last in either order

/// Orders numbers with the largest first.
template <typename T>
int Compare(const std::optional<T>& a, const std::optional<T>& b) {
    if (a == b) {
        return 0;
    }
    if (!a || !b) {
        return a ? -kAbsence : kAbsence;
    }
    return *a > *b ? -1 : 1;
}

int CompareText(const std::string& a, const std::string& b) {
    const int order = AsciiCase::Lower(a).compare(AsciiCase::Lower(b));
    return order != 0 ? order : a.compare(b);
}

int Compare(const TopModel::Process& a, const TopModel::Process& b, TopModel::SortKey key) {
    switch (key) {
        case TopModel::SortKey::kShare: return Compare(a.share, b.share);
        case TopModel::SortKey::kMemory: return Compare(a.now.memory, b.now.memory);
        case TopModel::SortKey::kName: return CompareText(a.now.name, b.now.name);
        case TopModel::SortKey::kStatus: return CompareText(a.now.status, b.now.status);
        case TopModel::SortKey::kId: break;
    }
    return 0;
}

bool Passes(const TopModel::Process& process, const std::string& filter) {
    return filter.empty() || AsciiCase::Contains(process.now.name, filter) ||
           AsciiCase::Contains(process.now.arguments, filter) ||
           AsciiCase::Contains(std::to_string(process.now.id), filter);
}

void AppendUtf8(std::string& text, char32_t character) {
    const auto octet = [&](char32_t value) { text += static_cast<char>(value); };
    if (character < 0x80) {
        octet(character);
    } else if (character < 0x800) {
        octet(0xC0 | character >> 6);
        octet(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        octet(0xE0 | character >> 12);
        octet(0x80 | (character >> 6 & 0x3F));
        octet(0x80 | (character & 0x3F));
    } else {
        octet(0xF0 | character >> 18);
        octet(0x80 | (character >> 12 & 0x3F));
        octet(0x80 | (character >> 6 & 0x3F));
        octet(0x80 | (character & 0x3F));
    }
}

void RemoveLastCharacter(std::string& text) {
    while (!text.empty()) {
        const auto last = static_cast<unsigned char>(text.back());
        text.pop_back();
        if ((last & 0xC0U) != 0x80) {
            return;
        }
    }
}

}  // namespace

void TopModel::Take(HostState state, double now, bool withProcesses) {
    std::vector<HostState::Process> processes = std::move(state.processes);
    state.processes.clear();
    m_state = std::move(state);
    std::stable_sort(m_state.fileSystems.begin(), m_state.fileSystems.end(),
                     [](const auto& a, const auto& b) { return Compare(a.share, b.share) < 0; });
    TakeLoads(now);
    if (withProcesses) {
        TakeProcesses(std::move(processes), now);
        Arrange();
    }
}

bool TopModel::WantsProcesses(double now) const { return !m_read || now >= *m_read + kRefreshSeconds + kSlack; }

void TopModel::TakeProcesses(std::vector<HostState::Process> processes, double now) {
    std::map<unsigned int, HostState::Process> before;
    for (Process& process : m_processes) {
        before.emplace(process.now.id, std::move(process.now));
    }
    m_span = m_read && now > *m_read ? std::optional(now - *m_read) : std::nullopt;
    m_read = now;
    m_processes.clear();
    for (HostState::Process& process : processes) {
        const auto old = before.find(process.id);
        std::optional<double> share;
        // A process with another name, or less time than before, is another one that reuses the PID.
        if (m_span && old != before.end() && old->second.name == process.name && process.childSeconds &&
            old->second.childSeconds && *process.childSeconds >= *old->second.childSeconds) {
            share = (*process.childSeconds - *old->second.childSeconds) / *m_span;
        }
        m_processes.push_back({std::move(process), share});
    }
}

/// The first sample is an average since the host was started, so it does not belong in the history.
void TopModel::TakeLoads(double now) {
    const auto measured = [](const HostState::Processor& processor) { return processor.load.has_value(); };
    if (!m_measured && std::any_of(m_state.processors.begin(), m_state.processors.end(), measured)) {
        m_measured = now;
    }
    if (!m_measured || LoadIsSinceStart(now) || (m_noted && now < *m_noted + kRefreshSeconds)) {
        return;
    }
    m_noted = now;
    m_history.resize(std::max(m_history.size(), m_state.processors.size()));
    for (std::size_t place = 0; place < m_state.processors.size(); ++place) {
        std::vector<int>& history = m_history[place];
        history.push_back(m_state.processors[place].load.value_or(0));
        if (history.size() > kMostHistory) {
            history.erase(history.begin());
        }
    }
}

const std::vector<int>& TopModel::History(std::size_t processor) const {
    static const std::vector<int> none;
    return processor < m_history.size() ? m_history[processor] : none;
}

std::optional<double> TopModel::Age(double now) const { return m_read ? std::optional(now - *m_read) : std::nullopt; }

void TopModel::Arrange() {
    m_shown.clear();
    for (const Process& process : m_processes) {
        if (Passes(process, m_filter)) {
            m_shown.push_back(&process);
        }
    }
    std::sort(m_shown.begin(), m_shown.end(), [&](const Process* a, const Process* b) {
        const int order = Compare(*a, *b, m_sort);
        if (order == kAbsence || order == -kAbsence) {
            return order < 0;
        }
        const bool before = order != 0 ? order < 0 : a->now.id < b->now.id;
        return before != m_reversed && a != b;
    });
    ScrollTo(m_offset);
}

void TopModel::SetPage(std::size_t rows) {
    m_page = std::max<std::size_t>(1, rows);
    ScrollTo(m_offset);
}

void TopModel::ScrollTo(std::size_t offset) {
    m_offset = std::min(offset, m_shown.size() - std::min(m_shown.size(), m_page));
}

bool TopModel::Press(const TopKey& key) {
    using Kind = TopKey::Kind;
    if (m_help && key.kind != Kind::kResized) {
        m_help = false;
        return true;
    }
    if (m_typing && (key.kind == Kind::kCharacter || key.kind == Kind::kBackspace || key.kind == Kind::kEnter ||
                     key.kind == Kind::kEscape)) {
        Type(key);
        return true;
    }
    switch (key.kind) {
        case Kind::kCharacter: PressCharacter(key.character); break;
        case Kind::kUp: ScrollTo(m_offset - std::min<std::size_t>(m_offset, 1)); break;
        case Kind::kDown: ScrollTo(m_offset + 1); break;
        case Kind::kPageUp: ScrollTo(m_offset - std::min(m_offset, m_page)); break;
        case Kind::kPageDown: ScrollTo(m_offset + m_page); break;
        case Kind::kHome: ScrollTo(0); break;
        case Kind::kEnd: ScrollTo(m_shown.size()); break;
        case Kind::kEscape:
            m_filter.clear();
            Arrange();
            break;
        default: break;
    }
    return !m_left;
}

void TopModel::Type(const TopKey& key) {
    switch (key.kind) {
        case TopKey::Kind::kBackspace: RemoveLastCharacter(m_filter); break;
        case TopKey::Kind::kEnter: m_typing = false; break;
        case TopKey::Kind::kEscape:
            m_typing = false;
            m_filter.clear();
            break;
        default:
            if (Utf8::IsPrintable(key.character) && m_filter.size() < kLongestFilter) {
                AppendUtf8(m_filter, key.character);
            }
    }
    m_offset = 0;
    Arrange();
}

void TopModel::PressCharacter(char32_t character) {
    switch (character) {
        case 'q': m_left = true; return;
        case '?':
        case 'h': m_help = true; return;
        case ' ': m_paused = !m_paused; return;
        case '/': m_typing = true; return;
        case 'c': SortBy(SortKey::kShare); return;
        case 'm': SortBy(SortKey::kMemory); return;
        case 'p': SortBy(SortKey::kId); return;
        case 'n': SortBy(SortKey::kName); return;
        case 's': SortBy(SortKey::kStatus); return;
        case 'r': SortBy(m_sort); return;
        default: return;
    }
}

/// The same key again reverses the order.
void TopModel::SortBy(SortKey key) {
    m_reversed = key == m_sort && !m_reversed;
    m_sort = key;
    m_offset = 0;
    Arrange();
}

}  // namespace cvtwalk
