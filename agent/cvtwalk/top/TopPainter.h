#pragma once

#include <string>

#include "agent/cvtwalk/top/CellGrid.h"
#include "agent/cvtwalk/top/TopModel.h"

namespace cvtwalk {

/// Draws the live screen into a grid: a line about the host, the processors, memory, file systems by fullness,
/// processes, a line about the keys. Refers to the model, which must outlive it.
class TopPainter {
public:
    /// `now` is on the model's time scale.
    TopPainter(const TopModel& model, double now) : m_model(model), m_now(now) {}

    void Paint(CellGrid& grid) const;
    /// The number of processes that fit a screen of this size.
    std::size_t ProcessRows(std::size_t width, std::size_t height) const;

    /// "1 day 2:03" for seconds.
    static std::string Elapsed(double seconds);
    /// Percentages as a line of blocks, the latest at the right.
    static std::string Sparkline(const std::vector<int>& percents, std::size_t places, bool utf8);

private:
    struct Layout {
        std::size_t processorRows = 0;
        std::size_t processorsPerRow = 1;
        std::size_t fileSystemRows = 0;
        std::size_t processTop = 0;  // the row of their heading
        std::size_t processRows = 0;
    };

    Layout LayoutFor(std::size_t width, std::size_t height) const;
    void PaintTitle(CellGrid& grid) const;
    void PaintProcessors(CellGrid& grid, const Layout& layout) const;
    void PaintProcessor(CellGrid& grid, std::size_t place, std::size_t row, std::size_t column,
                        std::size_t width) const;
    void PaintMemory(CellGrid& grid, std::size_t row) const;
    void PaintFileSystems(CellGrid& grid, const Layout& layout, std::size_t row) const;
    void PaintAmount(CellGrid& grid, const HostState::Amount& amount, std::size_t row) const;
    void PaintProcesses(CellGrid& grid, const Layout& layout) const;
    void PaintProcess(CellGrid& grid, const TopModel::Process& process, std::size_t row) const;
    void PaintFoot(CellGrid& grid) const;
    void PaintHelp(CellGrid& grid) const;
    std::string HiddenFileSystems(const Layout& layout, std::size_t room) const;
    std::string AgeOfProcesses() const;

    const TopModel& m_model;
    const double m_now;
};

}  // namespace cvtwalk
