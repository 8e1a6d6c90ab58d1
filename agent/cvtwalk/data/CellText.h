#pragma once

#include <string>

#include "agent/cvtwalk/data/Section.h"

namespace cvtwalk {

/// A section's cells in units that people read: amounts of storage and memory as sizes, processor time in seconds.
/// Whatever is not known to have such a unit reads as Section::TextAt has it. No output holds a control character.
namespace CellText {

std::string ForPeople(const Section& section, const Section::Row& row, std::size_t column);
/// Whether it reads as a number, so that a table sets it to the right. The cell is there.
bool IsNumber(const Section& section, const Section::Row& row, std::size_t column);

}  // namespace CellText

}  // namespace cvtwalk
