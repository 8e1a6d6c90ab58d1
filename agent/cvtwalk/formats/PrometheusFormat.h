#pragma once

#include <set>
#include <string>
#include <string_view>

#include "agent/cvtwalk/formats/OutputFormat.h"

namespace cvtwalk {

/// Prometheus' text exposition format: a metric family for each numeric object, with names and base units as Prometheus
/// expects them ("hrStorageUsed" is hr_storage_used_bytes, a load of 50 percent is hr_processor_load_ratio 0.5). A
/// row's labels are its index, its name, and its kind if known. Leaves out texts, numbers that are known to be
/// truncated or have wrapped, values that are not measured yet, and families that were already written.
class PrometheusFormat final : public OutputFormat {
public:
    void Write(const Section& section, std::string& out) override;

    /// "hr_sw_run_perf_cpu" for "hrSWRunPerfCPU".
    static std::string SnakeCase(std::string_view name);
    /// Escapes quotes and backslashes with a backslash, as a label's value requires. The text must hold no control
    /// characters.
    static std::string Escaped(std::string_view text);

private:
    std::set<std::string> m_written;
};

}  // namespace cvtwalk
