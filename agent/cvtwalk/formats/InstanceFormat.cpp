#include "agent/cvtwalk/formats/InstanceFormat.h"

namespace cvtwalk {

void InstanceFormat::Write(const Section& section, std::string& out) {
    for (std::size_t column = 0; column < section.Columns().size(); ++column) {
        if (section.Columns()[column].derived || section.Columns()[column].hidden) {
            continue;
        }
        for (const Section::Row& row : section.Rows()) {
            if (row.cells[column]) {
                Add(section.InstanceAt(row, column), section.ObjectAt(row, column), row.cells[column]->measured, out);
            }
        }
    }
}

}  // namespace cvtwalk
