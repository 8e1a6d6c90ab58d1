#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "agent/cvtwalk/top/HostState.h"
#include "agent/cvtwalk/top/TopKey.h"

namespace cvtwalk {

/// What the live screen shows, and how the keys change it. Knows neither a terminal nor a clock: times are seconds from
/// a moment of the caller's choice. Used by one thread.
///
/// The module refreshes processes and loads only every 15 seconds, so both have an age of their own, which the screen
/// shows.
class TopModel {
public:
    enum class SortKey { kShare, kMemory, kId, kName, kStatus };

    struct Process {
        HostState::Process now;
        /// Processor time of children that ended between the last two readings, as a share of one processor; absent
        /// until there are two readings of the same process.
        std::optional<double> share;
    };

    /// The maximum age, in seconds, of the processes and loads that the module serves.
    static constexpr double kRefreshSeconds = 15;
    static constexpr std::size_t kMostHistory = 240;  // an hour

    /// Updates the model with a new reading. Processes stay unchanged unless they were read too.
    void Take(HostState state, double now, bool withProcesses);
    /// Whether reading processes now returns new data.
    bool WantsProcesses(double now) const;

    /// Handles a key. Returns false when the user wants to leave.
    bool Press(const TopKey& key);
    /// Sets how many processes are shown at once.
    void SetPage(std::size_t rows);

    const HostState& State() const { return m_state; }
    /// In the chosen order, and only those that pass the filter.
    const std::vector<const Process*>& Shown() const { return m_shown; }
    std::size_t Total() const { return m_processes.size(); }
    std::size_t Offset() const { return m_offset; }
    /// The load history of the processor at that position, in percent: one value for every 15 seconds, the latest last.
    const std::vector<int>& History(std::size_t processor) const;
    /// Whether loads are still the first sample, which is the average since the host was started.
    bool LoadIsSinceStart(double now) const { return m_measured && now < *m_measured + kRefreshSeconds + 1; }
    /// Seconds since the processes were read; absent until then.
    std::optional<double> Age(double now) const;
    /// Seconds between the last two readings of the processes; absent until there are two.
    std::optional<double> Span() const { return m_span; }

    SortKey Sort() const { return m_sort; }
    bool IsReversed() const { return m_reversed; }
    bool IsPaused() const { return m_paused; }
    bool ShowsHelp() const { return m_help; }
    bool IsTyping() const { return m_typing; }
    const std::string& Filter() const { return m_filter; }

private:
    void TakeProcesses(std::vector<HostState::Process> processes, double now);
    void TakeLoads(double now);
    void Arrange();
    void Type(const TopKey& key);
    void PressCharacter(char32_t character);
    void SortBy(SortKey key);
    void ScrollTo(std::size_t offset);

    HostState m_state;
    std::vector<Process> m_processes;
    std::vector<const Process*> m_shown;
    std::vector<std::vector<int>> m_history;
    std::optional<double> m_measured;  // when loads were first seen
    std::optional<double> m_noted;     // when a load was last added to the history
    std::optional<double> m_read;      // when processes were last read
    std::optional<double> m_span;
    SortKey m_sort = SortKey::kMemory;
    bool m_reversed = false;
    bool m_paused = false;
    bool m_help = false;
    bool m_typing = false;
    bool m_left = false;
    std::string m_filter;
    std::size_t m_offset = 0;
    std::size_t m_page = 1;
};

}  // namespace cvtwalk
