#pragma once

#include <string>

#include "agent/cvtwalk/data/Section.h"

namespace cvtwalk {

/// A section's cells in readable units: amounts of storage and memory as sizes, processor time in seconds. Values
/// without a known unit read as Section::TextAt returns them. No output holds a control character.
namespace CellText {

std::string Readable(const Section& section, const Section::Row& row, std::size_t column);
/// Whether the cell reads as a number, which a table aligns to the right. The cell must exist.
bool IsNumber(const Section& section, const Section::Row& row, std::size_t column);

}  // namespace CellText

}  // namespace cvtwalk
