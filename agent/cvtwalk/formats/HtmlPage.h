#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/cvtwalk/data/Sections.h"

namespace cvtwalk {

/// The page about a host: at a glance, storage with bars, processors, processes with search and sorting, devices,
/// network, tables of other modules, and what the values mean. Everything that comes from the host is escaped. Refers
/// to the sections, which must outlive it.
class HtmlPage {
public:
    /// The sections must have processes joined with what they use, and amounts with their share.
    explicit HtmlPage(const Sections& sections) : m_sections(sections) {}

    std::string Text() const;

private:
    /// A column of a table on the page.
    struct Cell {
        std::string html;
        std::optional<double> number = std::nullopt;  ///< the sort key; aligns the cell to the right
        bool bar = false;                             ///< aligned to the left although it has a number
    };
    struct Head {
        std::string name;
        bool numeric = false;
    };

    const Section* Find(std::string_view object) const;
    std::string ScalarText(std::string_view object) const;
    std::string ClockText() const;
    std::string DeviceName(const CVT::BObjectIdentifier& index) const;

    void WriteGlance(std::string& out) const;
    void WriteStorage(std::string& out) const;
    void WriteProcessors(std::string& out) const;
    void WriteProcesses(std::string& out) const;
    void WriteDevices(std::string& out) const;
    void WriteNetwork(std::string& out) const;
    void WriteOthers(std::string& out) const;
    void WriteMeanings(std::string& out) const;

    static Cell CellAt(const Section& section, const Section::Row& row, std::string_view object);
    static Cell Bar(double share);
    static void WriteTable(std::string& out, std::string_view id, std::string_view caption,
                           const std::vector<Head>& heads, const std::vector<std::vector<Cell>>& rows, bool tools);

    const Sections& m_sections;
};

}  // namespace cvtwalk
