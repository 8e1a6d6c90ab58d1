#pragma once

#include <set>
#include <string>
#include <string_view>

#include "agent/cvtwalk/formats/OutputFormat.h"

namespace cvtwalk {

/// Prometheus' text exposition format: a metric family for each object that is a number, with names and base units as
/// that system wants them ("hrStorageUsed" is hr_storage_used_bytes, a load of 50 percent is hr_processor_load_ratio
/// 0.5). A row's labels are its index, its name, and its kind where that is known. Left out are texts, numbers that are
/// known to be cut or have wrapped, what is not measured yet, and a family that was written already.
class PrometheusFormat final : public OutputFormat {
public:
    void Write(const Section& section, std::string& out) override;

    /// "hr_sw_run_perf_cpu" for "hrSWRunPerfCPU".
    static std::string SnakeCase(std::string_view name);
    /// With a backslash before quotes and backslashes, as a label's value has them. The text has no control characters.
    static std::string Escaped(std::string_view text);

private:
    std::set<std::string> m_written;
};

}  // namespace cvtwalk
