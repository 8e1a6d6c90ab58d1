#include "agent/cvtwalk/formats/OutputFormat.h"

#include "agent/cvtwalk/formats/CsvFormat.h"
#include "agent/cvtwalk/formats/HtmlFormat.h"
#include "agent/cvtwalk/formats/JsonFormat.h"
#include "agent/cvtwalk/formats/PrometheusFormat.h"
#include "agent/cvtwalk/formats/TableFormat.h"
#include "agent/cvtwalk/formats/TextFormat.h"

namespace cvtwalk {

std::unique_ptr<OutputFormat> OutputFormat::Make(Kind kind, const Display& display) {
    switch (kind) {
        case Kind::kJson: return std::make_unique<JsonFormat>();
        case Kind::kTable: return std::make_unique<TableFormat>(display);
        case Kind::kCsv: return std::make_unique<CsvFormat>();
        case Kind::kPrometheus: return std::make_unique<PrometheusFormat>();
        case Kind::kHtml: return std::make_unique<HtmlFormat>();
        case Kind::kText: break;
    }
    return std::make_unique<TextFormat>();
}

}  // namespace cvtwalk
