#pragma once

#include <optional>
#include <string_view>

namespace cvtagentd {

enum class LogLevel { kError, kWarning, kInfo, kDebug };

/// Where the agent's messages go: standard error or syslog, one line each, whatever characters a message holds. State
/// of the process. Open is called first, before there is a second thread; after that, any thread may write.
namespace Log {

/// Drops messages less important than `level`.
void Open(LogLevel level, bool toSyslog);

void Write(LogLevel level, std::string_view text);
inline void Error(std::string_view text) { Write(LogLevel::kError, text); }
inline void Warning(std::string_view text) { Write(LogLevel::kWarning, text); }
inline void Info(std::string_view text) { Write(LogLevel::kInfo, text); }

/// Says why the program ends, and always on standard error too, where a user who starts it by hand looks.
void Fatal(std::string_view text);

/// "error", "warning", "info" or "debug".
std::optional<LogLevel> LevelOf(std::string_view name);

}  // namespace Log

}  // namespace cvtagentd
