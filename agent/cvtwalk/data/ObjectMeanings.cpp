#include "agent/cvtwalk/data/ObjectMeanings.h"

#include <algorithm>

namespace cvtwalk {
namespace {

// OID, type and access stand between the object and its unit.
constexpr std::size_t kUnitAt = 4;
constexpr std::size_t kSourceAt = 5;
constexpr std::size_t kRefreshedAt = 6;
constexpr std::size_t kCells = 7;

/// The cells of a line "| a | b |", without the marks of code and emphasis; empty for other lines.
std::vector<std::string> Cells(std::string_view line) {
    std::vector<std::string> cells;
    if (!line.starts_with("| ")) {
        return cells;
    }
    line.remove_prefix(1);
    while (!line.empty()) {
        const auto end = line.find('|');
        std::string cell(line.substr(0, end));
        std::erase_if(cell, [](char c) { return c == '`' || c == '*'; });
        cell.erase(0, std::min(cell.size(), cell.find_first_not_of(' ')));
        cell.erase(cell.find_last_not_of(' ') + 1);
        cells.push_back(std::move(cell));
        line.remove_prefix(end == std::string_view::npos ? line.size() : end + 1);
    }
    return cells;
}

}  // namespace

std::vector<ObjectMeanings::Meaning> ObjectMeanings::Parse(std::string_view document) {
    std::vector<Meaning> meanings;
    bool inTable = false;
    while (!document.empty()) {
        const auto end = document.find('\n');
        const std::string_view line = document.substr(0, end);
        document.remove_prefix(end == std::string_view::npos ? document.size() : end + 1);
        const std::vector<std::string> cells = Cells(line);
        if (cells.size() >= kCells && cells.front() == "object") {
            inTable = true;
        } else if (!line.starts_with('|')) {
            inTable = false;
        } else if (inTable && cells.size() >= kCells) {
            meanings.push_back({cells.front(), cells[kUnitAt], cells[kSourceAt], cells[kRefreshedAt]});
        }
    }
    return meanings;
}

}  // namespace cvtwalk
