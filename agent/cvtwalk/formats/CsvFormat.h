#pragma once

#include <string_view>

#include "agent/cvtwalk/formats/OutputFormat.h"

namespace cvtwalk {

/// A block of comma-separated values for each section, with an empty line between two: a line of object names, with
/// "index" first for a table, and a line for each row. Numbers are as served, enumerated values by name; values that
/// are missing or not measured yet are empty. Fields with commas or quotes are quoted as in RFC 4180, lines end with a
/// line feed, and no field holds a control character.
class CsvFormat final : public OutputFormat {
public:
    void Write(const Section& section, std::string& out) override;

    static std::string Quoted(std::string_view field);

private:
    bool m_any = false;
};

}  // namespace cvtwalk
