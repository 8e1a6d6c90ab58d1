#include "agent/cvtwalk/formats/OutputFormat.h"

#include "agent/cvtwalk/formats/JsonFormat.h"
#include "agent/cvtwalk/formats/TableFormat.h"
#include "agent/cvtwalk/formats/TextFormat.h"

namespace cvtwalk {

std::unique_ptr<OutputFormat> OutputFormat::Make(Options::Format format, const Display& display) {
    switch (format) {
        case Options::Format::kJson: return std::make_unique<JsonFormat>();
        case Options::Format::kTable: return std::make_unique<TableFormat>(display);
        case Options::Format::kText: break;
    }
    return std::make_unique<TextFormat>();
}

}  // namespace cvtwalk
